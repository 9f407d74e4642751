#pragma once

#include <cstdint>
#include <string>
#include <string_view>

// One '&...;' reference: a character reference, one of the five predefined
// entities, or a general entity declared in the DTD.
struct XmlReference {
    enum class Kind : uint8_t { Character, Predefined, Entity };
    Kind kind = Kind::Character;
    uint32_t codePoint = 0; // Character and Predefined
    std::string_view name;  // Entity
    const char* end = nullptr;

    // Parses the reference that starts at p (on '&'). A malformed reference,
    // or one to an illegal character, gives false and the reason.
    static bool parse(const char* p, const char* end, XmlReference& ref, std::string& reason);
    static bool predefined(std::string_view name, uint32_t& codePoint);
};
