#include "xmldsig/Settings.h"

#include "api/SettingsData.h"

#include "companion/pki/TrustAnchors.h"
#include "companion/text/XmlDateTime.h"

namespace xmldsig {

namespace {

// The anchors and CRLs of all the paths, read anew so that the object that
// verifiers share is never changed; empty with `error` when a path fails.
std::shared_ptr<const TrustAnchors> anchorsOf(const SettingsData& d, std::string& error) {
    auto anchors = std::make_shared<TrustAnchors>();
    for (const std::string& path : d.trustPaths)
        if (!anchors->addAnchors(path, error))
            return nullptr;
    for (const std::string& path : d.crlPaths)
        if (!anchors->addCrls(path, error))
            return nullptr;
    return anchors;
}

} // namespace

// The settings take the path only once all the paths read.
Status Settings::addTrustFile(std::vector<std::string> SettingsData::*paths, std::string_view path, Errc failure) {
    SettingsData candidate = data();
    (candidate.*paths).emplace_back(path);
    std::string error;
    candidate.anchors = anchorsOf(candidate, error);
    if (!candidate.anchors)
        return {make_error_code(failure), error};
    mutableData() = std::move(candidate);
    return {};
}

Status Settings::addTrustAnchors(std::string_view path) {
    return addTrustFile(&SettingsData::trustPaths, path, Errc::bad_certificate);
}

Status Settings::addCrls(std::string_view path) {
    return addTrustFile(&SettingsData::crlPaths, path, Errc::bad_crl);
}

void Settings::setVerificationTime(std::optional<std::time_t> at) {
    mutableData().verificationTime = at;
}

Status Settings::setVerificationTime(std::string_view xsdDateTime) {
    const std::optional<std::time_t> at = parseXmlDateTime(xsdDateTime);
    if (!at)
        return {make_error_code(Errc::bad_option), "not a time: " + std::string(xsdDateTime)};
    setVerificationTime(at);
    return {};
}

} // namespace xmldsig
