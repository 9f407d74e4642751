#pragma once

#include "companion/xml/XmlDtd.h"

#include <optional>
#include <string_view>

// The DTD/entity context of one raw-text signature operation. A caller
// passes a fresh one; the operation binds it to the text it scans, and the
// entity declarations and attribute defaults of that text's internal subset
// are gathered into it. They stay readable as long as the text lives.
class _tvXmlDtd {
public:
    _tvXmlDtd() = default;
    _tvXmlDtd(const _tvXmlDtd&) = delete;
    _tvXmlDtd& operator=(const _tvXmlDtd&) = delete;

    // Starts over for a new text; what an earlier text declared is dropped.
    XmlDtd& bind(std::string_view document) { return m_dtd.emplace(document); }
    // The context of the last text scanned, or null before the first.
    const XmlDtd* dtd() const { return m_dtd ? &*m_dtd : nullptr; }

private:
    std::optional<XmlDtd> m_dtd;
};
