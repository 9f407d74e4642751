#include "DocumentText.h"

#include "xmldsig/Certificates.h"

#include <fstream>

namespace {

// A start tag's end, skipping '>' inside quoted attribute values; npos when
// the window ends first.
size_t startTagEnd(const std::string& text) {
    char quote = 0;
    for (size_t i = 1; i < text.size(); ++i) {
        const char c = text[i];
        if (quote != 0) {
            if (c == quote)
                quote = 0;
        } else if (c == '"' || c == '\'') {
            quote = c;
        } else if (c == '>') {
            return i;
        }
    }
    return std::string::npos;
}

bool startsStartTag(const std::string& text) {
    if (text.size() < 2 || text[0] != '<')
        return false;
    const char next = text[1];
    return next != '/' && next != '!' && next != '?' && next != '>' && next != ' ';
}

// Cut at `size` bytes without splitting a UTF-8 sequence.
std::string cutAt(const std::string& text, size_t size) {
    while (size > 0 && (static_cast<unsigned char>(text[size]) & 0xC0) == 0x80)
        --size;
    return text.substr(0, size) + "...";
}

} // namespace

DocumentText DocumentText::ofFile(std::filesystem::path path) {
    DocumentText text;
    text.m_path = std::move(path);
    return text;
}

DocumentText DocumentText::ofBytes(std::string bytes) {
    DocumentText text;
    text.m_bytes = std::move(bytes);
    text.m_inMemory = true;
    return text;
}

std::string DocumentText::window(std::uint32_t offset, size_t size) const {
    if (m_inMemory)
        return offset < m_bytes.size() ? m_bytes.substr(offset, size) : std::string();
    std::ifstream in(m_path, std::ios::binary);
    if (!in.seekg(offset))
        return {};
    std::string bytes(size, '\0');
    in.read(bytes.data(), static_cast<std::streamsize>(size));
    bytes.resize(static_cast<size_t>(in.gcount()));
    return bytes;
}

std::string DocumentText::elementStartAt(std::uint32_t offset) const {
    const std::string text = window(offset, kMaxExcerptBytes + 1);
    if (!startsStartTag(text))
        return {};
    const size_t end = startTagEnd(text);
    if (end != std::string::npos && end < kMaxExcerptBytes)
        return text.substr(0, end + 1);
    return text.size() > kMaxExcerptBytes ? cutAt(text, kMaxExcerptBytes) : text + "...";
}

std::vector<xmldsig::Certificate> DocumentText::keyInfoCertificates(int index) const {
    std::vector<xmldsig::Certificate> certificates;
    const xmldsig::Status status = m_inMemory ? xmldsig::keyInfoCertificates(m_bytes, index, certificates)
                                              : xmldsig::keyInfoCertificatesOfFile(m_path, index, certificates);
    if (!status)
        certificates.clear();
    return certificates;
}
