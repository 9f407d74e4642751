#include "companion/text/IconvConverter.h"

#include <cerrno>

namespace {

// Room for the output of one pass; grown when iconv reports E2BIG.
size_t initialOutputRoom(size_t inputSize) {
    return inputSize * 2 + 16;
}

} // namespace

IconvConverter::IconvConverter(const std::string& toCharset, const std::string& fromCharset)
    : m_cd(iconv_open(toCharset.c_str(), fromCharset.c_str())) {
}

IconvConverter::~IconvConverter() {
    if (isOpen())
        iconv_close(m_cd);
}

bool IconvConverter::convert(std::string_view in, std::string& out, size_t* rejectedAt) {
    if (!isOpen()) {
        if (rejectedAt)
            *rejectedAt = 0;
        return false;
    }
    iconv(m_cd, nullptr, nullptr, nullptr, nullptr);

    const size_t start = out.size();
    size_t used = start;
    out.resize(start + initialOutputRoom(in.size()));
    char* inPtr = const_cast<char*>(in.data()); // iconv's signature; the input is not written
    size_t inLeft = in.size();
    bool flushing = false;
    for (;;) {
        char* outPtr = out.data() + used;
        size_t outLeft = out.size() - used;
        // A final call with no input flushes the shift state of stateful charsets.
        const size_t rc = flushing ? iconv(m_cd, nullptr, nullptr, &outPtr, &outLeft)
                                   : iconv(m_cd, &inPtr, &inLeft, &outPtr, &outLeft);
        used = static_cast<size_t>(outPtr - out.data());
        if (rc != static_cast<size_t>(-1)) {
            if (flushing)
                break;
            flushing = true;
            continue;
        }
        if (errno != E2BIG) {
            if (rejectedAt)
                *rejectedAt = static_cast<size_t>(inPtr - in.data());
            out.resize(start);
            return false;
        }
        out.resize(out.size() * 2);
    }
    out.resize(used);
    return true;
}
