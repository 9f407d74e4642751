#pragma once

#include "companion/base/ClsBinData.h"
#include "verifier/ClsXmlDSig.h"

#include <cstddef>
#include <cstdint>
#include <memory>

// A verifier with the fuzzer's bytes loaded as a caller's document, or null
// when they do not load.
inline std::unique_ptr<ClsXmlDSig> loadedVerifier(const uint8_t* data, size_t size) {
    std::unique_ptr<ClsXmlDSig> dsig(ClsXmlDSig::createNewCls());
    ClsBinData bd;
    bd.m_data.append(data, size);
    if (!dsig->LoadSignatureBd(bd))
        return nullptr;
    return dsig;
}
