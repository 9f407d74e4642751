#pragma once

#include <cstddef>
#include <string>
#include <string_view>

// The canonical text as a pass writes it. Most of it is bytes of the input
// as they stand (tag names, end tags, plain text); such pieces that follow
// one another in memory are held back and written as one copy, so that an
// end tag, the blanks after it and the next "<name" cost one append.
//
// A piece copied must stay where it is until it is written: the input is
// not changed during a pass.
class CanonOutput {
public:
    explicit CanonOutput(std::string& out) : m_out(out) {}
    CanonOutput(const CanonOutput&) = delete;
    CanonOutput& operator=(const CanonOutput&) = delete;

    // Bytes of the input, written as they are.
    void copy(std::string_view piece) {
        if (piece.data() != m_runEnd) {
            flush();
            m_runBegin = piece.data();
        }
        m_runEnd = piece.data() + piece.size();
    }
    void append(std::string_view text) { flushed().append(text); }
    void push_back(char c) { flushed().push_back(c); }

    // The text written so far, for writers of other bytes.
    std::string& flushed() {
        flush();
        return m_out;
    }
    size_t size() const { return m_out.size() + static_cast<size_t>(m_runEnd - m_runBegin); }

private:
    // The test inline, as most writes find nothing held back.
    void flush() {
        if (m_runEnd != m_runBegin)
            writeRun();
    }
    void writeRun() {
        m_out.append(m_runBegin, static_cast<size_t>(m_runEnd - m_runBegin));
        m_runBegin = m_runEnd;
    }

    std::string& m_out;
    // The pieces held back.
    const char* m_runBegin = nullptr;
    const char* m_runEnd = nullptr;
};
