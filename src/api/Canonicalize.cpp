#include "xmldsig/Canonicalize.h"

#include "api/DocumentLoading.h"

#include "companion/canon/XmlCanon.h"
#include "companion/log/FirstErrorLog.h"
#include "companion/text/DataBuffer.h"
#include "companion/text/StringBuffer.h"

namespace xmldsig {

namespace {

Status failure(Errc code, std::string reason) {
    return {make_error_code(code), std::move(reason)};
}

XmlCanon::Mode modeOf(CanonicalizeOptions::Method method) {
    switch (method) {
    case CanonicalizeOptions::Method::Exclusive:
        return XmlCanon::Mode::Exclusive;
    case CanonicalizeOptions::Method::Inclusive11:
        return XmlCanon::Mode::Inclusive11;
    case CanonicalizeOptions::Method::Inclusive:
        break;
    }
    return XmlCanon::Mode::Inclusive;
}

// The engine canonicalizes UTF-8 text; the declared encoding is honoured here.
bool toUtf8(DataBuffer& bytes, StringBuffer& text, std::string& error) {
    LogNull quiet;
    FirstErrorLog errors(quiet);
    if (!bytes.convertXmlToUtf8(errors)) {
        error = errors.firstErrorLine();
        return false;
    }
    text.takeFromDb(bytes);
    return true;
}

Status canonicalizeBytes(DataBuffer& bytes, const CanonicalizeOptions& options, std::string& out) {
    StringBuffer xml;
    std::string error;
    if (!toUtf8(bytes, xml, error))
        return failure(Errc::not_xml, error);
    XmlCanon canon;
    canon.setWithComments(options.withComments);
    canon.setMode(modeOf(options.method));
    if (canon.mode() == XmlCanon::Mode::Exclusive)
        StringBuffer(options.inclusivePrefixes).split(canon.inclusivePrefixes(), ' ', false, false);
    LogNull quiet;
    FirstErrorLog errors(quiet);
    StringBuffer canonical;
    if (!canon.xmlCanonicalize(xml, options.fragmentId.c_str(), 0, canonical, errors)) {
        const std::string& reason = errors.firstErrorLine();
        return failure(canon.missedTarget() ? Errc::no_such_element : Errc::not_xml,
                       reason.empty() ? "cannot be canonicalized" : reason);
    }
    out = std::move(canonical.raw());
    return {};
}

} // namespace

Status canonicalize(std::string_view document, const CanonicalizeOptions& options, std::string& out) {
    DataBuffer bytes;
    bytes.takeString(std::string(document));
    return canonicalizeBytes(bytes, options, out);
}

Status canonicalizeFile(const std::filesystem::path& path, const CanonicalizeOptions& options, std::string& out) {
    const std::string name = path.string();
    DataBuffer bytes;
    std::string error;
    if (!readDocumentFile(name, bytes, error))
        return failure(Errc::file_unreadable, error);
    Status status = canonicalizeBytes(bytes, options, out);
    if (!status)
        status.message = name + ": " + status.message;
    return status;
}

} // namespace xmldsig
