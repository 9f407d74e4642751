#include "companion/crypto/KeyValueXml.h"

#include "companion/crypto/PublicKeyBuild.h"
#include "companion/log/LogBase.h"
#include "companion/text/ContentCoding.h"
#include "companion/text/RefCountedObject.h"
#include "companion/text/StringBuffer.h"
#include "companion/xml/ClsXml.h"

#include <openssl/objects.h>

#include <string>

namespace key_value_xml {
namespace {

constexpr std::string_view kOidUrnPrefix = "urn:oid:";
constexpr unsigned char kUncompressedPoint = 0x04;

using KeyParser = PkeyPtr (*)(const ClsXml&, LogBase&);

bool base64Child(const ClsXml& xml, const char* path, std::string& out) {
    StringBuffer text;
    out.clear();
    return xml.getChildContentUtf8(path, text, true) && ContentCoding::decodeBase64(text.view(), out) && !out.empty();
}

PkeyPtr rsaFromXml(const ClsXml& xml, LogBase& log) {
    std::string modulus;
    std::string exponent;
    if (!base64Child(xml, "*:Modulus", modulus) || !base64Child(xml, "*:Exponent", exponent)) {
        log.LogError("RSAKeyValue needs a base64 Modulus and Exponent.");
        return nullptr;
    }
    return public_key_build::rsaFromComponents(modulus, exponent);
}

PkeyPtr dsaFromXml(const ClsXml& xml, LogBase& log) {
    std::string p, q, g, y;
    if (!base64Child(xml, "*:P", p) || !base64Child(xml, "*:Q", q) || !base64Child(xml, "*:G", g) ||
        !base64Child(xml, "*:Y", y)) {
        log.LogError("DSAKeyValue needs base64 P, Q, G and Y.");
        return nullptr;
    }
    return public_key_build::dsaFromComponents(p, q, g, y);
}

// OpenSSL's group name for a curve named by "urn:oid:<dotted OID>", a bare
// OID or an OpenSSL curve name; empty when unknown.
std::string curveNameFromUri(std::string_view uri) {
    if (uri.starts_with(kOidUrnPrefix))
        uri.remove_prefix(kOidUrnPrefix.size());
    const int nid = OBJ_txt2nid(std::string(uri).c_str());
    const char* name = nid == NID_undef ? nullptr : OBJ_nid2sn(nid);
    return name ? name : "";
}

PkeyPtr ecFromCurveAndPoint(std::string_view curveUri, std::string_view point, LogBase& log) {
    const std::string curve = curveNameFromUri(curveUri);
    if (curve.empty()) {
        log.LogError("Unknown named curve.");
        log.LogDataStr("curve", curveUri);
        return nullptr;
    }
    PkeyPtr pkey = public_key_build::ecFromPoint(curve, point);
    if (!pkey)
        log.LogError("The public point is not on the curve.");
    return pkey;
}

PkeyPtr ecFromDsig11Xml(const ClsXml& xml, LogBase& log) {
    StringBuffer curveUri;
    std::string point;
    if (!xml.getChildAttrValue("*:NamedCurve", "URI", curveUri) || !base64Child(xml, "*:PublicKey", point)) {
        log.LogError("ECKeyValue needs a NamedCurve URI and a base64 PublicKey.");
        return nullptr;
    }
    return ecFromCurveAndPoint(curveUri.view(), point, log);
}

// The field element as exactly len big-endian bytes; false when it is not a
// decimal integer of at most that size.
bool decimalToFixedBytes(const StringBuffer& decimal, int len, std::string& out) {
    BIGNUM* parsed = nullptr;
    const int digits = decimal.isEmpty() ? 0 : BN_dec2bn(&parsed, decimal.getString());
    const BnPtr bn(parsed);
    if (digits <= 0 || static_cast<unsigned>(digits) != decimal.getSize() || BN_num_bytes(bn.get()) > len)
        return false;
    out.assign(static_cast<size_t>(len), '\0');
    return BN_bn2binpad(bn.get(), reinterpret_cast<unsigned char*>(out.data()), len) == len;
}

int fieldBytesOf(const std::string& curve) {
    const int nid = curve.empty() ? NID_undef : OBJ_sn2nid(curve.c_str());
    const EcGroupPtr group(nid == NID_undef ? nullptr : EC_GROUP_new_by_curve_name(nid));
    return group ? (EC_GROUP_get_degree(group.get()) + 7) / 8 : 0;
}

PkeyPtr ecFromRfc4050Xml(const ClsXml& xml, LogBase& log) {
    StringBuffer curveUri, x, y;
    if (!xml.getChildAttrValue("*:DomainParameters|*:NamedCurve", "URN", curveUri) ||
        !xml.getChildAttrValue("*:PublicKey|*:X", "Value", x) ||
        !xml.getChildAttrValue("*:PublicKey|*:Y", "Value", y)) {
        log.LogError("ECDSAKeyValue needs a NamedCurve URN and PublicKey X and Y values.");
        return nullptr;
    }
    const int fieldLen = fieldBytesOf(curveNameFromUri(curveUri.view()));
    std::string xBytes, yBytes;
    if (fieldLen == 0 || !decimalToFixedBytes(x, fieldLen, xBytes) || !decimalToFixedBytes(y, fieldLen, yBytes)) {
        log.LogError("Unknown curve or bad X and Y values in ECDSAKeyValue.");
        log.LogDataSb("curve", curveUri);
        return nullptr;
    }
    const std::string point = std::string(1, static_cast<char>(kUncompressedPoint)) + xBytes + yBytes;
    return ecFromCurveAndPoint(curveUri.view(), point, log);
}

struct KeyValueForm {
    const char* tag;
    KeyParser parse;
};

constexpr KeyValueForm kForms[] = {
    {"*:RSAKeyValue", rsaFromXml},
    {"*:DSAKeyValue", dsaFromXml},
    {"*:ECKeyValue", ecFromDsig11Xml},
    {"*:ECDSAKeyValue", ecFromRfc4050Xml},
};

} // namespace

PkeyPtr pkeyFromXml(const ClsXml& xml, LogBase& log) {
    for (const KeyValueForm& form : kForms)
        if (xml.tagEquals(form.tag))
            return form.parse(xml, log);
    for (const KeyValueForm& form : kForms) {
        const RefPtr<ClsXml> child(xml.getChildWithTagUtf8(form.tag));
        if (child)
            return form.parse(*child, log);
    }
    log.LogError("No RSAKeyValue, DSAKeyValue, ECKeyValue or ECDSAKeyValue.");
    return nullptr;
}

} // namespace key_value_xml
