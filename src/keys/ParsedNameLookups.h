#pragma once

class LogBase;
class StringBuffer;
class SystemCerts;
class TavixX509;

namespace key_info {

struct IssuerSerial;

// The further attempts after a lookup by name as text finds nothing: the
// store's certificate named by an X509SubjectName, or by the whole
// X509IssuerName and the serial, with the names compared as parsed RDN
// sequences. The text's RDN order is reversed into the encoded order, as the
// text lookup reverses it. Null when the store is empty, the text is not a
// distinguished name or no certificate matches; each attempt is logged.
TavixX509* certBySubjectRdns(SystemCerts& store, const StringBuffer& subjectName, LogBase& log);
TavixX509* certByIssuerRdnsAndSerial(SystemCerts& store, const IssuerSerial& issuerSerial, LogBase& log);

} // namespace key_info
