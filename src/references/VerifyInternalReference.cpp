#include "companion/crypto/Digest.h"
#include "companion/log/LogContextExitor.h"
#include "companion/text/TextCodec.h"
#include "companion/xml/ClsXml.h"
#include "references/DigestAttempt.h"
#include "references/RefFailReason.h"
#include "references/StreamedDigest.h"
#include "transforms/Base64Transform.h"
#include "transforms/XPathNodeSet.h"
#include "verifier/AlgorithmUris.h"
#include "verifier/ClsXmlDSig.h"
#include "verifier/DSigReference.h"

#include <cctype>
#include <optional>
#include <string>
#include <string_view>

namespace {

using algorithm_uri::kBase64Marker;
using algorithm_uri::kEnvelopedSignature;
using algorithm_uri::kExclusiveC14nMarker;
using algorithm_uri::kInclusiveC14nMarker;
using algorithm_uri::kXPathFilter2Marker;
using algorithm_uri::kXPathMarker;
using algorithm_uri::kXPointerMarker;

using namespace ref_fail_reason;

constexpr std::string_view kXPathRouteTag = "xpathRoute";
constexpr std::string_view kXadesNamespace = "http://uri.etsi.org/01903/v1.3.2#";
constexpr std::string_view kDsigNamespaceDecl = " xmlns:ds=\"http://www.w3.org/2000/09/xmldsig#\"";
// ZATCA signers digest SignedProperties with an empty DigestMethod collapsed.
constexpr std::string_view kSignedPropertiesMarker = "SignedProperties";
// Entities could spell out text that post-processing looks for.
constexpr std::string_view kEntityDeclaration = "<!ENTITY";
constexpr std::string_view kZatcaDigestMethodEnd = "></ds:DigestMethod>";
constexpr std::string_view kZatcaDigestMethodCollapsed = "/>";
// A stored digest this much longer than ours is hex text, not base64 bytes.
constexpr unsigned kZatcaRetryLengthMargin = 8;
// MyInvois documents digest the properties of three-transform references.
constexpr int kMyInvoisDocumentTransforms = 3;

// MyInvois SignedProperties are digested standing alone, so the elements that
// use the ds prefix get their namespace declared on themselves.
void insertMyInvoisNamespaces(StringBuffer& xml) {
    for (std::string_view tag : {"<ds:DigestValue>", "<ds:X509IssuerName>", "<ds:X509SerialNumber>"}) {
        std::string declared(tag.substr(0, tag.size() - 1));
        declared.append(kDsigNamespaceDecl).push_back('>');
        xml.replaceAllOccurances(tag, declared);
    }
    for (std::string_view alg : {"http://www.w3.org/2001/04/xmlenc#sha256", "http://www.w3.org/2001/04/xmlenc#sha512",
                                 "http://www.w3.org/2001/04/xmldsig-more#sha384"}) {
        const std::string start = std::string("<ds:DigestMethod Algorithm=\"") + std::string(alg) + "\"";
        xml.replaceAllOccurances(start + ">", start + std::string(kDsigNamespaceDecl) + ">");
        xml.replaceAllOccurances(start + "/>", start + std::string(kDsigNamespaceDecl) + "/>");
    }
}

void takeMyInvoisSignedProperties(const StringBuffer& document, StringBuffer& xml) {
    xml.clear();
    document.getDelimited("<xades:SignedProperties ", "</xades:SignedProperties>", true, xml);
    if (!xml.containsSubstring(kXadesNamespace))
        xml.replaceFirstOccurance(">", std::string(" xmlns:xades=\"") + std::string(kXadesNamespace) + "\">");
    insertMyInvoisNamespaces(xml);
}

// The ZATCA retry takes a stored digest clearly longer than the base64 text
// of a computed one for hex text.
bool storedDigestLooksHex(const DSigReference& ref, int hashAlg) {
    const size_t base64Length = (Digest::hashLen(hashAlg) + 2) / 3 * 4;
    return ref.m_digestValue.getSize() > base64Length + kZatcaRetryLengthMargin;
}

// The digest as ZATCA signers compare it: the bytes of its lower-case hex text.
void zatcaSignedPropertiesDigest(StringBuffer& xml, int hashAlg, DataBuffer& digest) {
    xml.replaceFirstOccurance(kZatcaDigestMethodEnd, kZatcaDigestMethodCollapsed);
    DataBuffer raw;
    Digest::doHash(xml.getString(), xml.getSize(), hashAlg, raw);
    StringBuffer hex;
    raw.encodeDB("hex_lower", hex);
    digest.clear();
    digest.append(hex.view());
}

// The base64 transform: the digest covers the decoded text content of the
// root element.
bool digestBase64Content(const StringBuffer& xml, int hashAlg, DataBuffer& digest, HashedOctets* hashed, LogBase& log) {
    DataBuffer decoded;
    if (!base64DecodeXmlContent(xml, decoded, log))
        return false;
    if (hashed)
        hashed->assign(decoded.view());
    return Digest::doHash(decoded.getData(), decoded.getSize(), hashAlg, digest);
}

bool isNodeSetTransform(const StringBuffer& algorithm) {
    return algorithm.containsSubstring(kXPathMarker) || algorithm.containsSubstring(kXPathFilter2Marker) ||
           algorithm.containsSubstring(kXPointerMarker);
}

} // namespace

