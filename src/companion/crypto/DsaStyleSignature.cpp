#include "companion/crypto/DsaStyleSignature.h"

#include "companion/crypto/OpensslPtr.h"
#include "companion/crypto/ThreadVerifyContext.h"
#include "companion/text/DataBuffer.h"

#include <openssl/err.h>

#include <string_view>

namespace {

std::string derOf(const ECDSA_SIG* sig) {
    const int len = i2d_ECDSA_SIG(sig, nullptr);
    if (len <= 0)
        return {};
    std::string der(static_cast<size_t>(len), '\0');
    auto* p = reinterpret_cast<unsigned char*>(der.data());
    i2d_ECDSA_SIG(sig, &p);
    return der;
}

// The DER SEQUENCE { r, s } of two big-endian integers.
std::string derFromHalves(std::string_view r, std::string_view s) {
    EcdsaSigPtr sig(ECDSA_SIG_new());
    BIGNUM* rBn = BN_bin2bn(reinterpret_cast<const unsigned char*>(r.data()), static_cast<int>(r.size()), nullptr);
    BIGNUM* sBn = BN_bin2bn(reinterpret_cast<const unsigned char*>(s.data()), static_cast<int>(s.size()), nullptr);
    if (!sig || !rBn || !sBn || ECDSA_SIG_set0(sig.get(), rBn, sBn) != 1) {
        BN_free(rBn);
        BN_free(sBn);
        return {};
    }
    return derOf(sig.get());
}

// The value re-encoded as DER, or empty when it is not one SEQUENCE of two
// INTEGERs filling all the bytes.
std::string parsedDer(std::string_view bytes) {
    auto* p = reinterpret_cast<const unsigned char*>(bytes.data());
    const EcdsaSigPtr sig(d2i_ECDSA_SIG(nullptr, &p, static_cast<long>(bytes.size())));
    const bool whole = sig && p == reinterpret_cast<const unsigned char*>(bytes.data() + bytes.size());
    ERR_clear_error();
    return whole ? derOf(sig.get()) : std::string();
}

// A half may be one byte short of its nominal length, or one byte over
// when that byte is a leading zero.
bool acceptableHalf(std::string_view half, size_t halfLen) {
    if (half.size() + 1 < halfLen || half.size() > halfLen + 1)
        return false;
    return half.size() <= halfLen || half.front() == '\0';
}

void addRawSplits(std::string_view bytes, size_t halfLen, std::vector<std::string>& out) {
    if (halfLen == 0)
        return;
    for (size_t rLen = halfLen - 1; rLen <= halfLen + 1 && rLen < bytes.size(); ++rLen) {
        const std::string_view r = bytes.substr(0, rLen);
        const std::string_view s = bytes.substr(rLen);
        if (!acceptableHalf(r, halfLen) || !acceptableHalf(s, halfLen))
            continue;
        std::string der = derFromHalves(r, s);
        if (!der.empty())
            out.push_back(std::move(der));
    }
}

} // namespace

std::vector<std::string> DsaStyleSignature::candidateDerForms(const DataBuffer& sig, size_t halfLen, int format) {
    std::vector<std::string> forms;
    if (format != sig_format::kRawRs) {
        std::string der = parsedDer(sig.view());
        if (!der.empty())
            forms.push_back(std::move(der));
    }
    if (format != sig_format::kDer)
        addRawSplits(sig.view(), halfLen, forms);
    return forms;
}

bool DsaStyleSignature::verifyAny(EVP_PKEY* pkey, const std::vector<std::string>& derForms, const DataBuffer& hash) {
    EVP_PKEY_CTX* ctx = threadVerifyContext(pkey, VerifyOperation::Verify);
    if (!ctx)
        return false;
    bool valid = false;
    for (const std::string& der : derForms) {
        valid = EVP_PKEY_verify(ctx, reinterpret_cast<const unsigned char*>(der.data()), der.size(), hash.getData(),
                                hash.getSize()) == 1;
        if (valid)
            break;
    }
    ERR_clear_error();
    return valid;
}
