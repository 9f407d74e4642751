#pragma once

#include <cstdint>
#include <string>
#include <string_view>

// Why a document is not well-formed, and where (a byte offset of the document).
struct XmlError {
    uint32_t offset = 0;
    std::string reason;

    bool isSet() const { return !reason.empty(); }
    void set(uint32_t at, std::string why) {
        if (reason.empty()) {
            offset = at;
            reason = std::move(why);
        }
    }
    // "XML parse error at line L, column C: reason".
    std::string describe(std::string_view text) const;
    // "line L, column C" of the offset (1-based; columns count characters).
    std::string position(std::string_view text) const;
};
