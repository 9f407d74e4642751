#include "companion/crypto/ThreadVerifyContext.h"

#include "companion/crypto/OpensslPtr.h"

#include <openssl/rsa.h>

#include <array>

namespace {

PkeyCtxPtr setUp(EVP_PKEY* pkey, VerifyOperation operation) {
    PkeyCtxPtr ctx(EVP_PKEY_CTX_new_from_pkey(nullptr, pkey, nullptr));
    if (!ctx)
        return nullptr;
    const bool ready = operation == VerifyOperation::Verify
                           ? EVP_PKEY_verify_init(ctx.get()) == 1
                           : EVP_PKEY_verify_recover_init(ctx.get()) == 1 &&
                                 EVP_PKEY_CTX_set_rsa_padding(ctx.get(), RSA_PKCS1_PADDING) == 1;
    return ready ? std::move(ctx) : nullptr;
}

// The context holds a reference to its key, so while it is kept no other key
// can take that address.
struct KeptContext {
    const EVP_PKEY* pkey = nullptr;
    PkeyCtxPtr ctx;
};

thread_local std::array<KeptContext, 2> t_kept;

} // namespace

EVP_PKEY_CTX* threadVerifyContext(EVP_PKEY* pkey, VerifyOperation operation) {
    KeptContext& kept = t_kept[static_cast<size_t>(operation)];
    if (!kept.ctx || kept.pkey != pkey) {
        kept.ctx = setUp(pkey, operation);
        kept.pkey = kept.ctx ? pkey : nullptr;
    }
    return kept.ctx.get();
}
