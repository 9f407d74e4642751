#pragma once

#include "companion/log/LogBase.h"

#include <string>

// Passes every line on to another log and keeps the first error line, for an
// operation whose failure is reported as a value to its caller.
class FirstErrorLog : public LogBase {
public:
    explicit FirstErrorLog(LogBase& target) : m_target(target) { setVerbose(target.verbose()); }

    const std::string& firstErrorLine() const { return m_firstError; }

    void enterContext(std::string_view name) override { m_target.enterContext(name); }
    void leaveContext() override { m_target.leaveContext(); }
    void LogError(std::string_view message) override {
        if (m_firstError.empty())
            m_firstError = message;
        m_target.LogError(message);
    }
    void LogInfo(std::string_view message) override { m_target.LogInfo(message); }
    void LogDataStr(std::string_view tag, std::string_view value) override { m_target.LogDataStr(tag, value); }
    void LogBracketed(std::string_view tag, std::string_view text) override { m_target.LogBracketed(tag, text); }

private:
    LogBase& m_target;
    std::string m_firstError;
};