bool ClsXmlDSig::verifyInternalReference(StringBuffer& uri, DSigReference& ref, const DigestAttempt& attempt,
                                         ReferenceCheck& check, LogBase& log) {
    LogContextExitor ctx(log, "verifyInternalReference");
    StringBuffer xml;
    if (m_profile.isDoda) {
        log.LogInfo("Canonicalizing fragment from <doda> to </doda>");
        m_document.text.getDelimited("<doda>", "</doda>", true, xml);
    } else {
        // Shared, not copied: only a transform that edits the text copies it.
        xml.shareFrom(m_document.text);
    }
    preprocessXmlToTransform(uri, xml, attempt.ownDocument, log);

    // The final canonical text is hashed as it is produced unless a later
    // step needs it whole. Only the ZATCA retry asks whether it holds the
    // signed-properties marker.
    const int hashAlg = ref.getHashAlg();
    StreamedDigest streamed(hashAlg, storedDigestLooksHex(ref, hashAlg) ? kSignedPropertiesMarker : "");
    std::optional<CopyingSink> copying;
    if (check.hashed) {
        check.hashed->restart();
        copying.emplace(streamed, *check.hashed);
    }
    CanonSink* sink = !canStreamDigest(ref) ? nullptr : copying ? &*copying : static_cast<CanonSink*>(&streamed);

    TransformChain chain;
    if (ref.m_transformsXml.isEmpty()) {
        if (m_profile.isMyInvois) {
            takeMyInvoisSignedProperties(m_document.text, xml);
        } else {
            StringBuffer algorithm;
            CanonShortcut shortcut;
            if (uri.isEmpty()) {
                algorithm.append(kEnvelopedSignature);
                envelope(xml, ref, true, attempt.stpDocumentOnly, shortcut, log);
            }
            algorithm.append(m_profile.isZatca ? kExclusiveC14nMarker : kInclusiveC14nMarker);
            shortcut.sink = sink;
            shortcut.parsed = loadedTree();
            if (!transformCanonicalize(nullptr, xml, algorithm, uri, attempt, log, shortcut)) {
                m_refFailReason = kCanonicalizationFailed;
                return false;
            }
        }
    } else if (!applyTransforms(uri, ref, xml, attempt, chain, sink, log)) {
        return false;
    }
    check.selection = std::move(chain.selection);
    postProcessTransformedXml(xml, log);

    DataBuffer digest;
    if (streamed.used()) {
        streamed.final(digest);
        if (check.hashed)
            check.hashed->complete = true;
        if (m_profile.isMyInvois && chain.count == kMyInvoisDocumentTransforms)
            m_docDigest = digest;
    } else if (chain.base64Seen) {
        if (!digestBase64Content(xml, hashAlg, digest, check.hashed, log))
            return false;
    } else if (m_profile.isZatca && xml.containsSubstring(kSignedPropertiesMarker)) {
        zatcaSignedPropertiesDigest(xml, hashAlg, digest);
    } else {
        if (check.hashed)
            check.hashed->assign(xml.view());
        Digest::doHash(xml.getString(), xml.getSize(), hashAlg, digest);
        if (m_profile.isMyInvois && chain.count == kMyInvoisDocumentTransforms)
            m_docDigest = digest;
    }

    StringBuffer calculated;
    digest.encodeDB("base64", calculated);
    log.LogDataSb("calculatedDigest", calculated);
    log.LogDataSb("storedRefDigest", ref.m_digestValue);
    const bool hasSignedProperties =
        streamed.used() ? streamed.sawMarker() : xml.containsSubstring(kSignedPropertiesMarker);
    if (calculated.equals(ref.m_digestValue.view()) ||
        digestMatchesOnFallback(uri, ref, attempt, hasSignedProperties, calculated, check, log)) {
        m_refFailReason = kMatched;
        return true;
    }
    m_refFailReason = kMismatch;
    if (chain.recognisedXPath && !attempt.evaluateEveryXPath)
        return retryWithXPathEvaluator(uri, ref, attempt, check, log);
    return false;
}

