#include "verifier/SignatureMethodParams.h"

#include "companion/crypto/HashAlgorithm.h"
#include "companion/crypto/HashIds.h"
#include "companion/log/LogBase.h"
#include "companion/text/StringBuffer.h"
#include "companion/xml/ClsXml.h"
#include "verifier/SignatureMethodMapping.h"

#include <charconv>
#include <string_view>

namespace signature_method {
namespace {

constexpr std::string_view kMgf1Uri = "http://www.w3.org/2007/05/xmldsig-more#MGF1";
// RFC 8017 defines only the 0xBC trailer, numbered 1.
constexpr int kTrailerFieldBc = 1;
constexpr int kDefaultPssHash = hash_alg::kSha256;

// The text of a child element as a non-negative decimal number; `value` is
// left alone when there is no such child.
bool readNumber(const ClsXml& parent, const char* tag, int& value) {
    StringBuffer text;
    if (!parent.getChildContentUtf8(tag, text, true))
        return true;
    const std::string_view v = text.view();
    const auto [end, ec] = std::from_chars(v.data(), v.data() + v.size(), value);
    return ec == std::errc() && end == v.data() + v.size() && value >= 0;
}

// The hash of a DigestMethod child, or `fallback` when there is none. False
// (logged) for a digest the PSS primitive does not offer.
bool readDigestMethod(const ClsXml& parent, int fallback, int& hashAlg, LogBase& log) {
    StringBuffer uri;
    if (!parent.getChildAttrValue("*:DigestMethod", "Algorithm", uri)) {
        hashAlg = fallback;
        return true;
    }
    hashAlg = signatureMethodToHashAlg(uri, log);
    const HashAlgorithm* alg = findHashAlgorithm(hashAlg);
    if (alg && *alg->evpName != '\0')
        return true;
    log.LogError("Unsupported DigestMethod in RSAPSSParams.");
    log.LogDataSb("digestMethod", uri);
    return false;
}

bool readMaskGeneration(const ClsXml& params, PssParams& out, LogBase& log) {
    RefPtr<ClsXml> mgf(params.getChildWithTagUtf8("*:MaskGenerationFunction"));
    if (!mgf) {
        out.mgf1HashAlg = out.hashAlg;
        return true;
    }
    StringBuffer algorithm;
    if (mgf->getAttrValue("Algorithm", algorithm) && !algorithm.equals(kMgf1Uri)) {
        log.LogError("Unsupported MaskGenerationFunction in RSAPSSParams.");
        log.LogDataSb("maskGenerationFunction", algorithm);
        return false;
    }
    return readDigestMethod(*mgf, out.hashAlg, out.mgf1HashAlg, log);
}

} // namespace

bool readPssParams(const ClsXml& method, PssParams& out, LogBase& log) {
    out = PssParams{kDefaultPssHash, kDefaultPssHash, 0};
    RefPtr<ClsXml> params(method.getChildWithTagUtf8("*:RSAPSSParams"));
    if (params &&
        (!readDigestMethod(*params, kDefaultPssHash, out.hashAlg, log) || !readMaskGeneration(*params, out, log)))
        return false;
    out.saltLength = static_cast<int>(findHashAlgorithm(out.hashAlg)->digestLen);
    int trailerField = kTrailerFieldBc;
    if (params && (!readNumber(*params, "*:SaltLength", out.saltLength) ||
                   !readNumber(*params, "*:TrailerField", trailerField))) {
        log.LogError("SaltLength and TrailerField of RSAPSSParams must be non-negative numbers.");
        return false;
    }
    if (trailerField != kTrailerFieldBc) {
        log.LogError("Only TrailerField 1 is defined for RSASSA-PSS.");
        log.LogDataLong("trailerField", trailerField);
        return false;
    }
    return true;
}

bool readHmacOutputLength(const ClsXml& method, int& bits, LogBase& log) {
    bits = kNoHmacOutputLength;
    StringBuffer text;
    if (!method.getChildContentUtf8("*:HMACOutputLength", text, true))
        return true;
    if (readNumber(method, "*:HMACOutputLength", bits))
        return true;
    log.LogError("HMACOutputLength is not a number.");
    log.LogDataSb("hmacOutputLength", text);
    return false;
}

} // namespace signature_method
