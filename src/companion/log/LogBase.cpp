#include "companion/log/LogBase.h"

#include "companion/text/StringBuffer.h"
#include "companion/text/XString.h"

#include <nlohmann/json.hpp>

#include <fstream>
#include <initializer_list>

namespace {

constexpr int kIndentWidth = 2;
// The most a line's fixed parts add: "ERROR: ", or ": [" and "]", and the newline.
constexpr size_t kMostFixedBytesPerLine = 8;

// One line of the text form, its parts written one after another.
void appendIndented(std::string& out, int depth, std::initializer_list<std::string_view> parts) {
    out.append(static_cast<size_t>(depth) * kIndentWidth, ' ');
    for (std::string_view part : parts)
        out.append(part);
    out.push_back('\n');
}

} // namespace

// An entry of an earlier tree is written over, so that its strings' memory
// serves again: a verifier logs about as much for every document.
void LogBase::add(Kind kind, std::string_view tag, std::string_view value) {
    if (m_used == m_entries.size())
        m_entries.emplace_back();
    Entry& e = m_entries[m_used++];
    e.kind = kind;
    e.depth = static_cast<uint16_t>(m_depth);
    e.tag.assign(tag);
    e.value.assign(value);
}

void LogBase::enterContext(std::string_view name) {
    if (m_depth == 0)
        m_used = 0;
    add(Kind::Context, name, {});
    ++m_depth;
}

void LogBase::leaveContext() {
    if (m_depth == 0)
        return;
    --m_depth;
    if (m_depth == 0 && !m_debugLogFilePath.empty()) {
        std::ofstream file(m_debugLogFilePath, std::ios::app);
        file << renderText();
    }
}

void LogBase::LogError(std::string_view message) {
    add(Kind::Error, {}, message);
}
void LogBase::LogInfo(std::string_view message) {
    add(Kind::Info, {}, message);
}
void LogBase::LogDataStr(std::string_view tag, std::string_view value) {
    add(Kind::Data, tag, value);
}
void LogBase::LogBracketed(std::string_view tag, std::string_view text) {
    add(Kind::Bracketed, tag, text);
}
void LogBase::LogDataSb(std::string_view tag, const StringBuffer& value) {
    LogDataStr(tag, value.view());
}
void LogBase::LogDataX(std::string_view tag, const XString& value) {
    LogDataStr(tag, value.view());
}
void LogBase::LogDataLong(std::string_view tag, long long value) {
    LogDataStr(tag, std::to_string(value));
}
void LogBase::LogDataBool(std::string_view tag, bool value) {
    LogDataStr(tag, value ? "true" : "false");
}

bool LogBase::hasErrors() const {
    for (const Entry& e : entries())
        if (e.kind == Kind::Error)
            return true;
    return false;
}

std::string LogBase::firstError() const {
    for (const Entry& e : entries())
        if (e.kind == Kind::Error)
            return e.value;
    return {};
}

void LogBase::clear() {
    m_used = 0;
    m_depth = 0;
}

std::string LogBase::renderText() const {
    // Sized once: a verifier renders its log for every document.
    size_t size = 0;
    for (const Entry& e : entries())
        size += static_cast<size_t>(e.depth) * kIndentWidth + e.tag.size() + e.value.size() + kMostFixedBytesPerLine;
    std::string out;
    out.reserve(size);
    for (const Entry& e : entries()) {
        switch (e.kind) {
        case Kind::Context:
            appendIndented(out, e.depth, {e.tag, ":"});
            break;
        case Kind::Error:
            appendIndented(out, e.depth, {"ERROR: ", e.value});
            break;
        case Kind::Info:
            appendIndented(out, e.depth, {e.value});
            break;
        case Kind::Data:
            appendIndented(out, e.depth, {e.tag, ": ", e.value});
            break;
        case Kind::Bracketed:
            appendIndented(out, e.depth, {e.tag, ": [", e.value, "]"});
            break;
        }
    }
    return out;
}

namespace {

// Builds the JSON form of the entries [pos, end) at one depth; a context's
// children are the entries that follow it at a greater depth.
nlohmann::json toJson(std::span<const LogBase::Entry> entries, size_t& pos, uint16_t depth) {
    using Kind = LogBase::Kind;
    nlohmann::json items = nlohmann::json::array();
    while (pos < entries.size() && entries[pos].depth >= depth) {
        const LogBase::Entry& e = entries[pos++];
        switch (e.kind) {
        case Kind::Context:
            items.push_back({{"context", e.tag}, {"entries", toJson(entries, pos, depth + 1)}});
            break;
        case Kind::Error:
            items.push_back({{"error", e.value}});
            break;
        case Kind::Info:
            items.push_back({{"info", e.value}});
            break;
        case Kind::Data:
            items.push_back({{"tag", e.tag}, {"value", e.value}});
            break;
        case Kind::Bracketed:
            items.push_back({{"tag", e.tag}, {"bracketed", e.value}});
            break;
        }
    }
    return items;
}

} // namespace

std::string LogBase::renderJson() const {
    size_t pos = 0;
    return toJson(entries(), pos, 0).dump(2, ' ', false, nlohmann::json::error_handler_t::replace);
}
