#include "verifier/SignatureMethodParams.h"

#include "companion/crypto/EddsaVerifier.h"
#include "companion/crypto/HashAlgorithm.h"
#include "companion/crypto/HashIds.h"
#include "companion/log/LogBase.h"
#include "companion/text/ContentCoding.h"
#include "companion/text/DataBuffer.h"
#include "companion/text/StringBuffer.h"
#include "companion/xml/ClsXml.h"
#include "verifier/SignatureMethodMapping.h"

#include <charconv>
#include <string>
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
bool readDigestMethod(const ClsXml& parent, int fallback, int& hashAlg, std::string& error, LogBase& log) {
    StringBuffer uri;
    if (!parent.getChildAttrValue("*:DigestMethod", "Algorithm", uri)) {
        hashAlg = fallback;
        return true;
    }
    hashAlg = signatureMethodToHashAlg(uri, log);
    const HashAlgorithm* alg = findHashAlgorithm(hashAlg);
    if (alg && *alg->evpName != '\0')
        return true;
    error = "Unsupported DigestMethod in RSAPSSParams.";
    log.LogDataSb("digestMethod", uri);
    return false;
}

bool readMaskGeneration(const ClsXml& params, PssParams& out, std::string& error, LogBase& log) {
    RefPtr<ClsXml> mgf(params.getChildWithTagUtf8("*:MaskGenerationFunction"));
    if (!mgf) {
        out.mgf1HashAlg = out.hashAlg;
        return true;
    }
    StringBuffer algorithm;
    if (mgf->getAttrValue("Algorithm", algorithm) && !algorithm.equals(kMgf1Uri)) {
        error = "Unsupported MaskGenerationFunction in RSAPSSParams.";
        log.LogDataSb("maskGenerationFunction", algorithm);
        return false;
    }
    return readDigestMethod(*mgf, out.hashAlg, out.mgf1HashAlg, error, log);
}

} // namespace

bool readPssParams(const ClsXml& method, PssParams& out, std::string& error, LogBase& log) {
    out = PssParams{kDefaultPssHash, kDefaultPssHash, 0};
    RefPtr<ClsXml> params(method.getChildWithTagUtf8("*:RSAPSSParams"));
    if (params && (!readDigestMethod(*params, kDefaultPssHash, out.hashAlg, error, log) ||
                   !readMaskGeneration(*params, out, error, log)))
        return false;
    out.saltLength = static_cast<int>(findHashAlgorithm(out.hashAlg)->digestLen);
    int trailerField = kTrailerFieldBc;
    if (params && (!readNumber(*params, "*:SaltLength", out.saltLength) ||
                   !readNumber(*params, "*:TrailerField", trailerField))) {
        error = "SaltLength and TrailerField of RSAPSSParams must be non-negative numbers.";
        return false;
    }
    if (trailerField != kTrailerFieldBc) {
        error = "Only TrailerField 1 is defined for RSASSA-PSS.";
        log.LogDataLong("trailerField", trailerField);
        return false;
    }
    return true;
}

bool readHmacOutputLength(const ClsXml& method, int& bits, std::string& error, LogBase& log) {
    bits = kNoHmacOutputLength;
    StringBuffer text;
    if (!method.getChildContentUtf8("*:HMACOutputLength", text, true))
        return true;
    if (readNumber(method, "*:HMACOutputLength", bits))
        return true;
    error = "HMACOutputLength is not a number.";
    log.LogDataSb("hmacOutputLength", text);
    return false;
}

bool readEddsaContext(const ClsXml& method, EddsaForm& form, std::string& error, LogBase& log) {
    StringBuffer text;
    if (method.getChildContentUtf8("*:EdDSAContextString", text, true)) {
        DataBuffer context;
        for (char c : {'\n', '\r', '\t', ' '})
            text.removeCharOccurances(c);
        if (!ContentCoding::decodeBase64ToDb(text.view(), context)) {
            error = "EdDSAContextString is not base64.";
            return false;
        }
        form.context.assign(context.view());
    }
    if (form.context.size() > eddsa_verifier::kMaxContextLength) {
        error = "EdDSAContextString is longer than 255 bytes.";
        log.LogDataLong("contextLength", static_cast<long>(form.context.size()));
        return false;
    }
    if (form.withContext && form.context.empty()) {
        error = "Ed25519ctx needs a non-empty EdDSAContextString.";
        return false;
    }
    return true;
}

} // namespace signature_method
