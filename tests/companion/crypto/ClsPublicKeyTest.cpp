#include "support/Keys.h"
#include "support/Signing.h"

#include "companion/crypto/ClsPublicKey.h"
#include "companion/log/LogBase.h"
#include "companion/text/XString.h"

#include <openssl/core_names.h>
#include <openssl/objects.h>

#include <gtest/gtest.h>

#include <memory>
#include <string>

using test_support::hexOf;
using test_support::Workshop;

namespace {

const std::string kDsigNs(test_support::kDsigNs);

// The components of openssl-made keys, read back with OpenSSL's own
// accessors to write the XML forms independently of the loader.
class KeyComponents {
public:
    explicit KeyComponents(const DataBuffer& spkiDer) {
        const unsigned char* p = spkiDer.getData();
        m_pkey.reset(d2i_PUBKEY(nullptr, &p, spkiDer.getSize()));
        EXPECT_TRUE(m_pkey);
    }

    std::string base64(const char* param) const {
        BIGNUM* bn = nullptr;
        EXPECT_EQ(EVP_PKEY_get_bn_param(m_pkey.get(), param, &bn), 1) << param;
        const BnPtr owned(bn);
        std::string bytes(static_cast<size_t>(BN_num_bytes(bn)), '\0');
        BN_bn2bin(bn, reinterpret_cast<unsigned char*>(bytes.data()));
        return test_support::base64Of(bytes);
    }

    std::string decimal(const char* param) const {
        BIGNUM* bn = nullptr;
        EXPECT_EQ(EVP_PKEY_get_bn_param(m_pkey.get(), param, &bn), 1) << param;
        const BnPtr owned(bn);
        char* text = BN_bn2dec(bn);
        std::string out(text);
        OPENSSL_free(text);
        return out;
    }

    std::string curveOidUrn() const {
        char name[80] = {};
        EVP_PKEY_get_utf8_string_param(m_pkey.get(), OSSL_PKEY_PARAM_GROUP_NAME, name, sizeof(name), nullptr);
        char oid[80] = {};
        OBJ_obj2txt(oid, sizeof(oid), OBJ_nid2obj(OBJ_sn2nid(name)), 1);
        return std::string("urn:oid:") + oid;
    }

    std::string pointBase64() const {
        unsigned char point[200];
        size_t len = 0;
        EXPECT_EQ(EVP_PKEY_get_octet_string_param(m_pkey.get(), OSSL_PKEY_PARAM_ENCODED_PUBLIC_KEY, point,
                                                  sizeof(point), &len),
                  1);
        return test_support::base64Of(std::string_view(reinterpret_cast<const char*>(point), len));
    }

private:
    PkeyPtr m_pkey;
};

std::string rsaKeyValue(const KeyComponents& k) {
    return std::string("<ds:RSAKeyValue xmlns:ds=\"") + kDsigNs + "\"><ds:Modulus>" + k.base64(OSSL_PKEY_PARAM_RSA_N) +
           "</ds:Modulus>\n  <ds:Exponent>" + k.base64(OSSL_PKEY_PARAM_RSA_E) + "</ds:Exponent></ds:RSAKeyValue>";
}

std::string dsaKeyValue(const KeyComponents& k) {
    return std::string("<KeyValue xmlns=\"") + kDsigNs + "\"><DSAKeyValue><P>" + k.base64(OSSL_PKEY_PARAM_FFC_P) +
           "</P><Q>" + k.base64(OSSL_PKEY_PARAM_FFC_Q) + "</Q><G>" + k.base64(OSSL_PKEY_PARAM_FFC_G) + "</G><Y>" +
           k.base64(OSSL_PKEY_PARAM_PUB_KEY) + "</Y></DSAKeyValue></KeyValue>";
}

std::string ecKeyValue(const KeyComponents& k) {
    return "<dsig11:ECKeyValue xmlns:dsig11=\"http://www.w3.org/2009/xmldsig11#\"><dsig11:NamedCurve URI=\"" +
           k.curveOidUrn() + "\"/><dsig11:PublicKey>" + k.pointBase64() + "</dsig11:PublicKey></dsig11:ECKeyValue>";
}

std::string ecdsaKeyValue(const KeyComponents& k) {
    return "<ECDSAKeyValue xmlns=\"http://www.w3.org/2001/04/xmldsig-more#\"><DomainParameters><NamedCurve URN=\"" +
           k.curveOidUrn() + "\"/></DomainParameters><PublicKey><X Value=\"" + k.decimal(OSSL_PKEY_PARAM_EC_PUB_X) +
           "\"/><Y Value=\"" + k.decimal(OSSL_PKEY_PARAM_EC_PUB_Y) + "\"/></PublicKey></ECDSAKeyValue>";
}

class ClsPublicKeyTest : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
        ws = std::make_unique<Workshop>();
        const std::pair<const char*, const char*> keys[] = {
            {"rsa", "rsa"},       {"dsa", "dsa:2048"},      {"p256", "ec:P-256"},
            {"p521", "ec:P-521"}, {"k256", "ec:secp256k1"}, {"bp384", "ec:brainpoolP384r1"},
        };
        for (const auto& [name, args] : keys)
            ASSERT_TRUE(ws->makeKey(name, args));
    }

    static RefPtr<ClsPublicKey> newKey() { return RefPtr<ClsPublicKey>(ClsPublicKey::createNewCls()); }

    static std::string spkiHex(ClsPublicKey& key) {
        DataBuffer der;
        LogBase log;
        EXPECT_TRUE(key.getDer(der, log));
        return hexOf(der);
    }

    static std::string expectedSpkiHex(const std::string& name) { return hexOf(ws->read(name + ".pub.der")); }

    static bool loadXml(ClsPublicKey& key, const std::string& xml) {
        XString text(xml);
        LogBase log;
        const bool ok = key.loadXml(text, log);
        EXPECT_EQ(ok, !log.hasErrors()) << log.renderText();
        return ok;
    }

    static bool loadFile(ClsPublicKey& key, const std::string& fileName) {
        XString path(ws->path(fileName).string());
        LogBase log;
        return key.loadFromFile(path, log);
    }

    static inline std::unique_ptr<Workshop> ws;
};

} // namespace

