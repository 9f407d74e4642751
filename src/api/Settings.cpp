#include "xmldsig/Settings.h"

#include "api/EngineOptions.h"
#include "api/SettingsData.h"
#include "verifier/VerificationPolicy.h"

#include "companion/base/ClsJsonObject.h"
#include "companion/crypto/ClsPublicKey.h"
#include "companion/log/LogBase.h"
#include "companion/pki/ClsXmlCertVault.h"
#include "companion/text/DataBuffer.h"
#include "companion/text/XString.h"

#include <filesystem>

namespace xmldsig {

namespace {

Status failure(Errc code, std::string message) {
    return {make_error_code(code), std::move(message)};
}

bool readableKey(const std::string& path) {
    RefPtr<ClsPublicKey> key(ClsPublicKey::createNewCls());
    XString p;
    p.setFromUtf8(path);
    return key->LoadFromFile(p);
}

bool readableCertificates(const std::string& path) {
    RefPtr<ClsXmlCertVault> vault(ClsXmlCertVault::createNewCls());
    XString p;
    p.setFromUtf8(path);
    std::error_code ec;
    return std::filesystem::is_directory(path, ec) ? vault->AddCertDir(p) : vault->AddCertFile(p);
}

bool decodes(std::string_view secret, std::string_view encoding) {
    if (encoding == "ascii")
        return true;
    if (encoding != "hex" && encoding != "base64")
        return false;
    DataBuffer bytes;
    return bytes.appendEncoded(secret, encoding);
}

bool isJsonObject(std::string_view text) {
    ClsJsonObject json;
    LogNull quiet;
    return json.load(std::string(text), quiet);
}

} // namespace

Settings::Settings() : m_data(std::make_shared<SettingsData>()) {
}
Settings::~Settings() = default;
Settings::Settings(const Settings&) = default;
Settings& Settings::operator=(const Settings&) = default;
Settings::Settings(Settings&&) noexcept = default;
Settings& Settings::operator=(Settings&&) noexcept = default;

// Copies share their data until one of them changes it.
SettingsData& Settings::mutableData() {
    if (!m_data)
        m_data = std::make_shared<SettingsData>();
    else if (m_data.use_count() > 1)
        m_data = std::make_shared<SettingsData>(*m_data);
    return *m_data;
}

Status Settings::addKeyFile(std::string_view path) {
    std::string p(path);
    if (!readableKey(p))
        return failure(Errc::bad_key, p + ": not a public key or certificate");
    mutableData().keyFiles.push_back(std::move(p));
    return {};
}

Status Settings::addCertificates(std::string_view path) {
    std::string p(path);
    if (!readableCertificates(p))
        return failure(Errc::bad_certificate, p + ": no certificate could be read");
    mutableData().certPaths.push_back(std::move(p));
    return {};
}

Status Settings::setHmacKey(std::string_view secret, std::string_view encoding) {
    if (!decodes(secret, encoding))
        return failure(Errc::bad_key, "the HMAC secret is not valid " + std::string(encoding));
    SettingsData& d = mutableData();
    d.hmacKey = std::string(secret);
    d.hmacEncoding = std::string(encoding);
    return {};
}

void Settings::addExternalRefDir(std::string_view dir) {
    mutableData().externalRefDirs.emplace_back(dir);
}

void Settings::setRefDataFile(int referenceIndex, std::string_view path) {
    mutableData().refData.emplace_back(referenceIndex, std::string(path));
}

void Settings::setIgnoreExternalRefs(bool on) {
    mutableData().ignoreExternalRefs = on;
}

Status Settings::setLimits(const Limits& limits) {
    for (const LimitField& field : limitFields())
        if (limits.*field.member == 0)
            return failure(Errc::bad_option, "the limit " + std::string(field.name) + " must be a positive integer");
    mutableData().limits = limits;
    return {};
}

const Limits& Settings::limits() const noexcept {
    return m_data->limits;
}

void Settings::allow(Accommodation accommodation, bool on) {
    SettingsData& d = mutableData();
    switch (accommodation) {
    case Accommodation::Zatca:
        d.zatca = on;
        break;
    case Accommodation::MyInvois:
        d.myInvois = on;
        break;
    case Accommodation::VerifyEncapsulatedTimeStamp:
        d.verifyEncapsulatedTimeStamp = on;
        break;
    case Accommodation::AllowXmlDigestError:
        d.allowXmlDigestError = on;
        break;
    }
}

void Settings::setValidateTsaChain(bool on) {
    mutableData().validateTsaChain = on;
}

void Settings::setOptions(std::string_view options) {
    const ProfileOptions profile = ProfileOptions::parse(options);
    SettingsData& d = mutableData();
    d.zatca = profile.zatca;
    d.myInvois = profile.myInvois;
    d.verifyEncapsulatedTimeStamp = profile.verifyEncapsulatedTimeStamp;
    d.allowXmlDigestError = profile.allowXmlDigestError;
}

Status Settings::setVerifyOptions(std::string_view json) {
    if (!isJsonObject(json))
        return failure(Errc::bad_option, "the verify options need a JSON object, got " + std::string(json));
    const VerificationPolicy policy = VerificationPolicy::parse({}, json);
    if (!policy.error.empty())
        return failure(Errc::bad_option, policy.error);
    SettingsData& d = mutableData();
    for (const LimitField& field : limitFields())
        d.limits.*field.member = policy.limits.*field.engineMember;
    d.validateTsaChain = policy.validateTsaChain;
    return {};
}

void Settings::selectIndex(int index) {
    SettingsData& d = mutableData();
    d.selection = SettingsData::Selection::Index;
    d.index = index;
}

void Settings::selectId(std::string_view id) {
    SettingsData& d = mutableData();
    d.selection = SettingsData::Selection::Id;
    d.id = std::string(id);
}

void Settings::selectAll() {
    mutableData().selection = SettingsData::Selection::All;
}

void Settings::setCheckReferences(bool on) {
    mutableData().checkReferences = on;
}

void Settings::setLogText(bool on) {
    mutableData().logText = on;
}

void Settings::setLogJson(bool on) {
    mutableData().logJson = on;
}

void Settings::setVerboseLog(bool on) {
    mutableData().verboseLog = on;
}

} // namespace xmldsig
