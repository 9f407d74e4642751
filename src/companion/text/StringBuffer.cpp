#include "companion/text/StringBuffer.h"

#include "companion/text/DataBuffer.h"
#include "companion/text/ExtPtrArray.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cstring>

namespace {

char lowerAscii(char c) {
    return (c >= 'A' && c <= 'Z') ? static_cast<char>(c + 32) : c;
}

bool equalNoCase(std::string_view a, std::string_view b) {
    return a.size() == b.size() &&
           std::equal(a.begin(), a.end(), b.begin(), [](char x, char y) { return lowerAscii(x) == lowerAscii(y); });
}

bool isXmlSpace(char c) {
    return c == ' ' || c == '\t' || c == '\r' || c == '\n';
}

bool globMatch(std::string_view text, std::string_view pattern, bool caseSensitive) {
    size_t t = 0, p = 0, starP = std::string_view::npos, starT = 0;
    auto same = [caseSensitive](char a, char b) { return caseSensitive ? a == b : lowerAscii(a) == lowerAscii(b); };
    while (t < text.size()) {
        if (p < pattern.size() && pattern[p] == '*') {
            starP = p++;
            starT = t;
        } else if (p < pattern.size() && same(pattern[p], text[t])) {
            ++p;
            ++t;
        } else if (starP != std::string_view::npos) {
            p = starP + 1;
            t = ++starT;
        } else {
            return false;
        }
    }
    while (p < pattern.size() && pattern[p] == '*')
        ++p;
    return p == pattern.size();
}

} // namespace

StringBuffer& StringBuffer::operator=(const StringBuffer& other) {
    if (this != &other) {
        std::string copy(other.view());
        m_shared.reset();
        m_str = std::move(copy);
    }
    return *this;
}

void StringBuffer::own() {
    if (m_shared) {
        m_str.assign(m_shared.view());
        m_shared.reset();
    }
}

std::string& StringBuffer::raw() {
    own();
    return m_str;
}

SharedText StringBuffer::share() {
    if (!m_shared) {
        m_shared = SharedText::ofString(std::move(m_str));
        m_str.clear();
    }
    return m_shared;
}

bool StringBuffer::equalsIgnoreCase(std::string_view s) const {
    return equalNoCase(view(), s);
}

bool StringBuffer::containsSubstringNoCase(std::string_view s) const {
    std::string_view v = view();
    if (s.empty())
        return true;
    if (s.size() > v.size())
        return false;
    const char first = lowerAscii(s[0]);
    for (size_t i = 0; i + s.size() <= v.size(); ++i) {
        if (lowerAscii(v[i]) == first && equalNoCase(v.substr(i, s.size()), s))
            return true;
    }
    return false;
}

int StringBuffer::findSubstr(std::string_view s, unsigned start) const {
    size_t pos = view().find(s, start);
    return pos == std::string_view::npos ? -1 : static_cast<int>(pos);
}

bool StringBuffer::getDelimited(std::string_view start, std::string_view end, bool inclusive, StringBuffer& out) const {
    out.clear();
    std::string_view v = view();
    size_t a = v.find(start);
    if (a == std::string_view::npos)
        return false;
    size_t b = v.find(end, a + start.size());
    if (b == std::string_view::npos)
        return false;
    if (inclusive)
        out.append(v.substr(a, b + end.size() - a));
    else
        out.append(v.substr(a + start.size(), b - a - start.size()));
    return true;
}

bool StringBuffer::matches(std::string_view pattern, bool caseSensitive) const {
    return globMatch(view(), pattern, caseSensitive);
}

unsigned StringBuffer::countCharOccurances(char c) const {
    std::string_view v = view();
    return static_cast<unsigned>(std::count(v.begin(), v.end(), c));
}

void StringBuffer::clear() {
    m_shared.reset();
    m_str.clear();
}

void StringBuffer::secureClear() {
    own();
    volatile char* p = m_str.data();
    for (size_t i = 0; i < m_str.size(); ++i)
        p[i] = 0;
    m_str.clear();
}

void StringBuffer::setString(std::string_view s) {
    std::string copy(s);
    m_shared.reset();
    m_str = std::move(copy);
}

bool StringBuffer::append(std::string_view s) {
    own();
    m_str.append(s);
    return true;
}

bool StringBuffer::appendChar(char c) {
    own();
    m_str.push_back(c);
    return true;
}

bool StringBuffer::appendInt64(long long v) {
    char buf[24];
    auto res = std::to_chars(buf, buf + sizeof buf, v);
    return append(std::string_view(buf, static_cast<size_t>(res.ptr - buf)));
}

bool StringBuffer::append3(std::string_view a, std::string_view b, std::string_view c) {
    own();
    m_str.reserve(m_str.size() + a.size() + b.size() + c.size());
    m_str.append(a).append(b).append(c);
    return true;
}

bool StringBuffer::insertAt(unsigned pos, std::string_view s) {
    own();
    if (pos > m_str.size())
        return false;
    m_str.insert(pos, s);
    return true;
}

