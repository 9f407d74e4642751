#pragma once

#include "companion/base/ClsBase.h"
#include "companion/text/DataBuffer.h"

// A public byte container: the bytes a caller hands to a Bd method.
class ClsBinData : public ClsBase {
public:
    DataBuffer m_data;

    bool LoadFile(const XString& path);
    bool WriteFile(const XString& path);
    bool AppendEncoded(const XString& encoded, const XString& encoding) {
        return m_data.appendEncoded(encoded.view(), encoding.view());
    }
    void Clear() { m_data.clear(); }
    int get_NumBytes() const { return static_cast<int>(m_data.getSize()); }
};
