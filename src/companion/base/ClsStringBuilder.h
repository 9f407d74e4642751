#pragma once

#include "companion/base/ClsBase.h"
#include "companion/text/StringBuffer.h"

// A public string builder: the text a caller hands to a Sb method.
class ClsStringBuilder : public ClsBase {
public:
    StringBuffer m_str;

    void Append(const XString& s) { m_str.append(s.view()); }
    void GetAsString(XString& out) const { out.setFromSbUtf8(m_str); }
    void Clear() { m_str.clear(); }
    int get_Length() const { return static_cast<int>(m_str.getSize()); }
};
