#include "companion/canon/CanonTarget.h"

namespace {

constexpr std::string_view kWholeDocument = "xpointer(/)";
constexpr std::string_view kXPointer = "xpointer(";
constexpr std::string_view kIdFunction = "xpointer(id(";
constexpr std::string_view kIdFunctionClose = "))";

// The quoted argument of xpointer(id('...')), either quote.
bool idFunctionArgument(std::string_view pointer, std::string_view& id) {
    if (!pointer.starts_with(kIdFunction) || !pointer.ends_with(kIdFunctionClose))
        return false;
    std::string_view quoted = pointer.substr(kIdFunction.size());
    quoted.remove_suffix(kIdFunctionClose.size());
    if (quoted.size() < 2 || (quoted.front() != '\'' && quoted.front() != '"') || quoted.back() != quoted.front())
        return false;
    id = quoted.substr(1, quoted.size() - 2);
    return true;
}

} // namespace

bool CanonTarget::fromUri(std::string_view uri, uint32_t startOffset, CanonTarget& target) {
    target = CanonTarget{};
    if (uri.empty()) {
        if (startOffset > 0) {
            target.kind = Kind::Offset;
            target.offset = startOffset;
        }
        return true;
    }
    if (uri.front() == '#')
        uri.remove_prefix(1);
    if (uri == kWholeDocument)
        return true;
    std::string_view id = uri;
    if (uri.starts_with(kXPointer) && !idFunctionArgument(uri, id))
        return false;
    target.kind = Kind::Id;
    target.id = id;
    return true;
}
