#pragma once

#include "companion/base/TavixCritSec.h"
#include "companion/log/LogBase.h"
#include "companion/text/StringBuffer.h"
#include "companion/text/XString.h"

#include <string>

// Base of every public object: its lock, its log and the settings that all
// public objects share.
class ClsBase {
public:
    ClsBase() = default;
    virtual ~ClsBase() = default;
    ClsBase(const ClsBase&) = delete;
    ClsBase& operator=(const ClsBase&) = delete;

    virtual void _toString(XString& out);
    virtual void injectStatus(int status);
    virtual void injectError(int error);
    virtual void put_UncommonOptions(const XString& options);
    virtual bool get_VerboseLogging();
    virtual void put_VerboseLogging(bool on);
    virtual void dotNetDispose();
    virtual void get_DebugLogFilePath(XString& out);
    virtual void put_DebugLogFilePath(const XString& path);

    void get_UncommonOptions(XString& out);
    // The log of the last public call, as indented text.
    void get_LastErrorText(XString& out);
    std::string lastErrorText() const { return m_log.renderText(); }
    std::string lastErrorJson() const { return m_log.renderJson(); }
    bool get_LastMethodSuccess() const { return m_lastMethodSuccess; }

    // Records the outcome of a public call as the last line of its context.
    void logSuccessFailure(bool success);

    TavixCritSec m_critSec;
    LogBase m_log;
    StringBuffer m_uncommonOptions;

protected:
    bool m_lastMethodSuccess = false;
    int m_lastStatus = 0;
    int m_lastError = 0;
};
