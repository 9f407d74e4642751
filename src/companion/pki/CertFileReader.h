#pragma once

#include "companion/pki/X509Certificate.h"

#include <filesystem>
#include <string_view>
#include <vector>

class LogBase;

// Reads the certificates of a file: every CERTIFICATE block of PEM text
// (other blocks, such as keys, are skipped), else one DER certificate, else
// one certificate as bare base64.
class CertFileReader {
public:
    // Appends the certificates found; false, with an error line, when there
    // is none.
    static bool parse(std::string_view bytes, std::vector<X509Certificate>& out, LogBase& log);
    static bool readFile(const std::filesystem::path& path, std::vector<X509Certificate>& out, LogBase& log);
};
