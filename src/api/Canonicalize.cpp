#include "xmldsig/Canonicalize.h"

#include "companion/log/FirstErrorLog.h"
#include "companion/text/DataBuffer.h"
#include "companion/text/XString.h"
#include "verifier/ClsXmlDSig.h"

#include <memory>

namespace xmldsig {

namespace {

Status notXml(std::string reason) {
    return {make_error_code(Errc::not_xml), std::move(reason)};
}

const char* versionName(CanonicalizeOptions::Method method) {
    switch (method) {
    case CanonicalizeOptions::Method::Exclusive:
        return "excl_c14n";
    case CanonicalizeOptions::Method::Inclusive11:
        return "c14n_11";
    case CanonicalizeOptions::Method::Inclusive:
        break;
    }
    return "c14n";
}

// The engine canonicalizes UTF-8 text; the declared encoding is honoured here.
bool toUtf8(std::string_view document, XString& text, std::string& error) {
    DataBuffer bytes;
    bytes.takeString(std::string(document));
    LogNull quiet;
    FirstErrorLog errors(quiet);
    if (!bytes.convertXmlToUtf8(errors)) {
        error = errors.firstErrorLine();
        return false;
    }
    text.getUtf8Sb_rw().takeFromDb(bytes);
    return true;
}

} // namespace

Status canonicalize(std::string_view document, const CanonicalizeOptions& options, std::string& out) {
    XString xml;
    std::string error;
    if (!toUtf8(document, xml, error))
        return notXml(error);
    std::unique_ptr<ClsXmlDSig> dsig(ClsXmlDSig::createNewCls());
    XString fragmentId(options.fragmentId), version(versionName(options.method)), prefixList(options.inclusivePrefixes),
        canonical;
    if (!dsig->CanonicalizeFragment(xml, fragmentId, version, prefixList, options.withComments, canonical)) {
        const std::string& reason = dsig->lastFailure();
        return notXml(reason.empty() ? "cannot be canonicalized" : reason);
    }
    out.assign(canonical.getUtf8(), canonical.getSizeUtf8());
    return {};
}

} // namespace xmldsig
