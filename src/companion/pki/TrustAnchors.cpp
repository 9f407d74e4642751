#include "companion/pki/TrustAnchors.h"

#include "companion/fs/FileSys.h"
#include "companion/log/LogBase.h"
#include "companion/pki/CertFileReader.h"
#include "companion/pki/CertificateSummary.h"
#include "companion/pki/CrlParsing.h"
#include "companion/pki/PkiHandles.h"

#include <openssl/err.h>
#include <openssl/x509v3.h>

#include <algorithm>
#include <filesystem>
#include <vector>

namespace {

constexpr std::string_view kNoCertificate = ": no certificate could be read";
constexpr std::string_view kNoCrl = ": no CRL could be read";
constexpr std::string_view kCarriedCrlReason = "certificate revoked by a CRL the signature carries: ";
constexpr std::string_view kKeyUsageReason =
    "the signer certificate's key usage allows neither digitalSignature nor nonRepudiation";
constexpr uint32_t kSigningKeyUsages = KU_DIGITAL_SIGNATURE | KU_NON_REPUDIATION;

// The regular files of a directory in name order, or the path itself.
std::vector<std::filesystem::path> filesOf(const std::filesystem::path& path) {
    std::error_code ec;
    if (!std::filesystem::is_directory(path, ec))
        return {path};
    std::vector<std::filesystem::path> files;
    // Increments that report errors instead of throwing them.
    for (std::filesystem::directory_iterator it(path, ec), end; !ec && it != end; it.increment(ec)) {
        if (it->is_regular_file(ec))
            files.push_back(it->path());
    }
    std::sort(files.begin(), files.end());
    return files;
}

X509StackPtr stackOf(std::span<X509* const> certs) {
    X509StackPtr stack(sk_X509_new_null());
    for (X509* cert : certs) {
        if (stack && cert)
            sk_X509_push(stack.get(), cert);
    }
    return stack;
}

// False, with the error for `path`, when the file gave nothing.
bool anyAdded(size_t added, const std::string& path, std::string_view nothingRead, std::string& error) {
    ERR_clear_error();
    if (added > 0)
        return true;
    error = path + std::string(nothingRead);
    return false;
}

ChainOutcome untrusted(int error) {
    return {false, X509_verify_cert_error_string(error), {}, {}, error};
}

// `crl`, signed by `issuer`, lists `cert` as revoked at or before `at`.
bool revokes(X509_CRL* crl, X509* cert, X509* issuer, std::time_t at) {
    X509_REVOKED* entry = nullptr;
    const bool listed = X509_NAME_cmp(X509_CRL_get_issuer(crl), X509_get_subject_name(issuer)) == 0 &&
                        X509_CRL_verify(crl, X509_get0_pubkey(issuer)) == 1 &&
                        X509_CRL_get0_by_cert(crl, &entry, cert) == 1;
    ERR_clear_error();
    return listed && X509_cmp_time(X509_REVOKED_get0_revocationDate(entry), &at) < 0;
}

// The first link of `chain` that one of `crls` revokes, or null.
X509* revokedByCarriedCrl(const std::vector<X509Ptr>& chain, std::span<X509_CRL* const> crls, std::time_t at) {
    for (size_t i = 0; i + 1 < chain.size(); ++i)
        for (X509_CRL* crl : crls)
            if (revokes(crl, chain[i].get(), chain[i + 1].get(), at))
                return chain[i].get();
    return nullptr;
}

} // namespace

TrustAnchors::TrustAnchors() : m_store(X509_STORE_new()) {
}

bool TrustAnchors::addAnchors(const std::string& path, std::string& error) {
    size_t added = 0;
    for (const std::filesystem::path& file : filesOf(path)) {
        std::vector<X509Certificate> certs;
        LogNull quiet;
        if (!CertFileReader::readFile(file, certs, quiet))
            continue;
        for (const X509Certificate& cert : certs) {
            if (m_store && X509_STORE_add_cert(m_store.get(), cert.x509()) == 1)
                ++added;
        }
    }
    m_anchorCount += added;
    return anyAdded(added, path, kNoCertificate, error);
}

bool TrustAnchors::addCrls(const std::string& path, std::string& error) {
    std::string bytes;
    size_t added = 0;
    if (FileSys::readWholeFile(path, bytes)) {
        for (X509CrlPtr& crl : parseCrls(bytes)) {
            if (m_store && X509_STORE_add_crl(m_store.get(), crl.get()) == 1) {
                m_crls.push_back(std::move(crl));
                ++added;
            }
        }
    }
    return anyAdded(added, path, kNoCrl, error);
}

ChainOutcome TrustAnchors::check(X509* signer, std::span<X509* const> untrustedPool, std::time_t at,
                                 std::span<X509_CRL* const> carriedCrls) const {
    ChainOutcome outcome = build(signer, untrustedPool, at, !m_crls.empty() ? X509_V_FLAG_CRL_CHECK : 0);
    if (X509* revoked = outcome.trusted ? revokedByCarriedCrl(outcome.chain, carriedCrls, at) : nullptr) {
        outcome.trusted = false;
        outcome.error = X509_V_ERR_CERT_REVOKED;
        outcome.reason = std::string(kCarriedCrlReason) + summarizeCertificate(revoked).subject;
        outcome.anchorSubject.clear();
    } else if (outcome.trusted && !allowsSigning(signer)) {
        outcome.trusted = false;
        outcome.reason = kKeyUsageReason;
        outcome.anchorSubject.clear();
    }
    return outcome;
}

bool ChainOutcome::outsideValidity() const {
    return error == X509_V_ERR_CERT_HAS_EXPIRED || error == X509_V_ERR_CERT_NOT_YET_VALID;
}

bool TrustAnchors::allowsSigning(X509* cert) {
    return (X509_get_extension_flags(cert) & EXFLAG_KUSAGE) == 0 || (X509_get_key_usage(cert) & kSigningKeyUsages) != 0;
}

ChainOutcome TrustAnchors::chainOf(X509* cert, std::span<X509* const> untrustedPool, std::time_t at) const {
    return build(cert, untrustedPool, at, 0);
}

ChainOutcome TrustAnchors::build(X509* cert, std::span<X509* const> untrustedPool, std::time_t at,
                                 unsigned long flags) const {
    const X509StoreCtxPtr ctx(X509_STORE_CTX_new());
    const X509StackPtr pool = stackOf(untrustedPool);
    if (!cert || !ctx || !pool || X509_STORE_CTX_init(ctx.get(), m_store.get(), cert, pool.get()) != 1) {
        ERR_clear_error();
        return untrusted(X509_V_ERR_UNSPECIFIED);
    }
    X509_VERIFY_PARAM* param = X509_STORE_CTX_get0_param(ctx.get());
    X509_VERIFY_PARAM_set_flags(param, X509_V_FLAG_PARTIAL_CHAIN | flags);
    X509_VERIFY_PARAM_set_time(param, at);
    const bool verified = X509_verify_cert(ctx.get()) == 1;
    ERR_clear_error();
    ChainOutcome outcome =
        verified ? ChainOutcome{true, {}, {}, {}, X509_V_OK} : untrusted(X509_STORE_CTX_get_error(ctx.get()));
    const STACK_OF(X509)* chain = X509_STORE_CTX_get0_chain(ctx.get());
    for (int i = 0; chain && i < sk_X509_num(chain); ++i) {
        X509* link = sk_X509_value(chain, i);
        X509_up_ref(link);
        outcome.chain.emplace_back(link);
    }
    if (verified)
        outcome.anchorSubject = certificateNameText(X509_get_subject_name(outcome.chain.back().get()));
    return outcome;
}
