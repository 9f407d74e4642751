#include "companion/base/ClsBase.h"

namespace {
constexpr std::string_view kSuccess = "Success.";
constexpr std::string_view kFailed = "Failed.";
} // namespace

// An object without a text form of its own renders as empty.
void ClsBase::_toString(XString& out) {
    out.clear();
}

void ClsBase::injectStatus(int status) {
    m_lastStatus = status;
}

void ClsBase::injectError(int error) {
    m_lastError = error;
}

void ClsBase::put_UncommonOptions(const XString& options) {
    CritSecExitor lock(m_critSec);
    m_uncommonOptions.setString(options.view());
}

void ClsBase::get_UncommonOptions(XString& out) {
    CritSecExitor lock(m_critSec);
    out.setFromSbUtf8(m_uncommonOptions);
}

bool ClsBase::get_VerboseLogging() {
    return m_log.verbose();
}

void ClsBase::put_VerboseLogging(bool on) {
    m_log.setVerbose(on);
}

// The log is the one thing every object holds that can be large; a host
// that disposes of the object early gets it back at once.
void ClsBase::dotNetDispose() {
    CritSecExitor lock(m_critSec);
    m_log.clear();
}

void ClsBase::get_DebugLogFilePath(XString& out) {
    CritSecExitor lock(m_critSec);
    out.setFromUtf8(m_log.debugLogFilePath());
}

void ClsBase::put_DebugLogFilePath(const XString& path) {
    CritSecExitor lock(m_critSec);
    m_log.setDebugLogFilePath(path.view());
}

void ClsBase::get_LastErrorText(XString& out) {
    CritSecExitor lock(m_critSec);
    out.setFromUtf8(m_log.renderText());
}

void ClsBase::logSuccessFailure(bool success) {
    m_log.LogInfo(success ? kSuccess : kFailed);
    m_lastMethodSuccess = success;
}
