#pragma once

#include "companion/log/LogBase.h"

class ClsBase;

// Opens a log context for the scope of one operation.
class LogContextExitor {
public:
    LogContextExitor(LogBase& log, std::string_view name) : m_log(log) { m_log.enterContext(name); }
    LogContextExitor(ClsBase& obj, std::string_view name);
    ~LogContextExitor() { m_log.leaveContext(); }
    LogContextExitor(const LogContextExitor&) = delete;
    LogContextExitor& operator=(const LogContextExitor&) = delete;

private:
    LogBase& m_log;
};