// A recognised form reads an expression by its text alone; the evaluator
// reads it as XPath does, so its node-set is the one the signer meant.
bool ClsXmlDSig::retryWithXPathEvaluator(StringBuffer& uri, DSigReference& ref, const DigestAttempt& attempt,
                                         ReferenceCheck& check, LogBase& log) {
    log.LogInfo("Retry with the XPath evaluator for the expressions of recognised forms...");
    DigestAttempt evaluated = attempt.further(FurtherAttempt::EveryXPathEvaluated);
    evaluated.evaluateEveryXPath = true;
    if (!verifyInternalReference(uri, ref, evaluated, check, log))
        return false;
    check.matchedBy.push_back(FurtherAttempt::EveryXPathEvaluated);
    return true;
}

bool ClsXmlDSig::canStreamDigest(const DSigReference& ref) const {
    // Entities are declared before the root element; only that prolog is searched.
    const std::string_view prolog = m_document.text.view().substr(0, m_document.tree ? m_document.tree->startTagBegin()
                                                                                     : m_document.text.getSize());
    return !m_profile.isZatca && !ref.m_transformsXml.containsSubstring(kBase64Marker) &&
           !m_profile.mayRemoveSwiftLau && prolog.find(kEntityDeclaration) == std::string_view::npos;
}

bool ClsXmlDSig::applyTransforms(StringBuffer& uri, DSigReference& ref, StringBuffer& xml, const DigestAttempt& attempt,
                                 TransformChain& chain, CanonSink* sink, LogBase& log) {
    RefPtr<ClsXml> transforms(ClsXml::createNewCls());
    if (!transforms || !transforms->loadXml(ref.m_transformsXml.view(), true, log))
        return false;
    chain.count = transforms->get_NumChildren();
    if (log.verbose())
        log.LogDataLong("numTransforms", chain.count);

    auto isCanonicalization = [](const StringBuffer& algorithm) {
        return algorithm.containsSubstring("xml-c14n") || algorithm.containsSubstring(kExclusiveC14nMarker);
    };
    auto nextIsCanonicalization = [&](int i) {
        RefPtr<ClsXml> next(transforms->getChild(i + 1));
        StringBuffer algorithm;
        return next && next->getAttrValue("Algorithm", algorithm) && isCanonicalization(algorithm) &&
               !algorithm.containsSubstring(kXPathMarker) && !algorithm.containsSubstring(kXPathFilter2Marker) &&
               !algorithm.containsSubstring("enveloped-signature");
    };

    CanonShortcut pending;
    std::unique_ptr<XPathNodeSet> nodes;
    StringBuffer algorithm;
    for (int i = 0; i < chain.count; ++i) {
        RefPtr<ClsXml> transform(transforms->getChild(i));
        if (!transform)
            continue;
        transform->getAttrValue("Algorithm", algorithm);
        log.LogDataSb("transformAlgorithm", algorithm);
        if (isNodeSetTransform(algorithm)) {
            // A recognised expression is carried out on the text as before;
            // any other is evaluated, and so is every one after that.
            bool recognised = !nodes && !algorithm.containsSubstring(kXPointerMarker) && !attempt.evaluateEveryXPath;
            if (recognised) {
                StringBuffer xPath;
                if (!transform->getChildContentUtf8("*:XPath", xPath, false)) {
                    log.LogError("No XPath found in transform.");
                    return false;
                }
                if (transformXPath(transform.get(), xml, algorithm, xPath, log, &recognised)) {
                    chain.recognisedXPath = true;
                    log.LogDataStr(kXPathRouteTag, "recognised form");
                    continue;
                }
                if (recognised)
                    return false;
            }
            log.LogDataStr(kXPathRouteTag, "evaluated");
            if (!nodes && !(nodes = startNodeSet(uri, ref, xml, pending, log)))
                return false;
            chain.nodeSetSeen = true;
            if (!applyNodeSetTransform(*nodes, *transform, algorithm, log))
                return false;
        } else if (algorithm.containsSubstring("enveloped-signature")) {
            chain.envelopedSeen = true;
            EnvelopedRange range;
            if (!nodes)
                envelope(xml, ref, nextIsCanonicalization(i), attempt.stpDocumentOnly, pending, log);
            else if (envelopedSignatureRange(xml, ref, range, log))
                nodes->subtractElementsIn(range.start, range.length);
        } else if (isCanonicalization(algorithm)) {
            chain.canonicalizationSeen = true;
            // Streamed only when nothing follows, not even the implicit
            // enveloped-signature transform.
            const bool last = i == chain.count - 1 && (chain.envelopedSeen || !uri.isEmpty() || chain.nodeSetSeen);
            if (nodes) {
                chain.selection = selectionOf(*nodes);
                renderNodeSet(*nodes, transform.get(), algorithm, last ? sink : nullptr, xml, log);
                nodes.reset();
                continue;
            }
            CanonShortcut shortcut = pending;
            pending = CanonShortcut{};
            shortcut.sink = last ? sink : nullptr;
            shortcut.parsed = loadedTree();
            if (!transformCanonicalize(transform.get(), xml, algorithm, uri, attempt, log, shortcut)) {
                m_refFailReason = kCanonicalizationFailed;
                return false;
            }
        } else if (algorithm.containsSubstring(kBase64Marker)) {
            chain.base64Seen = true;
        } else {
            log.LogDataSb("unrecognizedTransform", algorithm);
            if (algorithm.containsSubstring(algorithm_uri::kXsltMarker))
                m_refFailReason = kXsltNotExecuted;
            return false;
        }
    }

    // A node-set still pending gets the default canonicalization; the
    // expressions decided what it holds, so nothing is cut from it.
    if (nodes) {
        chain.selection = selectionOf(*nodes);
        StringBuffer inclusive(kInclusiveC14nMarker);
        renderNodeSet(*nodes, nullptr, inclusive, sink, xml, log);
        return true;
    }
    // A whole-document reference is always enveloped, even after the chain
    // already canonicalized.
    if (!chain.envelopedSeen && uri.isEmpty() && !chain.nodeSetSeen)
        envelope(xml, ref, !chain.canonicalizationSeen, attempt.stpDocumentOnly, pending, log);
    if (!chain.canonicalizationSeen) {
        StringBuffer inclusive(kInclusiveC14nMarker);
        pending.sink = sink;
        if (!transformCanonicalize(nullptr, xml, inclusive, uri, attempt, log, pending)) {
            m_refFailReason = kCanonicalizationFailed;
            return false;
        }
    }
    return true;
}

