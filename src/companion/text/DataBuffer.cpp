#include "companion/text/DataBuffer.h"

#include "companion/text/StringBuffer.h"
#include "companion/text/TextCodec.h"

#include <openssl/crypto.h>

void DataBuffer::own() {
    if (!m_shared)
        return;
    m_bytes.assign(m_shared.view());
    m_shared.reset();
}

void DataBuffer::dropFront(size_t n) {
    if (m_shared)
        m_shared.dropFront(n);
    else
        m_bytes.erase(0, n);
}

void DataBuffer::secureClear() {
    // Shared bytes are not this buffer's to wipe.
    m_shared.reset();
    // Wipe the whole allocation: earlier, longer content may linger past size().
    m_bytes.resize(m_bytes.capacity());
    OPENSSL_cleanse(m_bytes.data(), m_bytes.size());
    m_bytes.clear();
}

bool DataBuffer::append(const void* data, size_t n) {
    if (n == 0)
        return true;
    if (data == nullptr)
        return false;
    own();
    m_bytes.append(static_cast<const char*>(data), n);
    return true;
}

bool DataBuffer::appendChar(unsigned char c) {
    own();
    m_bytes.push_back(static_cast<char>(c));
    return true;
}

bool DataBuffer::appendEncoded(std::string_view encoded, std::string_view encoding) {
    own();
    return TextCodec::decodeByName(encoded, encoding, m_bytes);
}

bool DataBuffer::encodeDB(std::string_view encoding, StringBuffer& out) const {
    return TextCodec::encodeByName(view(), encoding, out.raw());
}
