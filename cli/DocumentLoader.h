#pragma once

#include <string>

class ClsXmlDSig;

// Reads a signed document from a file into the verifier. On failure, error
// receives one line saying why (unreadable file, or where the XML is
// malformed).
bool loadDocumentFile(ClsXmlDSig& dsig, const std::string& path, std::string& error);
