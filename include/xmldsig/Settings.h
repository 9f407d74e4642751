#pragma once

#include "xmldsig/Export.h"

#include "xmldsig/Status.h"

#include <cstdint>
#include <ctime>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace xmldsig {

struct SettingsData;

// Bounds on the work one document may ask of a verifier; a document over one
// fails with the limit named. Each must be at least 1.
struct Limits {
    std::uint64_t maxReferences = 1000;
    std::uint64_t maxTransforms = 16; // per reference
    std::uint64_t maxSignatures = 1000;
    std::uint64_t maxSignatureValueBytes = 1u << 20;
    std::uint64_t maxCertificateBytes = 1u << 20;
    std::uint64_t maxExternalFileBytes = 64u << 20;
    std::uint64_t maxXPathNodes = 50'000'000; // nodes one XPath transform may visit
    std::uint64_t maxWorkUnits = 20'000'000;  // work of one verification, beyond a unit per byte of the document
    std::uint64_t maxReportedElements = 16;   // top elements listed for an XPath-selected reference
};

// Accommodations of particular signers, each off unless asked for.
enum class Accommodation {
    Zatca,                       // Saudi ZATCA e-invoices
    MyInvois,                    // Malaysian MyInvois documents
    VerifyEncapsulatedTimeStamp, // verify a XAdES SignatureTimeStamp before the value
    AllowXmlDigestError,         // accept a reference whose digest does not match
};

// What a verification uses beyond the document: keys, certificates, trust
// anchors, the HMAC secret, external data, profile options and limits, and
// which signatures to verify. Files are read when they are added, so a bad
// file is reported there. Copies share what was loaded; once configured, one
// object may be used by any number of threads at once (as long as none
// changes it meanwhile).
class XMLDSIG_API Settings {
public:
    Settings();
    ~Settings();
    Settings(const Settings&);
    Settings& operator=(const Settings&);
    Settings(Settings&&) noexcept;
    Settings& operator=(Settings&&) noexcept;

    // Keys and certificates.
    // A public key or certificate (PEM or DER) tried for every signature,
    // after what KeyInfo yields; several may be added.
    Status addKeyFile(std::string_view path);
    // Certificates (a file, a bundle or a folder) that KeyInfo references are
    // looked up in, and that a chain to a trust anchor may pass through.
    Status addCertificates(std::string_view path);
    // The secret of HMAC signature methods; `encoding` is "ascii", "hex" or
    // "base64".
    Status setHmacKey(std::string_view secret, std::string_view encoding = "ascii");

    // Trust: the signer's certificate must chain to one of these (files,
    // bundles, folders; PEM or DER), checked against the CRLs given, at the
    // time set here, else the time the signature states, else now.
    Status addTrustAnchors(std::string_view path);
    Status addCrls(std::string_view path);
    void setVerificationTime(std::optional<std::time_t> at);
    // "2024-05-01T12:00:00Z", an offset, or a bare date.
    Status setVerificationTime(std::string_view xsdDateTime);

    // AdES validation (ETSI EN 319 102-1) of each signature, its indication
    // in the result's `ades`; off by default. A signature policy's document
    // is checked against the digest a SignaturePolicyIdentifier states: tied
    // to that identifier when one is given, else to the policy whose
    // identifier ends with the file's name, else (alone) to any policy.
    // Online: revocation is fetched from the OCSP responders and CRL
    // distribution points certificates name; nothing touches the network
    // otherwise.
    void setAdesValidation(bool on);
    Status addPolicyDocument(std::string_view path, std::string_view identifier = {});
    void setOnline(bool on);

    // External references: folders their relative URIs are looked up in
    // (the document's own folder is added for a file), data for a reference
    // index, or missing data ignored.
    void addExternalRefDir(std::string_view dir);
    void setRefDataFile(int referenceIndex, std::string_view path);
    void setIgnoreExternalRefs(bool on);

    // Limits, signer accommodations and the timestamp authority's chain
    // check; a limit of 0 is refused, naming it.
    Status setLimits(const Limits& limits);
    const Limits& limits() const noexcept;
    void allow(Accommodation accommodation, bool on = true);
    // A timestamp token's signer must chain to the certificates given and be
    // fit for time stamping; otherwise only the token's signature is checked.
    void setValidateTsaChain(bool on);
    // The same as text: the accommodations are the tokens "ZATCA",
    // "MYINVOIS", "VerifyEncapsulatedTimeStamp", "AllowXmlDigestError"
    // anywhere in it; the limits and the chain check a JSON object
    // ({"MaxReferences": 1000, "ValidateTsaChain": true, ...}), with the
    // defaults for what it leaves out.
    void setOptions(std::string_view options);
    Status setVerifyOptions(std::string_view json);

    // Which signatures: the one at an index (0 by default), the one with an
    // Id, or all; and whether reference digests are checked (default yes).
    void selectIndex(int index);
    void selectId(std::string_view id);
    void selectAll();
    void setCheckReferences(bool on);

    // The log each result carries: text (on by default), JSON, verbose.
    void setLogText(bool on);
    void setLogJson(bool on);
    void setVerboseLog(bool on);

    // For the verifier.
    const SettingsData& data() const noexcept { return *m_data; }

private:
    SettingsData& mutableData();
    Status addTrustFile(std::vector<std::string> SettingsData::*paths, std::string_view path, Errc failure);
    std::shared_ptr<SettingsData> m_data;
};

} // namespace xmldsig
