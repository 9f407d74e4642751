#include "ades/SigningCertificateCheck.h"

#include "ades/XadesNames.h"
#include "companion/crypto/Digest.h"
#include "companion/pki/PkiHandles.h"
#include "companion/pki/Rfc4514Name.h"
#include "companion/text/DataBuffer.h"
#include "companion/text/StringBuffer.h"
#include "verifier/DSigReference.h"

#include <openssl/x509v3.h>

#include <algorithm>

using namespace xades_names;

namespace {

using GeneralNamesPtr = std::unique_ptr<GENERAL_NAMES, OpensslDeleter<GENERAL_NAMES_free>>;
using Asn1IntegerPtr = std::unique_ptr<ASN1_INTEGER, OpensslDeleter<ASN1_INTEGER_free>>;

// The first child with the local name, in any namespace: the signers of
// XAdES 1.1.1 wrote the digest's children in either.
uint32_t childNamed(const XmlDocument& doc, uint32_t parent, std::string_view localName) {
    if (parent == kNoNode)
        return kNoNode;
    for (uint32_t c = doc.firstChildElement(parent); c != kNoNode; c = doc.nextSiblingElement(c))
        if (XmlDocument::localName(doc.name(c)) == localName)
            return c;
    return kNoNode;
}

std::string decodedBase64(const std::string& text) {
    DataBuffer bytes;
    bytes.appendEncoded(text, "base64");
    return std::string(reinterpret_cast<const char*>(bytes.getData()), bytes.getSize());
}

SigningCertificateRef readCert(const XmlDocument& doc, uint32_t cert) {
    SigningCertificateRef ref;
    const uint32_t digest = childNamed(doc, cert, "CertDigest");
    ref.digestMethod = attributeValue(doc, childNamed(doc, digest, "DigestMethod"), "Algorithm");
    ref.digest = decodedBase64(trimmedContent(doc, childNamed(doc, digest, "DigestValue")));
    const uint32_t issuerSerial = childNamed(doc, cert, "IssuerSerial");
    ref.issuerName = trimmedContent(doc, childNamed(doc, issuerSerial, "X509IssuerName"));
    ref.serialNumber = trimmedContent(doc, childNamed(doc, issuerSerial, "X509SerialNumber"));
    const uint32_t v2 = childNamed(doc, cert, "IssuerSerialV2");
    if (v2 != kNoNode)
        ref.issuerSerialV2 = decodedBase64(trimmedContent(doc, v2));
    return ref;
}

std::string digestOf(std::string_view bytes, const std::string& digestMethod) {
    StringBuffer uri{std::string_view(digestMethod)};
    const int hashAlg = DSigReference::digestMethodHashAlg(uri);
    DataBuffer out;
    if (hashAlg == 0 || !Digest::doHash(bytes.data(), bytes.size(), hashAlg, out))
        return {};
    return std::string(reinterpret_cast<const char*>(out.getData()), out.getSize());
}

std::string derOf(X509* cert) {
    unsigned char* der = nullptr;
    const int length = i2d_X509(cert, &der);
    const OpensslBytes owned(der);
    return length > 0 ? std::string(reinterpret_cast<const char*>(der), static_cast<size_t>(length)) : std::string();
}

std::string base64Of(const std::string& bytes) {
    DataBuffer data;
    data.append(bytes.data(), bytes.size());
    StringBuffer text;
    data.encodeDB("base64", text);
    return std::string(text.view());
}

// "C=EE/O=Org/CN=Name", most general first, as old DigiDoc signers wrote
// issuer names, in the RFC 4514 order.
std::string slashFormAsRfc4514(const std::string& text) {
    std::string out;
    size_t end = text.size();
    for (size_t slash = text.rfind('/'); end > 0; slash = end == 0 ? std::string::npos : text.rfind('/', end - 1)) {
        const size_t begin = slash == std::string::npos ? 0 : slash + 1;
        if (end > begin) {
            if (!out.empty())
                out += ',';
            out.append(text, begin, end - begin);
        }
        if (slash == std::string::npos)
            break;
        end = slash;
    }
    return out;
}

bool sameIssuerName(const std::string& text, X509* cert) {
    std::optional<std::vector<Rfc4514Rdn>> rdns = Rfc4514Name::parse(text);
    if (!rdns || rdns->empty())
        return false;
    std::reverse(rdns->begin(), rdns->end());
    const X509NamePtr name = Rfc4514Name::toX509Name(*rdns);
    return name && X509_NAME_cmp(name.get(), X509_get_issuer_name(cert)) == 0;
}

bool sameIssuer(const std::string& text, X509* cert) {
    const bool slashForm = !text.empty() && text.find('/') != std::string::npos && text.find(',') == std::string::npos;
    return sameIssuerName(text, cert) || (slashForm && sameIssuerName(slashFormAsRfc4514(text), cert));
}

std::string lowerHex(const std::string& bytes) {
    static constexpr char kDigits[] = "0123456789abcdef";
    std::string hex;
    for (unsigned char b : bytes) {
        hex.push_back(kDigits[b >> 4]);
        hex.push_back(kDigits[b & 15]);
    }
    return hex;
}

// Whether the stated digest is the certificate's. ZATCA signers state the
// lower-case hex of the digest of the certificate's base64 text, base64
// encoded; that reading is accepted too.
bool digestNames(const std::string& stated, X509* cert, const std::string& digestMethod) {
    const std::string der = derOf(cert);
    const std::string digest = digestOf(der, digestMethod);
    if (digest.empty() || stated.empty())
        return false;
    return digest == stated || lowerHex(digestOf(base64Of(der), digestMethod)) == stated;
}

bool sameSerial(const std::string& decimal, X509* cert) {
    BIGNUM* stated = nullptr;
    if (decimal.empty() || BN_dec2bn(&stated, decimal.c_str()) == 0)
        return false;
    const BnPtr statedPtr(stated);
    const BnPtr actual(ASN1_INTEGER_to_BN(X509_get0_serialNumber(cert), nullptr));
    return actual && BN_cmp(statedPtr.get(), actual.get()) == 0;
}

// IssuerSerial ::= SEQUENCE { issuer GeneralNames, serialNumber INTEGER }
bool sameIssuerSerialV2(const std::string& der, X509* cert) {
    const auto* p = reinterpret_cast<const unsigned char*>(der.data());
    const unsigned char* const end = p + der.size();
    long length = 0;
    int tag = 0, xclass = 0;
    if (ASN1_get_object(&p, &length, &tag, &xclass, static_cast<long>(der.size())) & 0x80 || tag != V_ASN1_SEQUENCE)
        return false;
    const GeneralNamesPtr names(d2i_GENERAL_NAMES(nullptr, &p, end - p));
    const Asn1IntegerPtr serial(names ? d2i_ASN1_INTEGER(nullptr, &p, end - p) : nullptr);
    if (!serial || ASN1_INTEGER_cmp(serial.get(), X509_get0_serialNumber(cert)) != 0)
        return false;
    for (int i = 0; i < sk_GENERAL_NAME_num(names.get()); ++i) {
        const GENERAL_NAME* name = sk_GENERAL_NAME_value(names.get(), i);
        if (name->type == GEN_DIRNAME && X509_NAME_cmp(name->d.directoryName, X509_get_issuer_name(cert)) == 0)
            return true;
    }
    return false;
}

} // namespace

