#include "companion/base/ClsStringArray.h"

bool ClsStringArray::GetString(int index, XString& out) const {
    const StringBuffer* sb = m_items.sbAt(index);
    if (sb == nullptr) {
        out.clear();
        return false;
    }
    out.setFromSbUtf8(*sb);
    return true;
}
