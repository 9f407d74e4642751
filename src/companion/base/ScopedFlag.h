#pragma once

// Sets a flag for the lifetime of the object and gives it back its value
// after: a further attempt that changes a setting leaves it as it found it.
class ScopedFlag {
public:
    ScopedFlag(bool& flag, bool value) : m_flag(flag), m_saved(flag) { m_flag = value; }
    ~ScopedFlag() { m_flag = m_saved; }
    ScopedFlag(const ScopedFlag&) = delete;
    ScopedFlag& operator=(const ScopedFlag&) = delete;

private:
    bool& m_flag;
    bool m_saved;
};
