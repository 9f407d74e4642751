#include "ades/SignaturePolicyCheck.h"

#include "ades/XadesNames.h"
#include "companion/crypto/Digest.h"
#include "companion/log/LogBase.h"
#include "companion/text/DataBuffer.h"
#include "companion/text/StringBuffer.h"
#include "transforms/CanonicalizationMethod.h"
#include "verifier/DSigReference.h"

#include <filesystem>

using namespace xades_names;

namespace {

const PolicyDocument* documentFor(const std::string& identifier, std::span<const PolicyDocument> documents) {
    for (const PolicyDocument& d : documents)
        if (d.identifier == identifier)
            return &d;
    for (const PolicyDocument& d : documents) {
        const std::string file = std::filesystem::path(d.name).filename().string();
        if (d.identifier.empty() && !file.empty() && identifier.ends_with(file))
            return &d;
    }
    if (documents.size() == 1 && documents[0].identifier.empty())
        return &documents[0];
    return nullptr;
}

// The policy document as its transforms leave it: only canonicalizations
// are applied; false for any other transform.
bool transformed(const XmlDocument& doc, uint32_t transforms, const std::string& bytes, std::string& out,
                 LogBase& log) {
    out = bytes;
    for (uint32_t t = doc.firstChildElement(transforms); t != kNoNode; t = doc.nextSiblingElement(t)) {
        const CanonicalizationMethod method = canonicalizationMethodOf(attributeValue(doc, t, "Algorithm"));
        if (!method.recognised)
            return false;
        XmlCanon canon;
        canon.setMode(method.mode);
        canon.setWithComments(method.withComments);
        StringBuffer in{std::string_view(out)}, canonical;
        if (!canon.xmlCanonicalize(in, nullptr, 0, canonical, log))
            return false;
        out.assign(canonical.view());
    }
    return true;
}

PolicyCheck compare(const XmlDocument& doc, uint32_t policyId, const PolicyDocument& document, PolicyCheck check,
                    LogBase& log) {
    const uint32_t hash = xadesChild(doc, policyId, "SigPolicyHash");
    StringBuffer method{std::string_view(attributeValue(doc, dsigChild(doc, hash, "DigestMethod"), "Algorithm"))};
    const int hashAlg = DSigReference::digestMethodHashAlg(method);
    std::string input;
    if (hashAlg == 0 || !transformed(doc, dsigChild(doc, policyId, "Transforms"), *document.bytes, input, log)) {
        check.outcome = PolicyCheck::Outcome::Unprocessable;
        check.detail = document.name + ": its digest method or transforms are not supported";
        return check;
    }
    DataBuffer computed, stated;
    Digest::doHash(input.data(), input.size(), hashAlg, computed);
    stated.appendEncoded(trimmedContent(doc, dsigChild(doc, hash, "DigestValue")), "base64");
    const bool matched = computed.equals(stated);
    check.outcome = matched ? PolicyCheck::Outcome::Matched : PolicyCheck::Outcome::Mismatch;
    check.detail = document.name + (matched ? ": the digest matches" : ": the digest does not match");
    return check;
}

} // namespace

PolicyCheck checkSignaturePolicy(const XmlDocument& doc, uint32_t signedSignatureProperties,
                                 std::span<const PolicyDocument> documents, LogBase& log) {
    PolicyCheck check;
    const uint32_t policy = xadesChild(doc, signedSignatureProperties, "SignaturePolicyIdentifier");
    if (policy == kNoNode)
        return check;
    if (xadesChild(doc, policy, "SignaturePolicyImplied") != kNoNode) {
        check.outcome = PolicyCheck::Outcome::Implied;
        return check;
    }
    const uint32_t policyId = xadesChild(doc, policy, "SignaturePolicyId");
    check.identifier = trimmedContent(doc, xadesChild(doc, xadesChild(doc, policyId, "SigPolicyId"), "Identifier"));
    const PolicyDocument* document = documentFor(check.identifier, documents);
    if (!document) {
        check.outcome = PolicyCheck::Outcome::NoDocument;
        check.detail = "no policy document was supplied for " + check.identifier;
        return check;
    }
    return compare(doc, policyId, *document, std::move(check), log);
}
