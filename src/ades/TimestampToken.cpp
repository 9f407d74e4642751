#include "ades/TimestampToken.h"

#include "companion/crypto/Digest.h"
#include "companion/log/LogBase.h"
#include "companion/pki/CmsSignedData.h"

#include <openssl/ts.h>

#include <array>
#include <memory>

namespace {

constexpr const char* kTstInfoContentType = "1.2.840.113549.1.9.16.1.4";
constexpr int kSignedDataType = 2;
constexpr size_t kOidTextSize = 128;

using TstInfoPtr = std::unique_ptr<TS_TST_INFO, OpensslDeleter<TS_TST_INFO_free>>;

std::optional<std::time_t> epochSeconds(const ASN1_GENERALIZEDTIME* time) {
    std::tm tm{};
    if (!time || ASN1_TIME_to_tm(time, &tm) != 1)
        return std::nullopt;
    return timegm(&tm);
}

bool readTstInfo(const DataBuffer& der, TimestampToken& out, std::string& reason) {
    const unsigned char* p = der.getData();
    TstInfoPtr info(d2i_TS_TST_INFO(nullptr, &p, static_cast<long>(der.getSize())));
    if (!info) {
        reason = "the token's content is not a TSTInfo";
        return false;
    }
    const TS_MSG_IMPRINT* imprint = TS_TST_INFO_get_msg_imprint(info.get());
    const X509_ALGOR* algorithm = TS_MSG_IMPRINT_get_algo(const_cast<TS_MSG_IMPRINT*>(imprint));
    const ASN1_OCTET_STRING* hash = TS_MSG_IMPRINT_get_msg(const_cast<TS_MSG_IMPRINT*>(imprint));
    const ASN1_OBJECT* oid = nullptr;
    X509_ALGOR_get0(&oid, nullptr, nullptr, algorithm);
    std::array<char, kOidTextSize> text{};
    if (!oid || !hash || OBJ_obj2txt(text.data(), static_cast<int>(text.size()), oid, 1) <= 0) {
        reason = "the token's message imprint cannot be read";
        return false;
    }
    out.hashOid = text.data();
    out.hashAlg = Digest::oidToHashAlg(text.data());
    out.imprint.append(ASN1_STRING_get0_data(hash), static_cast<size_t>(ASN1_STRING_length(hash)));
    out.genTime = epochSeconds(TS_TST_INFO_get_time(info.get()));
    return true;
}

} // namespace

bool TimestampToken::read(const DataBuffer& der, CertificateStore& known, TimestampToken& out, std::string& reason,
                          LogBase& log) {
    CmsSignedData cms;
    bool detached = false;
    if (!cms.loadPkcs7Der(der, kTstInfoContentType, kSignedDataType, detached, nullptr, log) || detached) {
        reason = "the token is not a timestamp token";
        return false;
    }
    DataBuffer tstInfo;
    if (!cms.verifyOpaqueSignature(tstInfo, false, known, log)) {
        reason = "the token's signature does not verify";
        return false;
    }
    out.tsaCertificate = cms.signerCertificate();
    out.certificates = cms.certificates();
    if (!readTstInfo(tstInfo, out, reason))
        return false;
    if (out.hashAlg == 0) {
        reason = "the token's imprint algorithm " + out.hashOid + " is not supported";
        return false;
    }
    return true;
}
