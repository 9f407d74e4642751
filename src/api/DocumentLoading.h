#pragma once

#include <string>
#include <string_view>

class ClsXmlDSig;
class DataBuffer;

namespace xmldsig {

// The name that stands for standard input.
inline constexpr std::string_view kStandardInputName = "-";

// Reads a regular file's bytes, or standard input's when the path is "-";
// false with `error` ("PATH: cannot open: a directory, not a regular file").
// A FIFO named as the document is refused at once, not waited on.
bool readDocumentFile(const std::string& path, DataBuffer& out, std::string& error);

// Loads the bytes (taken over, not copied) into the verifier. On failure,
// `error` receives one line saying where the XML is malformed, prefixed by
// `name`.
bool loadDocument(ClsXmlDSig& dsig, DataBuffer& bytes, std::string_view name, std::string& error);

} // namespace xmldsig
