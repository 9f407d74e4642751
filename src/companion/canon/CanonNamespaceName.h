#pragma once

#include <cstdint>
#include <string>
#include <string_view>

class XmlDocument;

namespace canon_namespace_name {

// A namespace name without a scheme ("foo", "../x", "#f", "//host/p"),
// which canonical XML refuses: its meaning would depend on where the
// document stands. The empty name (no namespace) is not relative. Names that
// have a scheme but are no valid URI pass: field signers write them.
bool isRelative(std::string_view name);

// The error line for a relative name declared at the offset.
std::string refusal(std::string_view name, uint32_t offset, std::string_view document);

// The error line for the first relative name that the document declares,
// or empty when it declares none.
std::string firstRefusal(const XmlDocument& doc);

} // namespace canon_namespace_name