TEST_F(ClsPublicKeyTest, XmlKeyValues) {
    {
        struct Case {
            std::string keyName;
            std::string (*form)(const KeyComponents&);
            const char* formName;
        };
        const Case cases[] = {
            {"rsa", rsaKeyValue, "RSAKeyValue"},      {"dsa", dsaKeyValue, "DSAKeyValue in KeyValue"},
            {"p256", ecKeyValue, "ECKeyValue"},       {"p521", ecKeyValue, "ECKeyValue"},
            {"k256", ecKeyValue, "ECKeyValue"},       {"bp384", ecKeyValue, "ECKeyValue"},
            {"p256", ecdsaKeyValue, "ECDSAKeyValue"}, {"p521", ecdsaKeyValue, "ECDSAKeyValue"},
            {"k256", ecdsaKeyValue, "ECDSAKeyValue"},
        };
        for (const Case& c : cases) {
            const KeyComponents components(ws->read(c.keyName + ".pub.der"));
            const RefPtr<ClsPublicKey> key = newKey();
            ASSERT_TRUE(loadXml(*key, c.form(components))) << c.keyName << " as " << c.formName;
            EXPECT_EQ(spkiHex(*key), expectedSpkiHex(c.keyName)) << c.keyName << " as " << c.formName;
        }
    }
    {
        const RefPtr<ClsPublicKey> key = newKey();
        XString xml(rsaKeyValue(KeyComponents(ws->read("rsa.pub.der"))));
        EXPECT_TRUE(key->LoadXml(xml));
        EXPECT_TRUE(key->get_LastMethodSuccess());
        XString type;
        key->get_KeyType(type);
        EXPECT_EQ(type.view(), "rsa");
        EXPECT_EQ(key->get_KeySize(), 2048);

        XString bad("<RSAKeyValue><Modulus>AQAB</Modulus></RSAKeyValue>");
        EXPECT_FALSE(key->LoadXml(bad));
        EXPECT_NE(key->lastErrorText().find("Exponent"), std::string::npos) << key->lastErrorText();
        key->get_KeyType(type);
        EXPECT_EQ(type.view(), "empty") << "a failed load must not leave the earlier key";
    }
    {
        const KeyComponents p256(ws->read("p256.pub.der"));
        const std::string point = p256.pointBase64();
        std::string alteredPoint = point;
        alteredPoint[point.size() - 6] = alteredPoint[point.size() - 6] == 'A' ? 'B' : 'A';
        const std::string offCurve = test_support::replaced(ecKeyValue(p256), point, alteredPoint);
        const std::string unknownCurve = test_support::replaced(ecKeyValue(p256), "1.2.840.10045.3.1.7", "1.2.3.4");
        const std::string notDecimal = test_support::replaced(ecdsaKeyValue(p256), "X Value=\"", "X Value=\"x");

        const std::string rejected[] = {
            "<RSAKeyValue><Modulus>AQAB</Modulus></RSAKeyValue>",
            "<RSAKeyValue><Modulus>!!notbase64</Modulus><Exponent>AQAB</Exponent></RSAKeyValue>",
            "<DSAKeyValue><P>AQAB</P><Q>AQAB</Q><Y>AQAB</Y></DSAKeyValue>",
            "<KeyValue><X509Data/></KeyValue>",
            "<RSAKeyValue><Modulus>",
            offCurve,
            unknownCurve,
            notDecimal,
        };
        for (const std::string& xml : rejected) {
            const RefPtr<ClsPublicKey> key = newKey();
            XString text(xml);
            LogBase log;
            EXPECT_FALSE(key->loadXml(text, log)) << xml;
            EXPECT_TRUE(log.hasErrors()) << xml;
            EXPECT_EQ(key->keyType(), key_type::kNone) << xml;
        }
    }
}

