#pragma once

class LogBase;
class StringBuffer;
class CertificateStore;
class X509Certificate;

namespace key_info {

struct IssuerSerial;

// The further attempts after a lookup by name as text finds nothing: the
// store's certificate named by an X509SubjectName, or by the whole
// X509IssuerName and the serial, with the names compared as parsed RDN
// sequences. The text's RDN order is reversed into the encoded order, as the
// text lookup reverses it. Null when the store is empty, the text is not a
// distinguished name or no certificate matches; each attempt is logged.
X509Certificate* certBySubjectRdns(CertificateStore& store, const StringBuffer& subjectName, LogBase& log);
X509Certificate* certByIssuerRdnsAndSerial(CertificateStore& store, const IssuerSerial& issuerSerial, LogBase& log);

} // namespace key_info
