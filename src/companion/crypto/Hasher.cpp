#include "companion/crypto/Hasher.h"

#include "companion/crypto/EvpHashEngine.h"
#include "companion/crypto/HashAlgorithm.h"
#include "companion/crypto/HashIds.h"
#include "companion/crypto/Md2.h"
#include "companion/crypto/Ripemd128.h"
#include "companion/text/DataBuffer.h"

#include <string>

namespace {

std::unique_ptr<HashEngine> makeEngine(const HashAlgorithm& alg) {
    if (alg.id == hash_alg::kMd2)
        return std::make_unique<Md2>();
    if (alg.id == hash_alg::kRipemd128)
        return std::make_unique<Ripemd128>();
    auto engine = std::make_unique<EvpHashEngine>();
    if (!engine->init(alg.evpName))
        return nullptr;
    return engine;
}

} // namespace

bool Hasher::init(int hashAlg) {
    m_alg = findHashAlgorithm(hashAlg);
    m_engine = m_alg ? makeEngine(*m_alg) : nullptr;
    return m_engine != nullptr;
}

bool Hasher::update(const void* data, size_t len) {
    return m_engine && m_engine->update(static_cast<const unsigned char*>(data), len);
}

bool Hasher::final(DataBuffer& out) {
    out.clear();
    if (!m_engine)
        return false;
    std::string digest(m_alg->digestLen, '\0');
    const bool ok = m_engine->finish(reinterpret_cast<unsigned char*>(digest.data()));
    m_engine.reset();
    if (ok)
        out.takeString(std::move(digest));
    return ok;
}