TEST_F(ClsPublicKeyTest, KeyFilesAndDer) {
    {
        struct Expect {
            const char* name;
            int type;
            int bits;
        };
        for (const Expect& e : {Expect{"rsa", key_type::kRsa, 2048}, Expect{"dsa", key_type::kDsa, 2048},
                                Expect{"p256", key_type::kEcc, 256}, Expect{"p521", key_type::kEcc, 521}}) {
            const RefPtr<ClsPublicKey> key = newKey();
            ASSERT_TRUE(loadFile(*key, std::string(e.name) + ".pub.pem")) << e.name;
            EXPECT_EQ(key->keyType(), e.type) << e.name;
            EXPECT_EQ(key->bitLength(), e.bits) << e.name;
            EXPECT_EQ(key->getRsaKey() != nullptr, e.type == key_type::kRsa) << e.name;
            EXPECT_EQ(key->getDsaKey() != nullptr, e.type == key_type::kDsa) << e.name;
            EXPECT_EQ(key->getEccKey() != nullptr, e.type == key_type::kEcc) << e.name;
        }
    }
    {
        ASSERT_TRUE(ws->run("rsa -pubin -in rsa.pub.pem -RSAPublicKey_out -outform DER -out rsa.pkcs1.der"));
        for (const char* file : {"rsa.pub.der", "rsa.pkcs1.der", "p256.pub.der", "dsa.pub.der"}) {
            const RefPtr<ClsPublicKey> key = newKey();
            DataBuffer der = ws->read(file);
            LogBase log;
            ASSERT_TRUE(key->loadAnyDer(der, log)) << file << "\n" << log.renderText();
            const std::string name = std::string(file).substr(0, std::string(file).find('.'));
            EXPECT_EQ(spkiHex(*key), expectedSpkiHex(name)) << file;
        }
        DataBuffer truncated = ws->read("rsa.pub.der");
        truncated = test_support::bufferOf(truncated.view().substr(0, truncated.getSize() - 1));
        DataBuffer trailing = ws->read("rsa.pub.der");
        trailing.append("\0", 1);
        for (DataBuffer* der : {&truncated, &trailing}) {
            const RefPtr<ClsPublicKey> key = newKey();
            LogBase log;
            EXPECT_FALSE(key->loadAnyDer(*der, log));
            EXPECT_EQ(key->keyType(), key_type::kNone);
        }
    }
    {
        ASSERT_TRUE(ws->make("cert", Workshop::Request("/CN=crypto-test").keyOf("p256")));
        ASSERT_TRUE(ws->run("rsa -pubin -in rsa.pub.pem -RSAPublicKey_out -out rsa.pkcs1.pem"));
        ws->write("key-then-cert.pem",
                  test_support::readFile(ws->path("rsa.key")) + test_support::readFile(ws->path("cert.pem")));
        const std::pair<const char*, const char*> files[] = {
            {"rsa.pub.pem", "rsa"}, {"rsa.pkcs1.pem", "rsa"}, {"dsa.pub.der", "dsa"},
            {"cert.pem", "p256"},   {"cert.der", "p256"},     {"key-then-cert.pem", "p256"},
        };
        for (const auto& [file, keyName] : files) {
            const RefPtr<ClsPublicKey> key = newKey();
            ASSERT_TRUE(loadFile(*key, file)) << file;
            EXPECT_EQ(spkiHex(*key), expectedSpkiHex(keyName)) << file;
        }
        ws->write("garbage.pem", "-----BEGIN PUBLIC KEY-----\nAAAA\n-----END PUBLIC KEY-----\n");
        for (const char* file : {"garbage.pem", "missing.pem", "dsa.params"}) {
            const RefPtr<ClsPublicKey> key = newKey();
            EXPECT_FALSE(loadFile(*key, file)) << file;
        }
    }
}
