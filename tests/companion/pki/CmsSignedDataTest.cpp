#include "support/TimestampTestSupport.h"

#include "companion/base/ClsJsonObject.h"
#include "companion/crypto/Digest.h"
#include "companion/crypto/HashIds.h"
#include "companion/log/LogBase.h"
#include "companion/net/ClsHttp.h"
#include "companion/pki/Asn1XmlCodec.h"
#include "companion/pki/CertificateStore.h"
#include "companion/pki/CmsSignedData.h"
#include "companion/pki/_clsCades.h"
#include "companion/xml/ClsXml.h"
#include "verifier/ClsXmlDSig.h"

#include <gtest/gtest.h>

#include <memory>

namespace {

using namespace timestamp_test;
using test_support::logHas;

constexpr const char* kTstInfoOid = "1.2.840.113549.1.9.16.1.4";

bool requestToken(const std::string& optionsJson, _clsCades& cades, DataBuffer& token, LogBase& log) {
    ClsJsonObject options;
    EXPECT_TRUE(options.load(optionsJson, log));
    DataBuffer data;
    data.append(std::string_view("the data"));
    return CmsSignedData::getTimestampToken(options, data, cades, token, log);
}

std::string urlOption(const std::string& url) {
    return "{\"TsaUrl\":\"" + url + "\"";
}

class TimestampClient : public ::testing::Test {
protected:
    static void SetUpTestSuite() { s_lab = std::make_unique<TimestampLab>(); }
    LoopbackTsa server(LoopbackTsa::Behaviour behaviour = LoopbackTsa::Behaviour::Answer) {
        return LoopbackTsa(s_lab->identity("tsa"), s_lab->dir(), behaviour);
    }
    static inline std::unique_ptr<TimestampLab> s_lab;
};

TEST_F(TimestampClient, TokensAndLoading) {
    {
        // The token is read back as a verifier reads it: CMS signature, then the
        // TSTInfo's fields by their ASN.1 paths.
        LoopbackTsa tsa(s_lab->identity("tsa"), s_lab->dir());
        _clsCades cades;
        DataBuffer token;
        LogBase log;
        ASSERT_TRUE(requestToken(urlOption(tsa.url()) +
                                     R"(,"HashAlgorithm":"SHA-384","PolicyOid":"1.2.3.4.5","TsaUsername":"user",)"
                                     R"("TsaPassword":"pw"})",
                                 cades, token, log))
            << log.renderText();
        EXPECT_NE(tsa.lastHeaders().find("Authorization: Basic dXNlcjpwdw=="), std::string::npos) << tsa.lastHeaders();
        EXPECT_NE(tsa.lastHeaders().find("Content-Type: application/timestamp-query"), std::string::npos);

        CmsSignedData cms;
        bool detached = true;
        CertificateStore carried;
        ASSERT_TRUE(cms.loadPkcs7Der(token, kTstInfoOid, 2, detached, &carried, log)) << log.renderText();
        EXPECT_FALSE(detached);
        EXPECT_EQ(carried.getNumCerts(), 2); // the TSA's and its root's
        CertificateStore none;
        DataBuffer tstInfo;
        ASSERT_TRUE(cms.verifyOpaqueSignature(tstInfo, false, none, log)) << log.renderText();

        StringBuffer xml, text;
        ASSERT_TRUE(Asn1XmlCodec::derToXml(tstInfo, true, false, xml, nullptr, log));
        RefPtr<ClsXml> dom(ClsXml::createNewCls());
        ASSERT_TRUE(dom->loadXml(xml, true, log));
        EXPECT_TRUE(dom->getChildContentUtf8("oid", text, false));
        EXPECT_EQ(text.view(), "1.2.3.4.5");
        EXPECT_TRUE(dom->getChildContentUtf8("sequence|sequence|oid", text, false));
        EXPECT_EQ(text.view(), "2.16.840.1.101.3.4.2.2");
        DataBuffer expected, imprint;
        Digest::doHash("the data", 8, hash_alg::kSha384, expected);
        EXPECT_TRUE(dom->getChildContentUtf8("sequence|octets", text, false));
        imprint.appendEncoded(text.view(), "base64");
        EXPECT_TRUE(imprint.equals(expected));
    }
    {
        LoopbackTsa tsa(s_lab->identity("tsa"), s_lab->dir());
        _clsCades cades;
        DataBuffer token;
        LogBase log;
        ASSERT_TRUE(requestToken(urlOption(tsa.url()) + "}", cades, token, log));
        CmsSignedData cms;
        bool detached = false;
        EXPECT_FALSE(cms.loadPkcs7Der(token, "1.2.840.113549.1.7.1", 2, detached, nullptr, log));
        EXPECT_TRUE(logHas(log, LogBase::Kind::Error, "The encapsulated content is not of the expected type.", false));
        EXPECT_FALSE(cms.loadPkcs7Der(token, nullptr, 3, detached, nullptr, log));
        EXPECT_TRUE(logHas(log, LogBase::Kind::Error, "The CMS content is not of the expected type.", false));
        DataBuffer truncated;
        truncated.append(token.view().substr(0, token.getSize() - 1));
        EXPECT_FALSE(cms.loadPkcs7Der(truncated, nullptr, 2, detached, nullptr, log));
        DataBuffer tstInfo;
        CertificateStore none;
        EXPECT_FALSE(cms.verifyOpaqueSignature(tstInfo, false, none, log));
        EXPECT_TRUE(logHas(log, LogBase::Kind::Error, "No CMS SignedData loaded.", false));
    }
}

TEST_F(TimestampClient, Failures) {
    {
        LoopbackTsa answering = server();
        LoopbackTsa httpError = server(LoopbackTsa::Behaviour::HttpError);
        LoopbackTsa silent = server(LoopbackTsa::Behaviour::Silent);
        LoopbackTsa replaying = server(LoopbackTsa::Behaviour::Replay);
        const std::string closed = "http://127.0.0.1:" + std::to_string(LoopbackTsa::closedPort());
        _clsCades cades;
        DataBuffer first;
        LogBase firstLog;
        ASSERT_TRUE(requestToken(urlOption(replaying.url()) + "}", cades, first, firstLog));
        struct Case {
            std::string options, error;
        } cases[] = {
            {"{}", "No TsaUrl in the timestamp options."},
            {urlOption(answering.url()) + R"(,"HashAlgorithm":"md5"})", "Unsupported HashAlgorithm"},
            {urlOption(answering.url()) + R"(,"TimeoutSeconds":"10"})", "TimeoutSeconds in the timestamp options"},
            {urlOption(answering.url()) + R"(,"PolicyOid":"not an oid"})", "PolicyOid in the timestamp options"},
            {urlOption(answering.url()) + R"(,"PolicyOid":"1.9.9"})", "The TSA refused the request (PKIStatus 2)."},
            {urlOption(closed) + "}", "HTTP POST to " + closed + " failed: "},
            {urlOption(silent.url()) + R"(,"TimeoutSeconds":2})", "timed out"},
            {urlOption(httpError.url()) + "}", "The TSA answered with HTTP status 500."},
            {urlOption(replaying.url()) + "}", "The token's nonce is not the one sent."},
        };
        for (const Case& c : cases) {
            DataBuffer token;
            token.append(std::string_view("stale"));
            LogBase log;
            EXPECT_FALSE(requestToken(c.options, cades, token, log)) << c.options;
            EXPECT_TRUE(token.isEmpty());
            EXPECT_TRUE(logHas(log, LogBase::Kind::Error, c.error, false)) << c.options << "\n" << log.renderText();
        }
    }
    {
        // The HTTP object handed to the verifier carries the timeouts when the
        // options name none.
        LoopbackTsa silent = server(LoopbackTsa::Behaviour::Silent);
        RefPtr<ClsHttp> http(ClsHttp::createNewCls());
        http->put_ConnectTimeout(2);
        http->put_ReadTimeout(2);
        std::unique_ptr<ClsXmlDSig> dsig(ClsXmlDSig::createNewCls());
        dsig->SetHttpObj(*http);
        DataBuffer token;
        LogBase log;
        EXPECT_FALSE(requestToken(urlOption(silent.url()) + "}", *dsig, token, log));
        EXPECT_TRUE(logHas(log, LogBase::Kind::Error, "timed out", false)) << log.renderText();
    }
}

} // namespace
