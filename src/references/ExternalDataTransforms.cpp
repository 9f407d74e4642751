#include "companion/crypto/Digest.h"
#include "companion/fs/FileDataSource.h"
#include "companion/log/LogContextExitor.h"
#include "companion/xml/ClsXml.h"
#include "references/DSigExternalData.h"
#include "references/DigestAttempt.h"
#include "references/RefFailReason.h"
#include "transforms/Base64Transform.h"
#include "transforms/RelationshipTransform.h"
#include "transforms/XPathNodeSet.h"
#include "verifier/AlgorithmUris.h"
#include "verifier/ClsXmlDSig.h"
#include "verifier/DSigReference.h"

#include <memory>
#include <string_view>
#include <vector>

namespace {

using algorithm_uri::kBase64Marker;
using algorithm_uri::kInclusiveC14n;
using algorithm_uri::kXPathFilter2Marker;
using algorithm_uri::kXPathMarker;

using namespace ref_fail_reason;

constexpr size_t kReadChunk = 64 * 1024;

bool isXPath(const StringBuffer& algorithm) {
    return algorithm.containsSubstring(kXPathMarker) || algorithm.containsSubstring(kXPathFilter2Marker);
}

// Every C14N 1.0, 1.1 and exclusive URI, with comments or without.
bool isCanonicalization(const StringBuffer& algorithm) {
    return algorithm.containsSubstring("xml-c14n") || algorithm.containsSubstring("xml-exc-c14n");
}

} // namespace

bool ClsXmlDSig::digestTransformedExternalData(const DSigRefExternalData& data, DSigReference& ref,
                                               const DigestAttempt& attempt, DataBuffer& digest, bool& recognisedXPath,
                                               LogBase& log) {
    StringBuffer text;
    if (!readExternalData(data, text, log) || !applyExternalTransforms(ref, text, attempt, recognisedXPath, log))
        return false;
    return Digest::doHash(text.getString(), text.getSize(), ref.getHashAlg(), digest);
}

// Transforms need the data whole, so a file is read within
// MaxExternalFileBytes, whoever named it.
bool ClsXmlDSig::readExternalData(const DSigRefExternalData& data, StringBuffer& out, LogBase& log) {
    if (!data.m_data.isEmpty())
        return out.append(data.m_data.view());
    FileDataSource source;
    if (!data.openFile(source, log))
        return false;
    std::vector<unsigned char> chunk(kReadChunk);
    for (;;) {
        size_t n = 0;
        if (!source.readSource(chunk.data(), chunk.size(), n, log))
            return false;
        if (n == 0)
            return true;
        out.appendN(reinterpret_cast<const char*>(chunk.data()), n);
        if (!withinLimit(out.getSize(), m_policy.limits.maxExternalFileBytes,
                         "Bytes of external data to transform:", VerificationLimits::kMaxExternalFileBytes, log))
            return false;
    }
}

// The transforms as XML-DSig defines them on octets: base64 decodes them; a
// canonicalization parses them as XML and serializes the whole document. An
// expression of a recognised form edits the text, which stands for a
// node-set; any other is evaluated on the data parsed as a document. The
// default canonicalization serializes a node-set that no later transform does.
bool ClsXmlDSig::applyExternalTransforms(DSigReference& ref, StringBuffer& data, const DigestAttempt& attempt,
                                         bool& recognisedXPath, LogBase& log) {
    RefPtr<ClsXml> transforms(ClsXml::createNewCls());
    if (!transforms || !transforms->loadXml(ref.m_transformsXml.view(), true, log))
        return false;
    bool nodeSetPending = false;
    std::unique_ptr<XPathNodeSet> nodes;
    StringBuffer algorithm;
    for (int i = 0; i < transforms->get_NumChildren(); ++i) {
        RefPtr<ClsXml> transform(transforms->getChild(i));
        if (!transform)
            continue;
        transform->getAttrValue("Algorithm", algorithm);
        log.LogDataSb("transformAlgorithm", algorithm);
        if (isXPath(algorithm)) {
            if (!nodes && !attempt.evaluateEveryXPath) {
                StringBuffer xPath;
                if (!transform->getChildContentUtf8("*:XPath", xPath, false)) {
                    log.LogError("No XPath found in transform.");
                    return false;
                }
                bool recognised = true;
                if (transformXPath(transform.get(), data, algorithm, xPath, log, &recognised)) {
                    recognisedXPath = true;
                    nodeSetPending = true;
                    continue;
                }
                if (recognised)
                    return false;
            }
            if (!nodes && !(nodes = externalNodeSet(data, log)))
                return false;
            if (!applyNodeSetTransform(*nodes, *transform, algorithm, log))
                return false;
        } else if (isCanonicalization(algorithm)) {
            if (nodes) {
                renderNodeSet(*nodes, transform.get(), algorithm, nullptr, data, log);
                nodes.reset();
            } else if (!canonicalizeExternalData(transform.get(), data, algorithm, attempt, log)) {
                return false;
            }
            nodeSetPending = false;
        } else if (algorithm.containsSubstring(kBase64Marker)) {
            if (nodes) {
                StringBuffer inclusive(kInclusiveC14n);
                renderNodeSet(*nodes, nullptr, inclusive, nullptr, data, log);
                nodes.reset();
                nodeSetPending = true;
            }
            DataBuffer decoded;
            if (nodeSetPending) {
                if (!base64DecodeXmlContent(data, decoded, log))
                    return false;
            } else {
                base64DecodeOctets(data.view(), decoded, log);
            }
            data.clear();
            data.append(decoded.view());
            nodeSetPending = false;
        } else if (algorithm.containsSubstring(algorithm_uri::kRelationshipTransformMarker) && !nodes) {
            const RelationshipOutput output =
                attempt.oldXmlsecRelationships ? RelationshipOutput::OldXmlsec : RelationshipOutput::Standard;
            if (!applyRelationshipTransform(*transform, data, output, log))
                return false;
            nodeSetPending = true;
        } else {
            log.LogDataSb("unrecognizedTransform", algorithm);
            return false;
        }
    }
    StringBuffer inclusive(kInclusiveC14n);
    if (nodes) {
        renderNodeSet(*nodes, nullptr, inclusive, nullptr, data, log);
        return true;
    }
    return !nodeSetPending || canonicalizeExternalData(nullptr, data, inclusive, attempt, log);
}

// Data from elsewhere has no tree loaded; the expressions are read in the
// signature's document.
std::unique_ptr<XPathNodeSet> ClsXmlDSig::externalNodeSet(const StringBuffer& data, LogBase& log) {
    auto nodes = std::make_unique<XPathNodeSet>();
    nodes->setBudget(m_policy.limits.maxXPathNodes);
    nodes->setWorkBudget(&m_work);
    if (!nodes->loadOctets(data.view(), log))
        return nullptr;
    nodes->setSignedDocument(loadedTree());
    return nodes;
}

// The whole of the data, with no tree of the loaded document to stand for it.
bool ClsXmlDSig::canonicalizeExternalData(ClsXml* transform, StringBuffer& data, StringBuffer& algorithm,
                                          const DigestAttempt& attempt, LogBase& log) {
    StringBuffer wholeDocument;
    if (transformCanonicalize(transform, data, algorithm, wholeDocument, attempt, log))
        return true;
    m_refFailReason = kCanonicalizationFailed;
    return false;
}