void StringBuffer::shorten(unsigned n) {
    own();
    m_str.resize(n >= m_str.size() ? 0 : m_str.size() - n);
}

void StringBuffer::shareFrom(StringBuffer& other) {
    if (&other == this)
        return;
    m_shared = other.share();
    m_str.clear();
}

void StringBuffer::removeChunk(unsigned start, unsigned len) {
    if (m_shared) {
        // One copy of what stays, rather than a copy of everything and a move.
        const std::string_view v = m_shared.view();
        if (start < v.size()) {
            const std::string_view tail = v.substr(start).substr(std::min<size_t>(len, v.size() - start));
            std::string kept;
            kept.reserve(start + tail.size());
            kept.append(v.substr(0, start)).append(tail);
            m_str = std::move(kept);
            m_shared.reset();
        }
        return;
    }
    if (start < m_str.size())
        m_str.erase(start, len);
}

unsigned StringBuffer::removeCharOccurances(char c) {
    own();
    auto it = std::remove(m_str.begin(), m_str.end(), c);
    unsigned removed = static_cast<unsigned>(m_str.end() - it);
    m_str.erase(it, m_str.end());
    return removed;
}

unsigned StringBuffer::replaceAllOccurances(std::string_view from, std::string_view to) {
    if (from.empty() || !containsSubstring(from))
        return 0;
    std::string_view v = view();
    std::string result;
    result.reserve(v.size());
    unsigned count = 0;
    size_t pos = 0;
    for (size_t hit; (hit = v.find(from, pos)) != std::string_view::npos; pos = hit + from.size()) {
        result.append(v.substr(pos, hit - pos)).append(to);
        ++count;
    }
    result.append(v.substr(pos));
    m_shared.reset();
    m_str = std::move(result);
    return count;
}

bool StringBuffer::replaceFirstOccurance(std::string_view from, std::string_view to) {
    int pos = findSubstr(from);
    if (pos < 0 || from.empty())
        return false;
    own();
    m_str.replace(static_cast<size_t>(pos), from.size(), to);
    return true;
}

void StringBuffer::trim2() {
    std::string_view v = view();
    size_t a = 0, b = v.size();
    while (a < b && isXmlSpace(v[a]))
        ++a;
    while (b > a && isXmlSpace(v[b - 1]))
        --b;
    if (a == 0 && b == v.size())
        return;
    setString(v.substr(a, b - a));
}

void StringBuffer::toLowerCase() {
    own();
    for (char& c : m_str)
        c = lowerAscii(c);
}

void StringBuffer::toUpperCase() {
    own();
    for (char& c : m_str)
        if (c >= 'a' && c <= 'z')
            c = static_cast<char>(c - 32);
}

void StringBuffer::toLF() {
    if (!containsChar('\r'))
        return;
    own();
    size_t out = 0;
    for (size_t i = 0; i < m_str.size(); ++i) {
        if (m_str[i] == '\r') {
            m_str[out++] = '\n';
            if (i + 1 < m_str.size() && m_str[i + 1] == '\n')
                ++i;
        } else {
            m_str[out++] = m_str[i];
        }
    }
    m_str.resize(out);
}

void StringBuffer::toCRLF() {
    toLF();
    if (!containsChar('\n'))
        return;
    own();
    std::string out;
    out.reserve(m_str.size() + countCharOccurances('\n'));
    for (char c : m_str) {
        if (c == '\n')
            out += '\r';
        out += c;
    }
    m_str.swap(out);
}

void StringBuffer::takeFromDb(DataBuffer& db) {
    m_shared = db.takeShared();
    m_str = m_shared ? std::string() : db.takeString();
}

void StringBuffer::takeSb(StringBuffer& other) {
    if (this == &other)
        return;
    m_str = std::move(other.m_str);
    m_shared = std::move(other.m_shared);
    other.clear();
}

void StringBuffer::swap(StringBuffer& other) noexcept {
    m_str.swap(other.m_str);
    std::swap(m_shared, other.m_shared);
}

void StringBuffer::split(ExtPtrArraySb& parts, char delim, bool exceptDoubleQuoted, bool keepEmpty) const {
    std::string_view v = view();
    bool inQuotes = false;
    size_t start = 0;
    auto emit = [&](size_t end) {
        if (end > start || keepEmpty)
            parts.appendSb(v.substr(start, end - start));
    };
    for (size_t i = 0; i < v.size(); ++i) {
        if (exceptDoubleQuoted && v[i] == '"')
            inQuotes = !inQuotes;
        else if (v[i] == delim && !inQuotes) {
            emit(i);
            start = i + 1;
        }
    }
    emit(v.size());
}

void StringBuffer::tokenize(ExtPtrArraySb& parts, std::string_view delims) const {
    std::string_view v = view();
    size_t start = 0;
    for (size_t i = 0; i < v.size(); ++i) {
        if (delims.find(v[i]) == std::string_view::npos)
            continue;
        if (i > start)
            parts.appendSb(v.substr(start, i - start));
        parts.appendSb(v.substr(i, 1));
        start = i + 1;
    }
    if (start < v.size())
        parts.appendSb(v.substr(start));
}
