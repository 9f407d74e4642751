#pragma once

#include <cstdint>
#include <string>
#include <string_view>

// What one canonicalization emits: the whole document, or one element as a
// subtree in its document context, named by an id, by the offset of its
// start tag, or by its ordinal among the elements marked authenticate="true".
struct CanonTarget {
    enum class Kind : uint8_t { Document, Id, Offset, Authenticated };
    Kind kind = Kind::Document;
    std::string id;
    uint32_t offset = 0;

    // Reads a fragment URI: empty or "#xpointer(/)" for the document, "#id",
    // a bare "id" or "#xpointer(id('id'))"; an empty URI with a start offset
    // names the element there. False for an XPointer of any other form.
    static bool fromUri(std::string_view uri, uint32_t startOffset, CanonTarget& target);

    bool isDocument() const { return kind == Kind::Document; }
};
