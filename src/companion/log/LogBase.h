#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

class StringBuffer;
class XString;

// The log of one object: a tree of contexts (one per operation) holding
// error lines, information lines, data lines (tag and value) and bracketed
// blocks. Entering a context at depth 0 starts a new tree, so the log always
// shows the last public call. Lines flagged verbose by the callers are
// written only when the verbose switch is on (callers test verbose()).
class LogBase {
public:
    enum class Kind : uint8_t { Context, Error, Info, Data, Bracketed };
    struct Entry {
        Kind kind;
        uint16_t depth;
        std::string tag;   // context name, data tag or bracket tag
        std::string value; // message, data value or bracketed text
    };

    LogBase() = default;
    virtual ~LogBase() = default;
    LogBase(const LogBase&) = delete;
    LogBase& operator=(const LogBase&) = delete;

    bool verbose() const { return m_verbose; }
    void setVerbose(bool on) { m_verbose = on; }

    virtual void enterContext(std::string_view name);
    virtual void leaveContext();
    virtual void LogError(std::string_view message);
    virtual void LogInfo(std::string_view message);
    virtual void LogDataStr(std::string_view tag, std::string_view value);
    virtual void LogBracketed(std::string_view tag, std::string_view text);
    void LogDataSb(std::string_view tag, const StringBuffer& value);
    void LogDataX(std::string_view tag, const XString& value);
    void LogDataLong(std::string_view tag, long long value);
    void LogDataBool(std::string_view tag, bool value);

    // The JSON data that some operations leave for the caller; cleared at the
    // start of every public call.
    void clearLastJsonData() { m_lastJsonData.clear(); }
    std::string& lastJsonData() { return m_lastJsonData; }

    bool hasErrors() const;
    // The first error line of the current tree, or empty.
    std::string firstError() const;
    std::span<const Entry> entries() const { return {m_entries.data(), m_used}; }
    int contextDepth() const { return m_depth; }
    void clear();

    // Indented text, one line per entry; contexts as "name:" blocks.
    std::string renderText() const;
    // The same tree as a JSON document.
    std::string renderJson() const;

    // When set, every finished top-level tree is appended to this file.
    void setDebugLogFilePath(std::string_view path) { m_debugLogFilePath = path; }
    const std::string& debugLogFilePath() const { return m_debugLogFilePath; }

private:
    void add(Kind kind, std::string_view tag, std::string_view value);

    std::vector<Entry> m_entries; // the first m_used are the current tree's
    size_t m_used = 0;
    std::string m_lastJsonData;
    std::string m_debugLogFilePath;
    int m_depth = 0;
    bool m_verbose = false;
};

// A log that records nothing.
class LogNull : public LogBase {
public:
    void enterContext(std::string_view) override {}
    void leaveContext() override {}
    void LogError(std::string_view) override {}
    void LogInfo(std::string_view) override {}
    void LogDataStr(std::string_view, std::string_view) override {}
    void LogBracketed(std::string_view, std::string_view) override {}
};
