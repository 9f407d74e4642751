#include "companion/canon/CanonTarget.h"
#include "companion/xml/ClsXml.h"
#include "companion/xml/XmlDocument.h"
#include "companion/xml/XmlIdIndex.h"
#include "verifier/ClsXmlDSig.h"

std::span<const uint32_t> ClsXmlDSig::elementsNamedBy(std::string_view uri) {
    CanonTarget target;
    if (!CanonTarget::fromUri(uri, 0, target) || target.kind != CanonTarget::Kind::Id)
        return {};
    const XmlDocument* tree = loadedTree();
    return tree ? tree->idIndex().elementsWith(target.id) : std::span<const uint32_t>{};
}

// Two elements with the identifier leave it open which one was signed: the
// canonicalizer takes the first, an application may read the other. That is
// how signature-wrapping attacks pass, so such a reference never matches.
bool ClsXmlDSig::identifierIsUnique(std::string_view uri, LogBase& log) {
    const std::span<const uint32_t> carriers = elementsNamedBy(uri);
    if (carriers.size() <= 1)
        return true;
    log.LogError("identifier is not unique");
    log.LogDataStr("identifier", std::string(uri));
    log.LogDataLong("elementsWithIdentifier", static_cast<long>(carriers.size()));
    return false;
}
