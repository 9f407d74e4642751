#include "companion/pki/CertFileReader.h"

#include "companion/fs/FileSys.h"
#include "companion/log/LogBase.h"
#include "companion/pki/PkiHandles.h"
#include "companion/text/ContentCoding.h"
#include "companion/text/DataBuffer.h"

#include <openssl/err.h>
#include <openssl/pem.h>

namespace {

constexpr std::string_view kPemBegin = "-----BEGIN ";
constexpr std::string_view kCertificateBlocks[] = {PEM_STRING_X509, PEM_STRING_X509_OLD, PEM_STRING_X509_TRUSTED};

bool isCertificateBlock(std::string_view name) {
    for (std::string_view block : kCertificateBlocks) {
        if (name == block)
            return true;
    }
    return false;
}

struct PemBlock {
    OpensslBytes name;
    OpensslBytes header;
    OpensslBytes data;
    long length = 0;
};

// The next PEM block of the text; false at the end (or at text that is not PEM).
bool readPemBlock(BIO* bio, PemBlock& block) {
    char* name = nullptr;
    char* header = nullptr;
    unsigned char* data = nullptr;
    const int ok = PEM_read_bio(bio, &name, &header, &data, &block.length);
    block.name.reset(reinterpret_cast<unsigned char*>(name));
    block.header.reset(reinterpret_cast<unsigned char*>(header));
    block.data.reset(data);
    return ok == 1;
}

void parsePem(std::string_view text, std::vector<X509Certificate>& out, LogBase& log) {
    const BioPtr bio(BIO_new_mem_buf(text.data(), static_cast<int>(text.size())));
    PemBlock block;
    while (bio && readPemBlock(bio.get(), block)) {
        if (!isCertificateBlock(reinterpret_cast<const char*>(block.name.get())))
            continue;
        DataBuffer der;
        der.append(block.data.get(), static_cast<size_t>(block.length));
        X509Certificate cert;
        if (cert.loadX509Der(der, log))
            out.push_back(std::move(cert));
    }
    // The loop ends on the "no more blocks" error, which is expected.
    ERR_clear_error();
}

bool parseBinary(std::string_view bytes, std::vector<X509Certificate>& out) {
    LogNull quiet;
    DataBuffer der;
    der.append(bytes);
    X509Certificate cert;
    if (!cert.loadX509Der(der, quiet)) {
        der.clear();
        if (!ContentCoding::decodeBase64ToDb(bytes, der) || !cert.loadX509Der(der, quiet))
            return false;
    }
    out.push_back(std::move(cert));
    return true;
}

} // namespace

bool CertFileReader::parse(std::string_view bytes, std::vector<X509Certificate>& out, LogBase& log) {
    const size_t before = out.size();
    if (bytes.find(kPemBegin) != std::string_view::npos)
        parsePem(bytes, out, log);
    else
        parseBinary(bytes, out);
    if (out.size() > before)
        return true;
    log.LogError("No certificate found.");
    return false;
}

bool CertFileReader::readFile(const std::filesystem::path& path, std::vector<X509Certificate>& out, LogBase& log) {
    std::string bytes;
    if (!FileSys::readWholeFile(path, bytes)) {
        log.LogError("Failed to open the file.");
        log.LogDataStr("path", path.string());
        return false;
    }
    if (parse(bytes, out, log))
        return true;
    log.LogDataStr("path", path.string());
    return false;
}
