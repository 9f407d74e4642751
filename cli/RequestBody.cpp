#include "RequestBody.h"

bool RequestBody::take(const char* data, size_t size) {
    if (std::chrono::steady_clock::now() > m_deadline) {
        m_failure = Failure::TimedOut;
        return false;
    }
    m_held += size;
    if (m_held > m_maxBytes) {
        m_failure = Failure::TooLarge;
        return false;
    }
    m_parts.back().content.append(data, size);
    return true;
}

bool RequestBody::read(const httplib::Request& request, const httplib::ContentReader& reader) {
    auto receive = [this](const char* data, size_t size) { return take(data, size); };
    bool complete = false;
    if (request.is_multipart_form_data()) {
        complete = reader(
            [this](const httplib::MultipartFormData& part) {
                m_parts.push_back({part.name, part.filename, {}});
                return true;
            },
            receive);
    } else {
        m_parts.push_back({"document", {}, {}});
        complete = reader(receive);
    }
    if (!complete && m_failure == Failure::None)
        m_failure = std::chrono::steady_clock::now() > m_deadline ? Failure::TimedOut : Failure::Broken;
    return complete;
}