bool ClsXmlDSig::digestMatchesOnFallback(StringBuffer& uri, DSigReference& ref, const DigestAttempt& attempt,
                                         bool hasSignedProperties, StringBuffer& calculated, ReferenceCheck& check,
                                         LogBase& log) {
    const StringBuffer& stored = ref.m_digestValue;
    if (!m_profile.isZatca && storedDigestLooksHex(ref, ref.getHashAlg()) && hasSignedProperties) {
        log.LogInfo("Retry with ZATCA rules...");
        // The hex text of a digest is hashed here, not octets a timestamp covers.
        if (check.hashed)
            check.hashed->restart();
        StringBuffer retry(m_document.text.view());
        preprocessXmlToTransform(uri, retry, attempt.ownDocument, log);
        StringBuffer exclusive(kExclusiveC14nMarker);
        transformCanonicalize(nullptr, retry, exclusive, uri, attempt, log);
        DataBuffer digest;
        zatcaSignedPropertiesDigest(retry, ref.getHashAlg(), digest);
        calculated.clear();
        digest.encodeDB("base64", calculated);
        log.LogDataSb("calculatedDigest2", calculated);
        log.LogDataSb("storedRefDigest2", stored);
        // From here on the document is treated as a ZATCA invoice.
        m_profile.noSortBugRetry = true;
        m_profile.isZatca = true;
        if (calculated.equals(stored.view())) {
            check.matchedBy.push_back(FurtherAttempt::ZatcaRules);
            return true;
        }
    }
    if (TextCodec::isHexText(stored.view())) {
        log.LogError("Checking to see if the signed XML's digest is hex.  Will convert to base64 and re-compare.");
        DataBuffer bytes;
        bytes.appendEncoded(stored.view(), "hex");
        StringBuffer storedBase64;
        bytes.encodeDB("base64", storedBase64);
        log.LogDataSb("storedRefDigest_base64", storedBase64);
        if (calculated.equals(storedBase64.view())) {
            check.matchedBy.push_back(FurtherAttempt::HexDigestValue);
            return true;
        }
    }
    if (!m_policy.profile.allowXmlDigestError)
        return false;
    check.matchedBy.push_back(FurtherAttempt::DigestErrorAllowed);
    return true;
}
