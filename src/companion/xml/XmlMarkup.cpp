#include "companion/xml/XmlMarkup.h"

#include "companion/xml/XmlChars.h"

#include <cstring>

namespace xml_markup {
namespace {

const char* find(const char* p, const char* end, char c) {
    return static_cast<const char*>(std::memchr(p, c, static_cast<size_t>(end - p)));
}

bool isXmlName(const char* p, const char* end) {
    return end - p == 3 && (p[0] | 0x20) == 'x' && (p[1] | 0x20) == 'm' && (p[2] | 0x20) == 'l';
}

} // namespace

const char* commentEnd(const char* p, const char* end, Fault& fault) {
    for (const char* dash = find(p, end, '-'); dash; dash = find(dash + 1, end, '-')) {
        if (dash + 1 >= end || dash[1] != '-')
            continue;
        if (dash + 2 < end && dash[2] == '>')
            return dash + kCommentClose.size();
        fault = {dash, "'--' is not allowed inside a comment"};
        return nullptr;
    }
    fault = {p, "unterminated comment"};
    return nullptr;
}

const char* processingInstructionEnd(const char* p, const char* end, ProcessingInstruction& pi, Fault& fault) {
    pi.target = p;
    pi.targetEnd = xml_chars::scanName(p, end);
    if (pi.targetEnd == p) {
        fault = {p, "invalid processing-instruction target"};
        return nullptr;
    }
    if (isXmlName(pi.target, pi.targetEnd)) {
        const bool declaration = std::memcmp(pi.target, "xml", 3) == 0;
        fault = {p, declaration ? "XML declaration allowed only at the start of the document"
                                : "reserved processing-instruction target"};
        return nullptr;
    }
    const char* q = pi.targetEnd;
    if (q < end && !xml_chars::isSpace(*q) && *q != '?') {
        fault = {q, "whitespace required after the processing-instruction target"};
        return nullptr;
    }
    pi.data = xml_chars::skipSpace(q, end);
    for (const char* mark = find(pi.data, end, '?'); mark; mark = find(mark + 1, end, '?')) {
        if (mark + 1 < end && mark[1] == '>') {
            pi.dataEnd = mark;
            return mark + 2;
        }
    }
    fault = {p, "unterminated processing instruction"};
    return nullptr;
}

} // namespace xml_markup
