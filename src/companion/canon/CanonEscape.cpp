#include "companion/canon/CanonEscape.h"
#include "companion/text/Utf8.h"

#include "companion/xml/XmlChars.h"
#include "companion/xml/XmlDtd.h"
#include "companion/xml/XmlReference.h"
#include "companion/xml/XmlTextDecoder.h"
#include "companion/xml/XmlToken.h"

#include <array>
#include <bit>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace {

constexpr std::string_view kLineFeed = "\n";
constexpr std::string_view kEscapedCarriageReturn = "&#xD;";

std::string_view textEscape(char c) {
    switch (c) {
    case '&':
        return "&amp;";
    case '<':
        return "&lt;";
    case '>':
        return "&gt;";
    default:
        return kEscapedCarriageReturn;
    }
}

std::string_view attributeEscape(char c) {
    switch (c) {
    case '&':
        return "&amp;";
    case '<':
        return "&lt;";
    case '"':
        return "&quot;";
    case '\t':
        return "&#x9;";
    case '\n':
        return "&#xA;";
    default:
        return kEscapedCarriageReturn;
    }
}

using canon_escape::AttributeSpecial;
using canon_escape::ByteSet;
using canon_escape::RawTextSpecial;

#if defined(__SSE2__)
constexpr ptrdiff_t kBlock = 16;

// One bit per byte of the sixteen at p that is one of Bytes.
template <char... Bytes> unsigned blockHits(const char* p) {
    const __m128i block = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
    __m128i hits = _mm_setzero_si128();
    ((hits = _mm_or_si128(hits, _mm_cmpeq_epi8(block, _mm_set1_epi8(Bytes)))), ...);
    return static_cast<unsigned>(_mm_movemask_epi8(hits));
}
#endif

// The first byte at or after p that is one of Bytes, or end; sixteen bytes
// at a step where SSE2 is there, as most runs of text hold none. A run of
// sixteen bytes or more ends with a block that overlaps the one before (its
// bytes before p hold none); a shorter one is read byte by byte.
template <char... Bytes> const char* findAny(ByteSet<Bytes...>, const char* p, const char* end) {
#if defined(__SSE2__)
    if (end - p >= kBlock) {
        for (; end - p >= kBlock; p += kBlock)
            if (const unsigned bits = blockHits<Bytes...>(p))
                return p + std::countr_zero(bits);
        if (p == end)
            return end;
        const char* last = end - kBlock;
        const unsigned bits = blockHits<Bytes...>(last);
        return bits ? last + std::countr_zero(bits) : end;
    }
#endif
    while (p < end && !ByteSet<Bytes...>::contains(*p))
        ++p;
    return p;
}

const char* findTextSpecial(const char* p, const char* end) {
    return findAny(RawTextSpecial{}, p, end);
}

const char* findAttributeSpecial(const char* p, const char* end) {
    return findAny(AttributeSpecial{}, p, end);
}

// Decoded character data: every special byte is escaped.
void appendEscapedText(std::string& out, std::string_view text) {
    const char* p = text.data();
    const char* const end = p + text.size();
    while (p < end) {
        const char* run = p;
        p = findTextSpecial(p, end);
        out.append(run, p);
        if (p == end)
            break;
        out.append(textEscape(*p++));
    }
}

void appendEscapedAttribute(std::string& out, std::string_view value) {
    const char* p = value.data();
    const char* const end = p + value.size();
    while (p < end) {
        const char* run = p;
        p = findAttributeSpecial(p, end);
        out.append(run, p);
        if (p == end)
            break;
        out.append(attributeEscape(*p++));
    }
}

void appendEscapedCodePoint(std::string& out, uint32_t codePoint) {
    if (codePoint < 0x80 && RawTextSpecial::contains(static_cast<char>(codePoint)))
        out.append(textEscape(static_cast<char>(codePoint)));
    else
        appendUtf8(codePoint, out);
}

// The byte after a line end at p ("\r\n" or a lone "\r").
const char* skipLineEnd(const char* p, const char* end) {
    return (p + 1 < end && p[1] == '\n') ? p + 2 : p + 1;
}

// Appends the reference at p (on '&') and returns the byte after it.
const char* appendReference(std::string& out, const char* p, const char* end, const XmlDtd& dtd) {
    XmlReference ref;
    std::string unused;
    if (!XmlReference::parse(p, end, ref, unused)) {
        // The scanner has checked every reference; keep anything else literally.
        out.append(textEscape('&'));
        return p + 1;
    }
    if (ref.kind != XmlReference::Kind::Entity) {
        appendEscapedCodePoint(out, ref.codePoint);
        return ref.end;
    }
    // An entity with markup was expanded into tokens of its own; an external
    // one is never read.
    const XmlDtd::Entity* entity = dtd.findEntity(ref.name);
    if (entity && entity->kind == XmlDtd::EntityKind::Internal && entity->plainText)
        appendEscapedText(out, dtd.slice(entity->replacement));
    return ref.end;
}

} // namespace

namespace canon_escape {

size_t plainLengthOfLongText(std::string_view raw) {
    return static_cast<size_t>(findTextSpecial(raw.data(), raw.data() + raw.size()) - raw.data());
}

void appendText(std::string& out, std::string_view raw, uint8_t textFlags, bool crIsCharacter, const XmlDtd& dtd) {
    if (textFlags == 0) {
        appendEscapedText(out, raw);
        return;
    }
    const char* p = raw.data();
    const char* const end = p + raw.size();
    while (p < end) {
        const char* run = p;
        p = findTextSpecial(p, end);
        out.append(run, p);
        if (p == end)
            break;
        if (*p == '&') {
            p = appendReference(out, p, end, dtd);
        } else if (*p == '\r' && !crIsCharacter) {
            out.append(kLineFeed);
            p = skipLineEnd(p, end);
        } else {
            out.append(textEscape(*p++));
        }
    }
}

void appendCData(std::string& out, std::string_view raw, bool crIsCharacter) {
    const char* p = raw.data();
    const char* const end = p + raw.size();
    while (p < end) {
        const char* run = p;
        p = findTextSpecial(p, end);
        out.append(run, p);
        if (p == end)
            break;
        if (*p == '\r' && !crIsCharacter) {
            out.append(kLineFeed);
            p = skipLineEnd(p, end);
        } else {
            out.append(textEscape(*p++));
        }
    }
}

void appendAttributeValue(std::string& out, std::string_view raw, uint8_t attributeFlags, const XmlDtd& dtd,
                          std::string& scratch) {
    if (!(attributeFlags & kAttrNeedsDecoding)) {
        appendEscapedAttribute(out, raw);
        return;
    }
    scratch.clear();
    XmlTextDecoder::appendAttribute(raw, dtd, (attributeFlags & kAttrTokenized) != 0, scratch);
    appendEscapedAttribute(out, scratch);
}

bool isPlainLongAttributeValue(std::string_view raw) {
    const char* const end = raw.data() + raw.size();
    return findAttributeSpecial(raw.data(), end) == end;
}

void appendMarkupText(std::string& out, std::string_view raw) {
    const char* p = raw.data();
    const char* const end = p + raw.size();
    while (p < end) {
        const char* run = p;
        while (p < end && *p != '\r')
            ++p;
        out.append(run, p);
        if (p == end)
            break;
        out.append(kLineFeed);
        p = skipLineEnd(p, end);
    }
}

} // namespace canon_escape
