#pragma once

#include "companion/base/ClsBase.h"
#include "companion/text/ExtPtrArray.h"

#include <string_view>

// A public list of strings (the certificates of GetCerts, for one).
class ClsStringArray : public ClsBase {
public:
    void appendUtf8(std::string_view s) { m_items.appendSb(s); }
    int get_Count() const { return m_items.getSize(); }
    bool GetString(int index, XString& out) const;
    void Clear() { m_items.removeAllObjects(); }

private:
    ExtPtrArraySb m_items;
};
