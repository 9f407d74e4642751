#include "companion/pki/CmsSignedData.h"

#include "companion/base/ClsJsonObject.h"
#include "companion/log/LogContextExitor.h"
#include "companion/pki/CertificateStore.h"
#include "companion/pki/_clsCades.h"
#include "companion/text/DataBuffer.h"

#include <openssl/err.h>
#include <openssl/objects.h>

#include <string>

namespace {

constexpr const char* kPkcs7Arc = "1.2.840.113549.1.7.";

std::string opensslReason() {
    const unsigned long code = ERR_peek_last_error();
    char text[256] = {};
    if (code)
        ERR_error_string_n(code, text, sizeof text);
    ERR_clear_error();
    return code ? std::string(text) : std::string("unknown reason");
}

bool hasOid(const ASN1_OBJECT* obj, const std::string& dotted) {
    Asn1ObjectPtr wanted(OBJ_txt2obj(dotted.c_str(), 1));
    return obj && wanted && OBJ_cmp(obj, wanted.get()) == 0;
}

void collectCertificates(CMS_ContentInfo* cms, CertificateStore& out, LogBase& log) {
    OwnedX509StackPtr certs(CMS_get1_certs(cms));
    for (int i = 0; certs && i < sk_X509_num(certs.get()); ++i) {
        unsigned char* der = nullptr;
        const int len = i2d_X509(sk_X509_value(certs.get(), i), &der);
        OpensslBytes owned(der);
        DataBuffer bytes;
        X509Certificate cert;
        if (len > 0 && bytes.append(der, static_cast<size_t>(len)) && cert.loadX509Der(bytes, log))
            out.addCertificate(cert, log);
    }
}

// The store's certificates, borrowed: where signer certificates are looked
// for, and the anchors of chain validation.
X509StackPtr storeCertificates(const CertificateStore& certs) {
    X509StackPtr stack(sk_X509_new_null());
    for (int i = 0; stack && i < certs.getNumCerts(); ++i)
        if (X509* x = certs.certAt(i)->x509())
            sk_X509_push(stack.get(), x);
    return stack;
}

X509StorePtr trustStore(STACK_OF(X509) * anchors, bool validateChain) {
    X509StorePtr store(X509_STORE_new());
    if (!store || !validateChain)
        return store;
    for (int i = 0; i < sk_X509_num(anchors); ++i)
        X509_STORE_add_cert(store.get(), sk_X509_value(anchors, i));
    X509_STORE_set_purpose(store.get(), X509_PURPOSE_TIMESTAMP_SIGN);
    return store;
}

void logSigners(CMS_ContentInfo* cms, LogBase& log) {
    X509StackPtr signers(CMS_get0_signers(cms));
    for (int i = 0; signers && i < sk_X509_num(signers.get()); ++i) {
        char name[512] = {};
        X509_NAME_oneline(X509_get_subject_name(sk_X509_value(signers.get(), i)), name, sizeof name);
        log.LogDataStr("signerSubject", name);
    }
}

} // namespace

bool CmsSignedData::loadPkcs7Der(const DataBuffer& der, const char* eContentTypeOid, int pkcs7Type, bool& detached,
                                 CertificateStore* collectCerts, LogBase& log) {
    LogContextExitor ctx(log, "loadPkcs7Der");
    ERR_clear_error();
    const unsigned char* p = der.getData();
    m_cms.reset(d2i_CMS_ContentInfo(nullptr, &p, static_cast<long>(der.getSize())));
    if (!m_cms || p != der.getData() + der.getSize()) {
        m_cms.reset();
        log.LogError("Not a DER CMS ContentInfo: " + opensslReason());
        return false;
    }
    if (!hasOid(CMS_get0_type(m_cms.get()), kPkcs7Arc + std::to_string(pkcs7Type))) {
        m_cms.reset();
        log.LogError("The CMS content is not of the expected type.");
        return false;
    }
    if (eContentTypeOid && !hasOid(CMS_get0_eContentType(m_cms.get()), eContentTypeOid)) {
        m_cms.reset();
        log.LogError("The encapsulated content is not of the expected type.");
        return false;
    }
    detached = CMS_is_detached(m_cms.get()) == 1;
    if (collectCerts)
        collectCertificates(m_cms.get(), *collectCerts, log);
    return true;
}

bool CmsSignedData::verifyOpaqueSignature(DataBuffer& content, bool validateChain, CertificateStore& certs,
                                          LogBase& log) {
    LogContextExitor ctx(log, "verifyOpaqueSignature");
    content.clear();
    if (!m_cms) {
        log.LogError("No CMS SignedData loaded.");
        return false;
    }
    log.LogDataBool("validateTsaChain", validateChain);

    X509StackPtr known = storeCertificates(certs);
    X509StorePtr store = trustStore(known.get(), validateChain);
    BioPtr out(BIO_new(BIO_s_mem()));
    if (!known || !store || !out) {
        log.LogError("Out of memory.");
        return false;
    }
    const unsigned flags = CMS_BINARY | (validateChain ? 0 : CMS_NO_SIGNER_CERT_VERIFY);
    ERR_clear_error();
    if (CMS_verify(m_cms.get(), known.get(), store.get(), nullptr, out.get(), flags) != 1) {
        log.LogError("CMS signature verification failed: " + opensslReason());
        return false;
    }
    logSigners(m_cms.get(), log);
    char* data = nullptr;
    const long len = BIO_get_mem_data(out.get(), &data);
    return content.append(data, static_cast<size_t>(len));
}

X509Ptr CmsSignedData::signerCertificate() const {
    X509StackPtr signers(m_cms ? CMS_get0_signers(m_cms.get()) : nullptr);
    if (!signers || sk_X509_num(signers.get()) == 0)
        return nullptr;
    X509* first = sk_X509_value(signers.get(), 0);
    return X509Ptr(first && X509_up_ref(first) == 1 ? first : nullptr);
}

std::vector<X509Ptr> CmsSignedData::certificates() const {
    std::vector<X509Ptr> out;
    OwnedX509StackPtr certs(m_cms ? CMS_get1_certs(m_cms.get()) : nullptr);
    while (certs && sk_X509_num(certs.get()) > 0)
        out.emplace_back(sk_X509_shift(certs.get()));
    return out;
}
