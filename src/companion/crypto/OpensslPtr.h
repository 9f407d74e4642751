#pragma once

#include <openssl/bio.h>
#include <openssl/bn.h>
#include <openssl/core.h>
#include <openssl/ec.h>
#include <openssl/evp.h>
#include <openssl/param_build.h>
#include <openssl/pem.h>
#include <openssl/provider.h>
#include <openssl/x509.h>
#include <openssl/x509_vfy.h>

#include <memory>

// Owning handles for OpenSSL objects: each frees its object with the
// library's own free function.
template <auto FreeFn> struct OpensslDeleter {
    template <class T> void operator()(T* p) const { FreeFn(p); }
};

using PkeyPtr = std::unique_ptr<EVP_PKEY, OpensslDeleter<EVP_PKEY_free>>;
using PkeyCtxPtr = std::unique_ptr<EVP_PKEY_CTX, OpensslDeleter<EVP_PKEY_CTX_free>>;
using MdPtr = std::unique_ptr<EVP_MD, OpensslDeleter<EVP_MD_free>>;
using MdCtxPtr = std::unique_ptr<EVP_MD_CTX, OpensslDeleter<EVP_MD_CTX_free>>;
using MacPtr = std::unique_ptr<EVP_MAC, OpensslDeleter<EVP_MAC_free>>;
using MacCtxPtr = std::unique_ptr<EVP_MAC_CTX, OpensslDeleter<EVP_MAC_CTX_free>>;
using BnPtr = std::unique_ptr<BIGNUM, OpensslDeleter<BN_free>>;
using BnCtxPtr = std::unique_ptr<BN_CTX, OpensslDeleter<BN_CTX_free>>;
using BioPtr = std::unique_ptr<BIO, OpensslDeleter<BIO_free>>;
using X509Ptr = std::unique_ptr<X509, OpensslDeleter<X509_free>>;
using X509StorePtr = std::unique_ptr<X509_STORE, OpensslDeleter<X509_STORE_free>>;
using X509StoreCtxPtr = std::unique_ptr<X509_STORE_CTX, OpensslDeleter<X509_STORE_CTX_free>>;
using X509CrlPtr = std::unique_ptr<X509_CRL, OpensslDeleter<X509_CRL_free>>;
using X509SigPtr = std::unique_ptr<X509_SIG, OpensslDeleter<X509_SIG_free>>;
using EcGroupPtr = std::unique_ptr<EC_GROUP, OpensslDeleter<EC_GROUP_free>>;
using EcdsaSigPtr = std::unique_ptr<ECDSA_SIG, OpensslDeleter<ECDSA_SIG_free>>;
using ParamBldPtr = std::unique_ptr<OSSL_PARAM_BLD, OpensslDeleter<OSSL_PARAM_BLD_free>>;
using ParamPtr = std::unique_ptr<OSSL_PARAM, OpensslDeleter<OSSL_PARAM_free>>;
using LibCtxPtr = std::unique_ptr<OSSL_LIB_CTX, OpensslDeleter<OSSL_LIB_CTX_free>>;
using ProviderPtr = std::unique_ptr<OSSL_PROVIDER, OpensslDeleter<OSSL_PROVIDER_unload>>;
