#include "companion/canon/XmlCanon.h"
#include "companion/crypto/Digest.h"
#include "companion/log/LogContextExitor.h"
#include "companion/text/ContentCoding.h"
#include "companion/xml/ClsXml.h"
#include "companion/xml/XmlDocument.h"
#include "companion/xml/XmlIdIndex.h"
#include "references/RefFailReason.h"
#include "verifier/AlgorithmUris.h"
#include "verifier/ClsXmlDSig.h"
#include "verifier/DSigReference.h"
#include "verifier/ProfileMarkers.h"

#include <strings.h>

namespace {

using algorithm_uri::kEnvelopedSignature;
using algorithm_uri::kInclusiveC14n;

using namespace ref_fail_reason;

constexpr std::string_view kSignedDoc = "SignedDoc";
constexpr std::string_view kDataFile = "DataFile";
using profile_markers::kSkXmlFormat;
constexpr std::string_view kHashcode = "HASHCODE";
constexpr std::string_view kEmbeddedBase64 = "EMBEDDED_BASE64";
// SK-XML signs a data file's MIME type through the reference "#<id>-MIME".
constexpr std::string_view kMimeTypeSuffix = "-MIME";
constexpr std::string_view kXPointer = "#xpointer(";
// The only transforms DigiDoc signers write; they leave the digest as the
// rules below make it.

std::string attributeValue(const XmlDocument& doc, uint32_t element, std::string_view name) {
    std::string value;
    if (const XmlDocument::Attribute* a = doc.findAttribute(element, name))
        doc.appendAttributeValue(*a, value);
    return value;
}

bool isNamed(const XmlDocument& doc, uint32_t element, std::string_view localName) {
    return element != kNoNode && XmlDocument::localName(doc.name(element)) == localName;
}

bool onlyDigiDocTransforms(const DSigReference& ref, LogBase& log) {
    if (ref.m_transformsXml.isEmpty())
        return true;
    RefPtr<ClsXml> transforms(ClsXml::createNewCls());
    if (!transforms || !transforms->loadXml(ref.m_transformsXml.view(), true, log))
        return false;
    StringBuffer algorithm;
    for (int i = 0; i < transforms->get_NumChildren(); ++i) {
        RefPtr<ClsXml> transform(transforms->getChild(i));
        algorithm.clear();
        if (!transform || !transform->getAttrValue("Algorithm", algorithm) ||
            !(algorithm.equals(kEnvelopedSignature) || algorithm.equals(kInclusiveC14n)))
            return false;
    }
    return true;
}

// Inclusive C14N of the element as a document of its own.
bool ownDocumentDigest(const StringBuffer& text, unsigned startOffset, int hashAlg, DataBuffer& digest,
                       WorkBudget& work, LogBase& log) {
    XmlCanon canon;
    canon.setWorkBudget(&work);
    canon.setInheritAncestorContext(false);
    StringBuffer canonical;
    if (!canon.xmlCanonicalize(text, nullptr, startOffset, canonical, log))
        return false;
    return Digest::doHash(canonical.getString(), canonical.getSize(), hashAlg, digest);
}

// What the container signs of a data file, by its content type and format.
bool dataFileDigest(const XmlDocument& doc, uint32_t dataFile, int hashAlg, DataBuffer& digest, LogBase& log) {
    const std::string contentType = attributeValue(doc, dataFile, "ContentType");
    if (contentType == kHashcode) {
        // The content was left out; the DigestValue attribute stands for it.
        const std::string digestType = attributeValue(doc, dataFile, "DigestType");
        if (strcasecmp(digestType.c_str(), Digest::hashName(hashAlg)) != 0) {
            log.LogDataStr("dataFileDigestType", digestType);
            return false;
        }
        log.LogInfo("HASHCODE data file: its DigestValue attribute stands for the content.");
        return ContentCoding::decodeBase64ToDb(attributeValue(doc, dataFile, "DigestValue"), digest);
    }
    // DIGIDOC-XML data files are the literal reading's: inclusive C14N of the
    // element already renders the SignedDoc namespace on it.
    if (attributeValue(doc, doc.root(), "format") != kSkXmlFormat || contentType != kEmbeddedBase64)
        return false;
    // SK-XML signs the file itself, not the element that carries it.
    log.LogInfo("SK-XML data file: the decoded content is digested.");
    std::string content;
    doc.appendContent(dataFile, content);
    DataBuffer decoded;
    return ContentCoding::decodeBase64ToDb(content, decoded) &&
           Digest::doHash(decoded.getData(), decoded.getSize(), hashAlg, digest);
}

} // namespace

// DigiDoc containers digest what they sign by rules of their own: each
// element as a document of its own, a HASHCODE data file by the digest it
// carries, the SK-XML MIME-type reference over the type's text.
bool ClsXmlDSig::verifyBySignedDocRules(int index, LogBase& log) {
    const XmlDocument* tree = loadedTreeOfText();
    if (!tree || !isNamed(*tree, tree->root(), kSignedDoc))
        return false;
    DSigReference ref;
    StringBuffer uri;
    if (!parsedReference(index, ref, uri, log))
        return false;
    if (!uri.beginsWith("#") || uri.beginsWith(kXPointer) || !onlyDigiDocTransforms(ref, log))
        return false;

    LogContextExitor ctx(log, "signedDocRules");
    log.LogInfo("Retry with the DigiDoc SignedDoc reference rules...");
    const std::string_view id = uri.view().substr(1);
    const XmlIdIndex& ids = tree->idIndex();
    // SK-XML writers put the '#' of the URI into the Id too.
    uint32_t target = ids.find(id);
    if (target == kNoNode)
        target = ids.find(uri.view());
    const int hashAlg = ref.getHashAlg();
    DataBuffer digest;
    bool computed = false;
    if (target == kNoNode && id.ends_with(kMimeTypeSuffix)) {
        const uint32_t dataFile = ids.find(id.substr(0, id.size() - kMimeTypeSuffix.size()));
        if (!isNamed(*tree, dataFile, kDataFile))
            return false;
        log.LogInfo("The MIME type of the data file is digested.");
        const std::string mimeType = attributeValue(*tree, dataFile, "MimeType");
        computed = Digest::doHash(mimeType.data(), static_cast<unsigned>(mimeType.size()), hashAlg, digest);
    } else if (isNamed(*tree, target, kDataFile)) {
        computed = dataFileDigest(*tree, target, hashAlg, digest, log);
    } else if (target != kNoNode) {
        log.LogInfo("Element canonicalized as a document of its own.");
        computed = ownDocumentDigest(m_document.text, tree->startTagBegin(target), hashAlg, digest, m_work, log);
    }
    if (!computed)
        return false;

    StringBuffer calculated;
    digest.encodeDB("base64", calculated);
    log.LogDataSb("calculatedDigest", calculated);
    log.LogDataSb("storedRefDigest", ref.m_digestValue);
    DataBuffer stored;
    const bool matched = ContentCoding::decodeBase64ToDb(ref.m_digestValue.view(), stored) && stored.equals(digest);
    m_refFailReason = matched ? kMatched : kMismatch;
    if (matched)
        log.LogInfo("The reference matched by the SignedDoc rules.");
    return matched;
}
