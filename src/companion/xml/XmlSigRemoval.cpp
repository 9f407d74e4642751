#include "companion/xml/XmlSigRemoval.h"

#include "companion/log/LogBase.h"
#include "companion/log/LogContextExitor.h"
#include "companion/text/StringBuffer.h"
#include "companion/xml/XmlSigWalker.h"

#include <algorithm>
#include <vector>

namespace {

struct Found {
    XmlSpan bytes;
    bool inDocument;
};

// The signatures in the order they closed, an inner one before the one
// around it, become the outermost ones in document order. A signature in an
// entity's text reports its entity reference, which cannot be cut on its
// own; leftInEntity tells whether one lies outside every cut.
std::vector<XmlSpan> cutsFor(std::vector<Found> found, bool& leftInEntity) {
    std::sort(found.begin(), found.end(),
              [](const Found& a, const Found& b) { return a.bytes.offset < b.bytes.offset; });
    std::vector<XmlSpan> cuts;
    uint32_t coveredEnd = 0;
    for (const Found& f : found) {
        if (!cuts.empty() && f.bytes.offset < coveredEnd)
            continue;
        if (!f.inDocument) {
            leftInEntity = true;
            continue;
        }
        cuts.push_back(f.bytes);
        coveredEnd = f.bytes.end();
    }
    return cuts;
}

void appendWithout(std::string_view xml, const std::vector<XmlSpan>& cuts, StringBuffer& out) {
    out.raw().reserve(xml.size());
    uint32_t from = 0;
    for (const XmlSpan& cut : cuts) {
        out.append(xml.substr(from, cut.offset - from));
        from = cut.end();
    }
    out.append(xml.substr(from));
}

} // namespace

bool XmlSigRemoval::removeSignatures(const char* xml, _tvXmlDtd& dtd, StringBuffer& out, LogBase& log) {
    return removeSignatures(std::string_view(xml ? xml : ""), dtd, out, log);
}

bool XmlSigRemoval::removeSignatures(std::string_view xml, _tvXmlDtd& dtd, StringBuffer& out, LogBase& log) {
    LogContextExitor ctx(log, "removeSignatures");
    XmlSigWalker walker(dtd.bind(xml));
    std::vector<Found> found;
    while (walker.next()) {
        const XmlSigWalker::Element& e = walker.element();
        if (walker.event() == XmlSigWalker::Event::End && e.isSignature())
            found.push_back(Found{XmlSpan{e.begin, e.length()}, e.inDocument});
    }
    // Built aside: xml may be the text of out itself.
    StringBuffer result;
    if (walker.failed()) {
        log.LogError(walker.errorMessage());
        result.append(xml);
        out.swap(result);
        return false;
    }
    bool leftInEntity = false;
    appendWithout(xml, cutsFor(std::move(found), leftInEntity), result);
    if (leftInEntity)
        log.LogInfo("A signature in an entity's replacement text was left in place.");
    out.swap(result);
    return true;
}
