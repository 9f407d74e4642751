#pragma once

// Comments and processing instructions, which look the same inside the
// internal DTD subset and in the document.
#include <string_view>

namespace xml_markup {

inline constexpr std::string_view kCommentOpen = "<!--";
inline constexpr std::string_view kCommentClose = "-->";
inline constexpr std::string_view kPiOpen = "<?";
inline constexpr std::string_view kCDataOpen = "<![CDATA[";
inline constexpr std::string_view kCDataClose = "]]>";
inline constexpr std::string_view kDoctypeOpen = "<!DOCTYPE";

struct Fault {
    const char* at = nullptr;
    const char* reason = nullptr;
};

// p is just after "<!--". Returns the end of the comment (after "-->"), or
// null with the fault.
const char* commentEnd(const char* p, const char* end, Fault& fault);

struct ProcessingInstruction {
    const char* target = nullptr;
    const char* targetEnd = nullptr;
    const char* data = nullptr;
    const char* dataEnd = nullptr;
};
// p is just after "<?". Returns the end of the instruction (after "?>"), or
// null with the fault. The target "xml" is refused: an XML declaration is
// only allowed at the very start, where the scanner reads it itself.
const char* processingInstructionEnd(const char* p, const char* end, ProcessingInstruction& pi, Fault& fault);

} // namespace xml_markup
