#include "companion/xml/XmlTextDecoder.h"
#include "companion/text/ByteSearch.h"
#include "companion/text/Utf8.h"

#include "companion/xml/XmlChars.h"
#include "companion/xml/XmlDtd.h"
#include "companion/xml/XmlLimits.h"
#include "companion/xml/XmlReference.h"

namespace {

// The length of a line end at p: 2 for "\r\n", 1 for a lone '\r'.
size_t lineEndLength(const char* p, const char* end) {
    return (p + 1 < end && p[1] == '\n') ? 2 : 1;
}

} // namespace

void XmlTextDecoder::appendContent(std::string_view raw, const XmlDtd& dtd, std::string& out) {
    const char* p = raw.data();
    const char* const end = p + raw.size();
    std::string unused;
    while (p < end) {
        const char* run = p;
        p = findFirstOf<'&', '\r'>(p, end);
        out.append(run, p);
        if (p == end)
            break;
        if (*p == '\r') {
            out.push_back('\n');
            p += lineEndLength(p, end);
            continue;
        }
        XmlReference ref;
        if (!XmlReference::parse(p, end, ref, unused)) {
            // Scanned text holds only valid references; keep anything else literally.
            out.push_back(*p++);
            continue;
        }
        p = ref.end;
        if (ref.kind != XmlReference::Kind::Entity) {
            appendUtf8(ref.codePoint, out);
            continue;
        }
        const XmlDtd::Entity* entity = dtd.findEntity(ref.name);
        if (entity && entity->kind == XmlDtd::EntityKind::Internal && entity->plainText)
            out.append(dtd.slice(entity->replacement));
    }
}

void XmlTextDecoder::appendCData(std::string_view raw, std::string& out) {
    const char* p = raw.data();
    const char* const end = p + raw.size();
    while (p < end) {
        const char* run = p;
        while (p < end && *p != '\r')
            ++p;
        out.append(run, p);
        if (p == end)
            break;
        out.push_back('\n');
        p += lineEndLength(p, end);
    }
}

void XmlTextDecoder::appendAttribute(std::string_view raw, const XmlDtd& dtd, bool tokenized, std::string& out) {
    const size_t from = out.size();
    appendAttributeText(raw, dtd, 0, out);
    if (tokenized)
        collapseSpaces(out, from);
}

void XmlTextDecoder::appendAttributeText(std::string_view raw, const XmlDtd& dtd, uint32_t nesting, std::string& out) {
    const char* p = raw.data();
    const char* const end = p + raw.size();
    std::string unused;
    while (p < end) {
        const char* run = p;
        while (p < end && *p != '&' && *p != '\r' && *p != '\n' && *p != '\t')
            ++p;
        out.append(run, p);
        if (p == end)
            break;
        if (*p != '&') {
            out.push_back(' ');
            p += *p == '\r' ? lineEndLength(p, end) : 1;
            continue;
        }
        XmlReference ref;
        if (!XmlReference::parse(p, end, ref, unused)) {
            out.push_back(*p++);
            continue;
        }
        p = ref.end;
        if (ref.kind != XmlReference::Kind::Entity) {
            appendUtf8(ref.codePoint, out);
            continue;
        }
        const XmlDtd::Entity* entity = dtd.findEntity(ref.name);
        if (entity && entity->kind == XmlDtd::EntityKind::Internal && nesting < xml_limits::kMaxEntityNesting)
            appendAttributeText(dtd.slice(entity->replacement), dtd, nesting + 1, out);
    }
}

void XmlTextDecoder::collapseSpaces(std::string& out, size_t from) {
    size_t write = from;
    bool pendingSpace = false;
    for (size_t read = from; read < out.size(); ++read) {
        if (out[read] == ' ') {
            pendingSpace = write > from;
            continue;
        }
        if (pendingSpace)
            out[write++] = ' ';
        pendingSpace = false;
        out[write++] = out[read];
    }
    out.resize(write);
}
