#pragma once

#include "companion/crypto/OpensslPtr.h"

class ClsXml;
class LogBase;

// Public keys written as XML-DSig key values: RSAKeyValue, DSAKeyValue,
// ECKeyValue (XML-DSig 1.1) and ECDSAKeyValue (RFC 4050), any namespace
// prefix.
namespace key_value_xml {

// The key of the element, or of its first child that is one of the key
// values; null (logged) when there is none or it does not parse.
PkeyPtr pkeyFromXml(const ClsXml& xml, LogBase& log);

} // namespace key_value_xml
