#include "companion/log/LogContextExitor.h"
#include "companion/xml/ClsXml.h"
#include "verifier/ClsXmlDSig.h"

#include <string>

namespace {
constexpr const char* kSignedInfoTag = "*:SignedInfo";
} // namespace

ClsXml* ClsXmlDSig::signedInfoChild(const char* child, LogBase& log) {
    ClsXml* sig = selectedSignature();
    if (!sig)
        return nullptr;
    RefPtr<ClsXml> signedInfo(sig->getChildWithTagUtf8(kSignedInfoTag));
    if (!signedInfo) {
        log.LogError("No SignedInfo child.");
        return nullptr;
    }
    const std::string childTag = std::string("*:") + child;
    ClsXml* field = signedInfo->getChildWithTagUtf8(childTag.c_str());
    if (!field)
        log.LogDataStr("childNotFound", child);
    return field;
}

bool ClsXmlDSig::getSignedInfoField(const char* child, const char* attr, StringBuffer& out, LogBase& log) {
    LogContextExitor ctx(log, "getSignedInfoField");
    out.clear();
    RefPtr<ClsXml> field(signedInfoChild(child, log));
    if (!field)
        return false;
    if (attr)
        field->getAttrValue(attr, out);
    else
        field->get_Content(out);
    return true;
}

bool ClsXmlDSig::getSignatureMethod(StringBuffer& out, LogBase& log) {
    return getSignedInfoField("SignatureMethod", "Algorithm", out, log);
}

bool ClsXmlDSig::getCanonicalizationMethod(StringBuffer& alg, StringBuffer& prefixList, LogBase& log) {
    alg.clear();
    prefixList.clear();
    ClsXml* sig = selectedSignature();
    if (!sig)
        return false;
    RefPtr<ClsXml> signedInfo(sig->getChildWithTagUtf8(kSignedInfoTag));
    if (!signedInfo) {
        log.LogError("No SignedInfo child.");
        return false;
    }
    RefPtr<ClsXml> method(signedInfo->getChildWithTagUtf8("*:CanonicalizationMethod"));
    if (!method) {
        log.LogDataStr("childNotFound", "*:CanonicalizationMethod");
        return false;
    }
    method->getAttrValue("Algorithm", alg);
    RefPtr<ClsXml> inclusive(method->getChildWithTagUtf8("*:InclusiveNamespaces"));
    if (inclusive)
        inclusive->getAttrValue("PrefixList", prefixList);
    return true;
}

bool ClsXmlDSig::getSignatureValue(StringBuffer& out, LogBase& log) {
    out.clear();
    ClsXml* sig = selectedSignature();
    if (!sig)
        return false;
    RefPtr<ClsXml> value(sig->getChildWithTagUtf8("*:SignatureValue"));
    if (!value) {
        log.LogError("No SignatureValue child.");
        return false;
    }
    value->get_Content(out);
    // Some signers leave escaped carriage returns in the base64 text.
    out.replaceAllOccurances("&#13;", "");
    out.replaceAllOccurances("&#xD;", "");
    return !out.isEmpty();
}
