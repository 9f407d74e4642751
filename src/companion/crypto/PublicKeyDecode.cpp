#include "companion/crypto/PublicKeyDecode.h"

#include "companion/log/LogBase.h"

#include <openssl/err.h>

#include <string>

namespace public_key_decode {
namespace {

constexpr std::string_view kPemMarker = "-----BEGIN ";

const unsigned char* bytesOf(std::string_view s) {
    return reinterpret_cast<const unsigned char*>(s.data());
}

bool filled(const unsigned char* end, std::string_view der) {
    return end == bytesOf(der) + der.size();
}

PkeyPtr fromSpki(std::string_view der) {
    const unsigned char* p = bytesOf(der);
    PkeyPtr pkey(d2i_PUBKEY(nullptr, &p, static_cast<long>(der.size())));
    return (pkey && filled(p, der)) ? std::move(pkey) : nullptr;
}

PkeyPtr fromPkcs1Rsa(std::string_view der) {
    const unsigned char* p = bytesOf(der);
    PkeyPtr pkey(d2i_PublicKey(EVP_PKEY_RSA, nullptr, &p, static_cast<long>(der.size())));
    return (pkey && filled(p, der)) ? std::move(pkey) : nullptr;
}

// One PEM block as OpenSSL hands it out; the three parts are its to free.
struct PemBlock {
    char* name = nullptr;
    char* header = nullptr;
    unsigned char* data = nullptr;
    long len = 0;

    PemBlock() = default;
    PemBlock(const PemBlock&) = delete;
    PemBlock& operator=(const PemBlock&) = delete;
    ~PemBlock() {
        OPENSSL_free(name);
        OPENSSL_free(header);
        OPENSSL_free(data);
    }
    std::string_view der() const { return {reinterpret_cast<const char*>(data), static_cast<size_t>(len)}; }
};

PkeyPtr fromPemBlock(const PemBlock& block) {
    const std::string_view name = block.name;
    if (name == "PUBLIC KEY")
        return fromSpki(block.der());
    if (name == "RSA PUBLIC KEY")
        return fromPkcs1Rsa(block.der());
    if (name == "CERTIFICATE" || name == "X509 CERTIFICATE")
        return fromCertificateDer(block.der());
    return nullptr;
}

PkeyPtr fromPem(std::string_view text, LogBase& log) {
    const BioPtr bio(BIO_new_mem_buf(text.data(), static_cast<int>(text.size())));
    for (;;) {
        PemBlock block;
        if (!bio || PEM_read_bio(bio.get(), &block.name, &block.header, &block.data, &block.len) != 1)
            break;
        if (PkeyPtr pkey = fromPemBlock(block))
            return pkey;
        log.LogInfo("Skipped a PEM block without a usable public key.");
        log.LogDataStr("pemType", block.name);
    }
    ERR_clear_error();
    return nullptr;
}

} // namespace

PkeyPtr fromKeyDer(std::string_view der) {
    PkeyPtr pkey = fromSpki(der);
    if (!pkey)
        pkey = fromPkcs1Rsa(der);
    ERR_clear_error();
    return pkey;
}

PkeyPtr fromCertificateDer(std::string_view der) {
    const unsigned char* p = bytesOf(der);
    const X509Ptr cert(d2i_X509(nullptr, &p, static_cast<long>(der.size())));
    PkeyPtr pkey(cert && filled(p, der) ? X509_get_pubkey(cert.get()) : nullptr);
    ERR_clear_error();
    return pkey;
}

PkeyPtr fromFileBytes(std::string_view bytes, LogBase& log) {
    if (bytes.find(kPemMarker) != std::string_view::npos)
        return fromPem(bytes, log);
    PkeyPtr pkey = fromKeyDer(bytes);
    return pkey ? std::move(pkey) : fromCertificateDer(bytes);
}

} // namespace public_key_decode
