// AdES validation of XAdES signatures made at run time by the trust
// fixtures' signers: each forgery a relying party could be shown, with the
// indication it must give, and the signatures that must pass.
#include "support/AdesLab.h"
#include "support/RevocationLab.h"
#include "support/Signing.h"
#include "support/TimestampTestSupport.h"

#include <gtest/gtest.h>

namespace {

using ades_test::AdesLab;
using ades_test::indicationOf;
using ades_test::verdictOf;
using ades_test::XadesParts;
using trust_test::Signer;

const AdesLab& lab() {
    return AdesLab::shared();
}

TEST(AdesValidation, AGoodSignerPassesAndTheLevelAndPropertiesAreReported) {
    XadesParts parts;
    parts.dataObjectProperties =
        R"(<xades:DataObjectFormat ObjectReference="#ref-0"><xades:MimeType>text/xml</xades:MimeType></xades:DataObjectFormat>)";
    const xmldsig::SignatureResult r = lab().validate(lab().sign(Signer::Good, parts));
    EXPECT_EQ(indicationOf(r), "TOTAL_PASSED") << verdictOf(r);
    EXPECT_EQ(r.ades->level, "XAdES-BASELINE-B");
    EXPECT_EQ(r.ades->properties.signingTime, ades_test::signingTimeNow());
    ASSERT_EQ(r.ades->properties.dataObjectFormats.size(), 1u);
    EXPECT_EQ(r.ades->properties.dataObjectFormats[0].reference, 0);
    EXPECT_EQ(r.ades->properties.dataObjectFormats[0].mimeType, "text/xml");

    parts.dataObjectProperties = test_support::replaced(parts.dataObjectProperties, "#ref-0", "#elsewhere");
    EXPECT_EQ(indicationOf(lab().validate(lab().sign(Signer::Good, parts))), "TOTAL_FAILED/FORMAT_FAILURE");

    xmldsig::Settings noAnchors;
    noAnchors.setAdesValidation(true);
    EXPECT_EQ(indicationOf(lab().validate(lab().sign(Signer::Good), noAnchors)),
              "INDETERMINATE/NO_CERTIFICATE_CHAIN_FOUND");
}

TEST(AdesValidation, SigningCertificateMustNameTheSigner) {
    XadesParts parts;
    parts.signingCertificate = lab().signingCertificateV2(lab().pki().intermediate());
    const xmldsig::SignatureResult r = lab().validate(lab().sign(Signer::Good, parts));
    EXPECT_TRUE(r.valid) << r.reason;
    EXPECT_EQ(indicationOf(r), "INDETERMINATE/NO_SIGNING_CERTIFICATE_FOUND") << verdictOf(r);
}

// Without a certificate in KeyInfo the signer is found by the digest its
// SigningCertificateV2 states, among the signature's CertificateValues.
TEST(AdesValidation, ASignerOnlyInCertificateValuesIsFoundByItsDigest) {
    const std::string der = test_support::readFile(lab().pki().certificate(Signer::Good));
    XadesParts parts;
    parts.certificateInKeyInfo = false;
    std::string pem = der.substr(der.find('\n') + 1);
    pem = pem.substr(0, pem.find("-----END"));
    parts.unsignedProperties = "<xades:CertificateValues><xades:EncapsulatedX509Certificate>" + pem +
                               "</xades:EncapsulatedX509Certificate></xades:CertificateValues>";
    const std::string signedXml = lab().sign(Signer::Good, parts);

    xmldsig::Settings plain;
    EXPECT_FALSE(xmldsig::verify(signedXml, plain).valid());
    const xmldsig::SignatureResult r = lab().validate(signedXml);
    EXPECT_TRUE(r.valid);
    ASSERT_TRUE(r.signer);
    EXPECT_EQ(r.signer->keySource, "certificate named by SigningCertificate");
    EXPECT_EQ(indicationOf(r), "TOTAL_PASSED") << verdictOf(r);
}

TEST(AdesValidation, WhatNoReferenceCoversIsSignedDataNotFound) {
    const std::string signedXml = lab().sign(Signer::Good);
    const std::string secondProperties = test_support::replaced(
        signedXml, "</xades:QualifyingProperties>",
        R"(<xades:SignedProperties Id="sp-2"><xades:SignedSignatureProperties><xades:SigningTime>2020-01-01T00:00:00Z</xades:SigningTime></xades:SignedSignatureProperties></xades:SignedProperties></xades:QualifyingProperties>)");
    const std::string enveloping = lab().signEnveloping(Signer::Good);
    EXPECT_EQ(indicationOf(lab().validate(enveloping)), "TOTAL_PASSED");
    const std::string forgedObject = test_support::replaced(
        enveloping, "</ds:Signature>",
        R"(<ds:Object><Order xmlns="urn:example:order">pay 1000 EUR</Order></ds:Object></ds:Signature>)");
    const std::string forgedManifest = test_support::replaced(
        enveloping, "</ds:Signature>",
        R"(<ds:Object><ds:Manifest Id="m-1"><ds:Reference URI="#obj-1"><ds:DigestMethod Algorithm="http://www.w3.org/2001/04/xmlenc#sha256"/><ds:DigestValue>AAAA</ds:DigestValue></ds:Reference></ds:Manifest></ds:Object></ds:Signature>)");
    for (const std::string& forged : {secondProperties, forgedObject, forgedManifest}) {
        const xmldsig::SignatureResult r = lab().validate(forged);
        EXPECT_TRUE(r.valid);
        EXPECT_EQ(indicationOf(r), "INDETERMINATE/SIGNED_DATA_NOT_FOUND") << verdictOf(r);
    }
}

TEST(AdesValidation, ACounterSignatureMustCoverItsParentsValue) {
    const std::string signedXml = lab().sign(Signer::Good);
    const xmldsig::SignatureResult good = lab().validate(lab().counterSign(signedXml, Signer::Good, "sv-1"));
    EXPECT_EQ(indicationOf(good), "TOTAL_PASSED") << verdictOf(good);
    ASSERT_EQ(good.ades->counterSignatures.size(), 1u);
    EXPECT_TRUE(good.ades->counterSignatures[0].valid);

    const xmldsig::SignatureResult other = lab().validate(lab().counterSign(signedXml, Signer::Good, "sp-1"));
    EXPECT_EQ(indicationOf(other), "INDETERMINATE/SIG_CONSTRAINTS_FAILURE") << verdictOf(other);
    ASSERT_EQ(other.ades->counterSignatures.size(), 1u);
    EXPECT_FALSE(other.ades->counterSignatures[0].valid);
}

TEST(AdesValidation, ThePolicyDigestIsCheckedWhenItsDocumentIsGiven) {
    test_support::TempDir dir;
    const std::string policy = "The signature policy of the test suite.\n";
    test_support::writeFile(dir.path() / "policy.txt", policy);
    test_support::writeFile(dir.path() / "other.txt", policy + "changed");
    XadesParts parts;
    parts.signedProperties =
        R"(<xades:SignaturePolicyIdentifier><xades:SignaturePolicyId><xades:SigPolicyId><xades:Identifier>urn:test:policy.txt</xades:Identifier></xades:SigPolicyId><xades:SigPolicyHash><ds:DigestMethod Algorithm="http://www.w3.org/2001/04/xmlenc#sha256"/><ds:DigestValue>)" +
        test_support::sha256Of(policy) +
        "</ds:DigestValue></xades:SigPolicyHash></xades:SignaturePolicyId></xades:SignaturePolicyIdentifier>";
    const std::string signedXml = lab().sign(Signer::Good, parts);

    const xmldsig::SignatureResult notGiven = lab().validate(signedXml);
    EXPECT_EQ(indicationOf(notGiven), "TOTAL_PASSED") << verdictOf(notGiven);
    EXPECT_EQ(notGiven.ades->properties.policyIdentifier, "urn:test:policy.txt");
    for (const auto& [file, expected] :
         {std::pair{"policy.txt", "TOTAL_PASSED"}, std::pair{"other.txt", "INDETERMINATE/POLICY_PROCESSING_ERROR"}}) {
        xmldsig::Settings settings = lab().settings();
        ASSERT_TRUE(settings.addPolicyDocument((dir.path() / file).string(), "urn:test:policy.txt").ok());
        const xmldsig::SignatureResult r = lab().validate(signedXml, settings);
        EXPECT_EQ(indicationOf(r), expected) << file << "\n" << verdictOf(r);
    }
}

// Validated in 2039, after the signer expired: a trusted signature timestamp
// made while it was valid is the proof that the signature existed then.
TEST(AdesValidation, ASignatureTimestampIsProofOfExistence) {
    const timestamp_test::TimestampLab tsaLab;
    const timestamp_test::LoopbackTsa tsa(tsaLab.identity("tsa"), tsaLab.dir());
    const std::string signedXml = lab().sign(Signer::Good);
    const timestamp_test::Stamped stamped = timestamp_test::addTimeStamp(signedXml, tsa.url());
    ASSERT_FALSE(stamped.text.empty()) << stamped.failure << stamped.requestError;
    xmldsig::Settings in2039 = lab().settings();
    ASSERT_TRUE(in2039.addTrustAnchors(tsaLab.cert("ca").string()).ok());
    ASSERT_TRUE(in2039.setVerificationTime("2039-06-01T00:00:00Z").ok());

    const xmldsig::SignatureResult r = lab().validate(stamped.text, in2039);
    EXPECT_EQ(indicationOf(r), "TOTAL_PASSED") << verdictOf(r);
    EXPECT_EQ(r.ades->level, "XAdES-BASELINE-T");
    ASSERT_EQ(r.ades->timestamps.size(), 1u);
    EXPECT_TRUE(r.ades->timestamps[0].tsaTrusted);
    EXPECT_EQ(r.ades->bestSignatureTime, r.ades->timestamps[0].time);
    EXPECT_EQ(indicationOf(lab().validate(signedXml, in2039)), "INDETERMINATE/OUT_OF_BOUNDS_NOT_REVOKED");
}

TEST(AdesValidation, AnExpiredSignerNeedsProofOfExistenceWhileItWasValid) {
    const std::string signedXml = lab().sign(Signer::Expired);
    EXPECT_EQ(indicationOf(lab().validate(signedXml)), "INDETERMINATE/OUT_OF_BOUNDS_NOT_REVOKED");
    xmldsig::Settings atThen = lab().settings();
    atThen.setVerificationTime(trust_test::TrustFixtures::kWhileExpiredWasValid);
    EXPECT_EQ(indicationOf(lab().validate(signedXml, atThen)), "TOTAL_PASSED");
}

} // namespace

namespace {

// Anchored at the root, whose CRL says the intermediate is good; the
// signers' own status comes from where each case says.
xmldsig::Settings withoutSignerCrl(bool online) {
    xmldsig::Settings settings;
    settings.setAdesValidation(true);
    settings.setOnline(online);
    EXPECT_TRUE(settings.addTrustAnchors(lab().pki().root().string()).ok());
    EXPECT_TRUE(settings.addCertificates(lab().pki().intermediate().string()).ok());
    EXPECT_TRUE(settings.addCrls(lab().pki().rootCrl().string()).ok());
    return settings;
}

TEST(AdesValidation, RevocationFromACrlFileEmbeddedValuesAndAnOcspResponder) {
    EXPECT_EQ(indicationOf(lab().validate(lab().sign(Signer::Revoked))), "INDETERMINATE/REVOKED_NO_POE");
    std::string crl = test_support::readFile(lab().pki().crl());
    crl = crl.substr(crl.find('\n') + 1);
    crl = crl.substr(0, crl.find("-----END"));
    const std::string crlInKeyInfo = test_support::replaced(lab().sign(Signer::Revoked), "</ds:X509Data>",
                                                            "<ds:X509CRL>" + crl + "</ds:X509CRL></ds:X509Data>");
    EXPECT_EQ(indicationOf(lab().validate(crlInKeyInfo, withoutSignerCrl(false))), "INDETERMINATE/REVOKED_NO_POE");

    const revocation_test::RevocationLab revocation;
    const auto signer = [&](const std::string& name) {
        return ades_test::SignerFiles{revocation.dir() / (name + ".key"), revocation.pem(name), true};
    };
    XadesParts embedded;
    embedded.unsignedProperties = "<xades:RevocationValues><xades:OCSPValues><xades:EncapsulatedOCSPValue>" +
                                  test_support::base64Of(revocation.response("ocsp-revoked", "responder")) +
                                  "</xades:EncapsulatedOCSPValue></xades:OCSPValues></xades:RevocationValues>";
    const xmldsig::SignatureResult r =
        lab().validate(lab().sign(signer("ocsp-revoked"), embedded), withoutSignerCrl(false));
    EXPECT_EQ(indicationOf(r), "INDETERMINATE/REVOKED_NO_POE") << verdictOf(r);
    ASSERT_FALSE(r.ades->chain.empty());
    EXPECT_EQ(r.ades->chain[0].revocationSource, "embedded OCSP response");

    for (const auto& [name, expected] :
         {std::pair{"ocsp-good", "TOTAL_PASSED"}, std::pair{"ocsp-revoked", "INDETERMINATE/REVOKED_NO_POE"},
          std::pair{"ocsp-down", "INDETERMINATE/TRY_LATER"}}) {
        const xmldsig::SignatureResult online = lab().validate(lab().sign(signer(name)), withoutSignerCrl(true));
        EXPECT_EQ(indicationOf(online), expected) << name << "\n" << verdictOf(online);
    }
    const xmldsig::SignatureResult offline = lab().validate(lab().sign(signer("ocsp-good")), withoutSignerCrl(false));
    EXPECT_EQ(indicationOf(offline), "INDETERMINATE/TRY_LATER") << verdictOf(offline);
}

} // namespace
