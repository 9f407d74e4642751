// Feeds arbitrary bytes to ClsXml::loadXml, as they are and as the verifier
// reads a document's bytes (decoded to UTF-8 first), and checks what must
// hold for any input: a failed decoding or load logs exactly one error, a
// load's located; a loaded tree has ordered in-range tag offsets and
// serializes to text that loads again into an equal tree.
#include "FuzzRequire.h"

#include "companion/log/LogBase.h"
#include "companion/text/DataBuffer.h"
#include "companion/text/ExtPtrArray.h"
#include "companion/xml/ClsXml.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace {

int errorLines(const LogBase& log) {
    int n = 0;
    for (const LogBase::Entry& e : log.entries())
        n += e.kind == LogBase::Kind::Error;
    return n;
}

// Every element in document order: tag, attributes and content.
std::string describe(const ClsXml& root) {
    std::string out;
    StringBuffer sb;
    RefPtr<ClsXml> e(root.searchForTag(nullptr, "*"));
    while (e) {
        out.append(e->tag()).push_back('(');
        for (int i = 0; i < e->get_NumAttributes(); ++i) {
            e->getAttributeName(i, sb);
            out.append(sb.view()).push_back('=');
            e->getAttributeValue(i, sb);
            out.append(sb.view()).push_back(';');
        }
        e->get_Content(sb);
        out.append(sb.view()).push_back(')');
        out.append(std::to_string(e->get_NumChildren()));
        e.reset(root.searchForTag(e.get(), "*"));
    }
    return out;
}

void checkOffsets(const ClsXml& root) {
    const size_t size = root.sourceText().size();
    RefPtr<ClsXml> e(root.searchForTag(nullptr, "*"));
    while (e) {
        require(e->startTagBegin() < e->startTagEnd());
        require(e->startTagEnd() <= e->endTagBegin());
        require(e->endTagBegin() <= e->endTagEnd());
        require(e->endTagEnd() <= size);
        e.reset(root.searchForTag(e.get(), "*"));
    }
}

void loadAndCheck(std::string_view text) {
    LogBase log;
    RefPtr<ClsXml> xml(ClsXml::createNewCls());
    if (!xml->loadXml(text, false, log)) {
        require(errorLines(log) == 1);
        require(log.firstError().rfind("XML parse error at line ", 0) == 0);
        return;
    }
    checkOffsets(*xml);
    ExtPtrArrayRc signatures;
    xml->findSignatures(signatures, log);

    StringBuffer serialized;
    require(xml->getXml(false, serialized, log));
    RefPtr<ClsXml> again(ClsXml::createNewCls());
    require(again->loadXml(serialized, false, log));
    require(describe(*again) == describe(*xml));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string_view bytes(reinterpret_cast<const char*>(data), size);
    loadAndCheck(bytes);
    DataBuffer decoded;
    decoded.append(bytes);
    LogBase log;
    if (decoded.convertXmlToUtf8(log))
        loadAndCheck(decoded.view());
    else
        require(errorLines(log) == 1);
    return 0;
}