SigningCertificateProperty readSigningCertificate(const XmlDocument& doc, uint32_t signedSignatureProperties) {
    SigningCertificateProperty property;
    uint32_t element = xadesChild(doc, signedSignatureProperties, "SigningCertificateV2");
    property.v2 = element != kNoNode;
    if (!property.v2)
        element = xadesChild(doc, signedSignatureProperties, "SigningCertificate");
    property.present = element != kNoNode;
    if (property.present)
        forEachXadesChild(doc, element, "Cert", [&](uint32_t cert) { property.certs.push_back(readCert(doc, cert)); });
    return property;
}

std::string mismatchOf(const SigningCertificateRef& ref, X509* cert) {
    if (digestOf(std::string_view(), ref.digestMethod).empty())
        return "its digest method is not supported: " + ref.digestMethod;
    if (!digestNames(ref.digest, cert, ref.digestMethod))
        return "its digest is not the certificate's";
    if (!ref.issuerName.empty() && !sameIssuer(ref.issuerName, cert))
        return "its issuer name is not the certificate's issuer";
    if (!ref.serialNumber.empty() && !sameSerial(ref.serialNumber, cert))
        return "its serial number is not the certificate's";
    if (!ref.issuerSerialV2.empty() && !sameIssuerSerialV2(ref.issuerSerialV2, cert))
        return "its IssuerSerialV2 does not name the certificate";
    return {};
}

X509* certificateNamedBy(const SigningCertificateProperty& property, std::span<X509* const> candidates) {
    for (const SigningCertificateRef& ref : property.certs)
        for (X509* cert : candidates)
            if (cert && digestNames(ref.digest, cert, ref.digestMethod))
                return cert;
    return nullptr;
}
