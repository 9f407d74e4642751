#pragma once

#include <httplib.h>

#include <chrono>
#include <string>
#include <vector>

// One part of a request body: a raw body is one part named "document".
struct BodyPart {
    std::string name;
    std::string filename;
    std::string content;
};

// Reads a request's body, raw or multipart/form-data, holding at most
// `maxBytes` of it and giving up at `deadline`: a client that sends too much
// or too slowly costs a bounded amount of memory and time.
class RequestBody {
public:
    enum class Failure { None, TooLarge, TimedOut, Broken };

    RequestBody(size_t maxBytes, std::chrono::steady_clock::time_point deadline)
        : m_maxBytes(maxBytes), m_deadline(deadline) {}

    bool read(const httplib::Request& request, const httplib::ContentReader& reader);
    Failure failure() const { return m_failure; }
    std::vector<BodyPart> takeParts() { return std::move(m_parts); }

private:
    bool take(const char* data, size_t size);

    size_t m_maxBytes;
    std::chrono::steady_clock::time_point m_deadline;
    size_t m_held = 0;
    Failure m_failure = Failure::None;
    std::vector<BodyPart> m_parts;
};
