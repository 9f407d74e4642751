#pragma once

#include <string>

class ClsXmlDSig;

// Reads a signed document from a file into the engine, for the commands
// that work on it directly. On failure, error receives one line saying why.
bool loadDocumentFile(ClsXmlDSig& dsig, const std::string& path, std::string& error);
