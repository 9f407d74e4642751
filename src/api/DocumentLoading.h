#pragma once

#include <string>
#include <string_view>

class ClsXmlDSig;
class DataBuffer;

namespace xmldsig {

// Reads a file's bytes; false with `error` ("PATH: cannot open: ...").
bool readDocumentFile(const std::string& path, DataBuffer& out, std::string& error);

// Loads the bytes (taken over, not copied) into the verifier. On failure,
// `error` receives one line saying where the XML is malformed, prefixed by
// `name`.
bool loadDocument(ClsXmlDSig& dsig, DataBuffer& bytes, std::string_view name, std::string& error);

} // namespace xmldsig
