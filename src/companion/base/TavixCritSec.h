#pragma once

#include <mutex>

// The lock of one object. Recursive, so that a public method may call
// another public method of the same object.
class TavixCritSec {
public:
    void enterCriticalSection() { m_mutex.lock(); }
    void leaveCriticalSection() { m_mutex.unlock(); }

private:
    std::recursive_mutex m_mutex;
};

// Holds a TavixCritSec for a scope.
class CritSecExitor {
public:
    explicit CritSecExitor(TavixCritSec& cs) : m_cs(cs) { m_cs.enterCriticalSection(); }
    ~CritSecExitor() { m_cs.leaveCriticalSection(); }
    CritSecExitor(const CritSecExitor&) = delete;
    CritSecExitor& operator=(const CritSecExitor&) = delete;

private:
    TavixCritSec& m_cs;
};
