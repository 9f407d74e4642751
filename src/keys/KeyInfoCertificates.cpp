#include "companion/base/ClsStringArray.h"
#include "companion/crypto/ClsPublicKey.h"
#include "companion/log/FirstErrorLog.h"
#include "companion/log/LogContextExitor.h"
#include "companion/pki/CertificateStore.h"
#include "companion/xml/ClsXml.h"
#include "keys/KeyInfoReading.h"
#include "keys/KeyResolver.h"
#include "keys/ParsedNameLookups.h"
#include "keys/SeenCertificates.h"
#include "verifier/ClsXmlDSig.h"

bool ClsXmlDSig::GetCerts(ClsStringArray& out) {
    CritSecExitor lock(m_critSec);
    LogContextExitor ctx(*this, "GetCert");
    m_log.clearLastJsonData();
    bool result = true;
    FirstErrorLog errors(m_log);
    if (RefPtr<ClsXml> keyInfo(getKeyInfo(errors)); keyInfo)
        result = keyResolver().certsFromKeyInfo(*keyInfo, out, errors);
    noteFailure(result, errors);
    // The outcome line reads as a failure whatever the result, as callers of
    // this interface have always seen it.
    logSuccessFailure(false);
    return result;
}

ClsPublicKey* ClsXmlDSig::GetPublicKey() {
    CritSecExitor lock(m_critSec);
    LogContextExitor ctx(*this, "GetPublicKey");
    m_log.clearLastJsonData();
    ExtPtrArrayRc keys;
    if (!getPublicKey(true, keys, m_log))
        return nullptr;
    auto* first = static_cast<ClsPublicKey*>(keys.elementAt(0));
    first->incRefCount();
    return first;
}

bool KeyResolver::certsFromKeyInfo(ClsXml& keyInfo, ClsStringArray& out, LogBase& log) {
    LogContextExitor ctx(log, "certsFromKeyInfo");
    SeenCertificates seen;
    certsFromX509Data(keyInfo, seen, out, log);
    RefPtr<ClsXml> str(keyInfo.getChildWithTagUtf8("*:SecurityTokenReference"));
    return str ? certsFromSecurityTokenReference(*str, seen, out, log) : true;
}

void KeyResolver::certsFromX509Data(ClsXml& parent, SeenCertificates& seen, ClsStringArray& out, LogBase& log) {
    StringBuffer text;
    auto appendIfParsed = [&](StringBuffer& certBase64) {
        if (processCertBase64(certBase64, seen, log))
            out.appendUtf8(certBase64.view());
    };
    auto appendCert = [&](X509Certificate* cert) {
        DataBuffer der;
        StringBuffer certBase64;
        if (cert && cert->getCertDer(der) && der.encodeDB("base64", certBase64))
            appendIfParsed(certBase64);
    };

    if (RefPtr<ClsXml> x509Data(parent.findChild("*:X509Data")); x509Data) {
        const int n = x509Data->numChildrenHavingTagUtf8("*:X509Certificate", log);
        log.LogDataLong("NumX509Certificates", n);
        for (int i = 0; i < n; ++i) {
            x509Data->put_I(i);
            if (x509Data->getChildContentUtf8("*:X509Certificate[i]", text, false) && !text.isEmpty())
                appendIfParsed(text);
        }
    }

    key_info::IssuerSerial issuerSerial;
    if (key_info::readIssuerSerial(parent, issuerSerial, log) && !seen.contains(issuerSerial.key, log)) {
        auto lookUp = [&] {
            if (issuerSerial.hasCommonName &&
                getCertByIssuerNameAndSerial(issuerSerial.issuerCN, issuerSerial.serialHex, text, log)) {
                appendIfParsed(text);
                return true;
            }
            X509Certificate* cert = key_info::certByIssuerRdnsAndSerial(m_store, issuerSerial, log);
            appendCert(cert);
            return cert != nullptr;
        };
        if (!lookUp() && key_info::readSerialAsHex(issuerSerial, log))
            lookUp();
    }

    if (key_info::unseenSubjectName(parent, seen, text, log)) {
        StringBuffer reversed;
        reverseSubjectNameDN(text, reversed);
        StringBuffer found;
        if (getCertBySubjectName(reversed, found, log))
            appendIfParsed(found);
        else
            appendCert(key_info::certBySubjectRdns(m_store, text, log));
    }

    StringBuffer ski;
    if (parent.getChildContentUtf8("*:X509Data|*:X509SKI", ski, false) && !ski.isEmpty() &&
        getCertBySKI(ski, text, log))
        appendIfParsed(text);
}

bool KeyResolver::certsFromSecurityTokenReference(ClsXml& str, SeenCertificates& seen, ClsStringArray& out,
                                                  LogBase& log) {
    StringBuffer identifier, text;
    if (str.getChildContentUtf8("*:KeyIdentifier", identifier, false) && !identifier.isEmpty()) {
        // Here the identifier is always read as a subject key identifier.
        if (X509CertificateHolder* holder = m_store.findBySubjectKeyId(identifier, log)) {
            DataBuffer der;
            if (holder->getX509Ptr()->getCertDer(der) && der.encodeDB("base64", text) &&
                processCertBase64(text, seen, log))
                out.appendUtf8(text.view());
        }
    }

    if (RefPtr<ClsXml> x509Data(str.getChildWithTagUtf8("*:X509Data")); x509Data)
        certsFromX509Data(str, seen, out, log);

    RefPtr<ClsXml> reference(str.getChildWithTagUtf8("*:Reference"));
    if (!reference)
        return true;
    // Unlike key resolution, listing certificates takes no stand-in token.
    const key_info::TokenSearch search{"Need to locate BinarySecurityToken within XML....", false};
    StringBuffer certText;
    if (!key_info::referencedTokenCertificate(*reference, m_document, search, certText, *this, log))
        return false;
    // A token that holds no valid certificate is left out, not an error.
    if (processCertBase64(certText, seen, log))
        out.appendUtf8(certText.view());
    return true;
}
