#include "companion/xml/XmlError.h"

std::string XmlError::describe(std::string_view text) const {
    return "XML parse error at " + position(text) + ": " + reason;
}

std::string XmlError::position(std::string_view text) const {
    const size_t stop = std::min<size_t>(offset, text.size());
    size_t line = 1;
    size_t column = 1;
    for (size_t i = 0; i < stop; ++i) {
        const char c = text[i];
        if (c == '\n' || (c == '\r' && (i + 1 >= text.size() || text[i + 1] != '\n'))) {
            ++line;
            column = 1;
        } else if ((static_cast<unsigned char>(c) & 0xC0) != 0x80 && c != '\r') {
            ++column;
        }
    }
    return "line " + std::to_string(line) + ", column " + std::to_string(column);
}
