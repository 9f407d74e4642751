#include "companion/base/ClsJsonObject.h"
#include "companion/crypto/Digest.h"
#include "companion/crypto/HashIds.h"
#include "companion/log/LogContextExitor.h"
#include "companion/net/ClsHttp.h"
#include "companion/pki/CmsSignedData.h"
#include "companion/pki/_clsCades.h"
#include "companion/text/DataBuffer.h"

#include <openssl/objects.h>
#include <openssl/rand.h>

#include <algorithm>
#include <string>

namespace {

constexpr const char* kQueryContentType = "application/timestamp-query";
constexpr long kMaxConnectSeconds = 10;
constexpr int kNonceBytes = 8;
constexpr long kHttpOk = 200;
constexpr long kGranted = 0;
constexpr long kGrantedWithMods = 1;

struct HashChoice {
    const char* name;
    int hashAlg;
    int nid;
};
constexpr HashChoice kHashes[] = {
    {"sha256", hash_alg::kSha256, NID_sha256},
    {"sha1", hash_alg::kSha1, NID_sha1},
    {"sha384", hash_alg::kSha384, NID_sha384},
    {"sha512", hash_alg::kSha512, NID_sha512},
};

struct TsaRequest {
    std::string url;
    const HashChoice* hash = &kHashes[0];
    StringBuffer policyOid;
    HttpSettings http;
    DataBuffer digest;
    Asn1IntegerPtr nonce;
};

bool readHash(ClsJsonObject& options, TsaRequest& req, LogBase& log) {
    StringBuffer name;
    if (!options.stringOf("HashAlgorithm", name))
        return true;
    name.toLowerCase();
    name.removeCharOccurances('-');
    const auto* it =
        std::find_if(std::begin(kHashes), std::end(kHashes), [&](const HashChoice& h) { return name.equals(h.name); });
    if (it == std::end(kHashes)) {
        log.LogError("Unsupported HashAlgorithm in the timestamp options.");
        log.LogDataSb("hashAlgorithm", name);
        return false;
    }
    req.hash = it;
    return true;
}

bool readOptions(ClsJsonObject& options, _clsCades& cades, TsaRequest& req, LogBase& log) {
    StringBuffer text;
    if (!options.stringOf("TsaUrl", text) || text.isEmpty()) {
        log.LogError("No TsaUrl in the timestamp options.");
        return false;
    }
    req.url = text.view();
    log.LogDataSb("tsaUrl", text);
    if (!readHash(options, req, log))
        return false;
    options.stringOf("PolicyOid", req.policyOid);
    if (const ClsHttp* http = cades.tsaHttpObj())
        req.http = http->settings();
    if (options.hasMember("TimeoutSeconds")) {
        const long timeout = static_cast<long>(options.intOf("TimeoutSeconds", 0));
        if (timeout <= 0) {
            log.LogError("TimeoutSeconds in the timestamp options must be a positive integer.");
            return false;
        }
        req.http.totalTimeoutSeconds = timeout;
        req.http.connectTimeoutSeconds = std::min(timeout, kMaxConnectSeconds);
    }
    if (options.stringOf("TsaUsername", text))
        req.http.login.setFromUtf8(text.view());
    if (options.stringOf("TsaPassword", text)) {
        req.http.password.secureClear();
        req.http.password.setSecureX(true);
        req.http.password.setFromUtf8(text.view());
        text.secureClear();
    }
    return true;
}

Asn1IntegerPtr randomNonce() {
    unsigned char bytes[kNonceBytes];
    if (RAND_bytes(bytes, sizeof bytes) != 1)
        return nullptr;
    bytes[0] &= 0x7f; // positive, as a DER INTEGER of this size must be to read back equal
    BnPtr bn(BN_bin2bn(bytes, sizeof bytes, nullptr));
    return Asn1IntegerPtr(bn ? BN_to_ASN1_INTEGER(bn.get(), nullptr) : nullptr);
}

bool setImprint(TS_REQ* req, const TsaRequest& r) {
    TsMsgImprintPtr imprint(TS_MSG_IMPRINT_new());
    X509AlgorPtr algo(X509_ALGOR_new());
    if (!imprint || !algo || !X509_ALGOR_set0(algo.get(), OBJ_nid2obj(r.hash->nid), V_ASN1_NULL, nullptr))
        return false;
    return TS_MSG_IMPRINT_set_algo(imprint.get(), algo.get()) &&
           TS_MSG_IMPRINT_set_msg(imprint.get(), const_cast<unsigned char*>(r.digest.getData()),
                                  static_cast<int>(r.digest.getSize())) &&
           TS_REQ_set_msg_imprint(req, imprint.get());
}

bool encodeRequest(TsaRequest& r, DataBuffer& der, LogBase& log) {
    TsReqPtr req(TS_REQ_new());
    r.nonce = randomNonce();
    bool ok = req && r.nonce && TS_REQ_set_version(req.get(), 1) && setImprint(req.get(), r) &&
              TS_REQ_set_nonce(req.get(), r.nonce.get()) && TS_REQ_set_cert_req(req.get(), 1);
    if (ok && !r.policyOid.isEmpty()) {
        Asn1ObjectPtr policy(OBJ_txt2obj(r.policyOid.getString(), 1));
        if (!policy) {
            log.LogError("PolicyOid in the timestamp options is not an OID.");
            return false;
        }
        ok = TS_REQ_set_policy_id(req.get(), policy.get());
    }
    unsigned char* bytes = nullptr;
    const int len = ok ? i2d_TS_REQ(req.get(), &bytes) : -1;
    OpensslBytes owned(bytes);
    if (len <= 0) {
        log.LogError("Failed to build the timestamp request.");
        return false;
    }
    return der.append(bytes, static_cast<size_t>(len));
}

void logStatusText(TS_STATUS_INFO* info, LogBase& log) {
    const STACK_OF(ASN1_UTF8STRING)* texts = TS_STATUS_INFO_get0_text(info);
    for (int i = 0; texts && i < sk_ASN1_UTF8STRING_num(texts); ++i) {
        const ASN1_UTF8STRING* t = sk_ASN1_UTF8STRING_value(texts, i);
        log.LogDataStr("tsaStatusText", std::string_view(reinterpret_cast<const char*>(ASN1_STRING_get0_data(t)),
                                                         ASN1_STRING_length(t)));
    }
}

bool checkGranted(TS_RESP* resp, LogBase& log) {
    TS_STATUS_INFO* info = TS_RESP_get_status_info(resp);
    const long status = ASN1_INTEGER_get(TS_STATUS_INFO_get0_status(info));
    log.LogDataLong("tsaStatus", status);
    if (status == kGranted || status == kGrantedWithMods)
        return true;
    logStatusText(info, log);
    log.LogError("The TSA refused the request (PKIStatus " + std::to_string(status) + ").");
    return false;
}

bool checkTstInfo(TS_TST_INFO* tst, const TsaRequest& r, LogBase& log) {
    if (!tst) {
        log.LogError("The TSA's answer carries no token.");
        return false;
    }
    const ASN1_INTEGER* nonce = TS_TST_INFO_get_nonce(tst);
    if (!nonce || ASN1_INTEGER_cmp(nonce, r.nonce.get()) != 0) {
        log.LogError("The token's nonce is not the one sent.");
        return false;
    }
    TS_MSG_IMPRINT* imprint = TS_TST_INFO_get_msg_imprint(tst);
    const ASN1_OCTET_STRING* hashed = TS_MSG_IMPRINT_get_msg(imprint);
    const ASN1_OBJECT* alg = nullptr;
    X509_ALGOR_get0(&alg, nullptr, nullptr, TS_MSG_IMPRINT_get_algo(imprint));
    const bool sameHash =
        hashed && ASN1_STRING_length(hashed) == static_cast<int>(r.digest.getSize()) &&
        std::equal(r.digest.getData(), r.digest.getData() + r.digest.getSize(), ASN1_STRING_get0_data(hashed));
    if (!sameHash || OBJ_obj2nid(alg) != r.hash->nid) {
        log.LogError("The token's message imprint is not the one sent.");
        return false;
    }
    if (!r.policyOid.isEmpty()) {
        Asn1ObjectPtr policy(OBJ_txt2obj(r.policyOid.getString(), 1));
        if (OBJ_cmp(TS_TST_INFO_get_policy_id(tst), policy.get()) != 0) {
            log.LogError("The token's policy is not the one requested.");
            return false;
        }
    }
    return true;
}

bool readResponse(const DataBuffer& der, const TsaRequest& r, DataBuffer& tokenDer, LogBase& log) {
    const unsigned char* p = der.getData();
    TsRespPtr resp(d2i_TS_RESP(nullptr, &p, static_cast<long>(der.getSize())));
    if (!resp) {
        log.LogError("The TSA's answer is not a timestamp response.");
        return false;
    }
    if (!checkGranted(resp.get(), log) || !checkTstInfo(TS_RESP_get_tst_info(resp.get()), r, log))
        return false;
    unsigned char* bytes = nullptr;
    const int len = i2d_PKCS7(TS_RESP_get_token(resp.get()), &bytes);
    OpensslBytes owned(bytes);
    if (len <= 0) {
        log.LogError("The TSA's answer carries no token.");
        return false;
    }
    return tokenDer.append(bytes, static_cast<size_t>(len));
}

} // namespace

bool CmsSignedData::getTimestampToken(ClsJsonObject& options, DataBuffer& data, _clsCades& cades, DataBuffer& tokenDer,
                                      LogBase& log) {
    LogContextExitor ctx(log, "getTimestampToken");
    tokenDer.clear();
    TsaRequest r;
    if (!readOptions(options, cades, r, log))
        return false;
    log.LogDataStr("hashAlgorithm", r.hash->name);
    DataBuffer query;
    if (!Digest::doHash(data.getData(), data.getSize(), r.hash->hashAlg, r.digest) || !encodeRequest(r, query, log))
        return false;

    RefPtr<ClsHttp> own;
    ClsHttp* http = cades.tsaHttpObj();
    if (!http) {
        own.reset(ClsHttp::createNewCls());
        http = own.get();
    }
    HttpResult answer;
    if (!http || !http->postBinary(r.url, query, kQueryContentType, r.http, answer, log))
        return false;
    if (answer.status != kHttpOk) {
        log.LogError("The TSA answered with HTTP status " + std::to_string(answer.status) + ".");
        return false;
    }
    return readResponse(answer.body, r, tokenDer, log);
}
