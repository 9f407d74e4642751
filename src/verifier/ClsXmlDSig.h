#pragma once

#include "ades/AdesContext.h"
#include "ades/AdesReport.h"
#include "companion/base/ClsBinData.h"
#include "companion/base/ClsStringBuilder.h"
#include "companion/pki/CertificateStore.h"
#include "companion/text/ExtPtrArray.h"
#include "companion/text/XString.h"
#include "companion/xml/XmlSigPositions.h"
#include "keys/KeyResolver.h"
#include "verifier/LoadedDocument.h"
#include "verifier/ReferenceOutcome.h"
#include "verifier/SignatureMethodParams.h"
#include "verifier/SignerIdentity.h"
#include "verifier/VerificationPolicy.h"
#include "verifier/VerificationReport.h"
#include "verifier/_clsXmlDSigBase.h"

#include <memory>
#include <span>
#include <vector>

class CanonSink;
class ClsHttp;
class ClsJsonObject;
class ClsPublicKey;
class ClsStringArray;
class FirstErrorLog;
class DSigRefExternalData;
class XmlCanon;
struct XmlSigPositions;
class ClsXmlCertVault;
class HashedStringSet;
class X509Certificate;
class ClsXml;
class XmlDocument;
class XPathNodeSet;
class DSigReference;
struct ReferenceRun;
struct DigestAttempt;
struct ReferenceCheck;
struct AdesFacts;
struct SigningCertificateProperty;
struct ValidationData;
struct XadesTimestampOutcome;
struct XadesElements;

// Verifies the XML digital signatures of one loaded document.
class ClsXmlDSig : public _clsXmlDSigBase, public CertificateStoreHolder {
public:
    static ClsXmlDSig* createNewCls();
    ClsXmlDSig();
    ~ClsXmlDSig() override;

    // Properties.
    int get_Selector() const { return m_selector; }
    void put_Selector(int index);
    int get_NumSignatures();
    int get_NumReferences();
    bool get_WithComments() const { return m_withComments; }
    void put_WithComments(bool on) { m_withComments = on; }
    bool get_IgnoreExternalRefs() const { return m_ignoreExternalRefs; }
    void put_IgnoreExternalRefs(bool on) { m_ignoreExternalRefs = on; }
    int get_RefFailReason() const { return m_refFailReason; }
    void get_ExternalRefDirs(XString& out);
    void put_ExternalRefDirs(const XString& dirs);
    void get_VerifyOptions(XString& out);
    void put_VerifyOptions(const XString& options);

    // Loading.
    bool LoadSignature(XString& xml);
    bool LoadSignatureSb(ClsStringBuilder& sb);
    bool LoadSignatureBd(ClsBinData& bd);

    // Canonicalization as a service: the element a fragment id names (or the
    // whole document), and the whole document.
    bool CanonicalizeFragment(XString& xml, XString& fragmentId, XString& version, XString& prefixList,
                              bool withComments, XString& outXml);
    bool CanonicalizeXml(XString& xml, XString& version, bool withComments, XString& outXml);

    // Verification of the selected signature, with or without its reference
    // digests; and of one reference digest.
    bool VerifySignature(bool verifyReferenceDigests);
    bool VerifyReferenceDigest(int index);

    // Data for external references of the selected signature, per reference
    // index (0..100), and queries about reference URIs.
    bool SetRefDataFile(int index, XString& path);
    bool SetRefDataSb(int index, ClsStringBuilder& text, XString& charset);
    bool SetRefDataBd(int index, ClsBinData& data);
    bool ReferenceUri(int index, XString& uri);
    bool IsReferenceExternal(int index);

    // XAdES encapsulated timestamps of the selected signature.
    bool HasEncapsulatedTimeStamp();
    bool AddEncapsulatedTimeStamp(ClsJsonObject& tsaOptions, ClsStringBuilder& out);
    void SetHttpObj(ClsHttp& http);

    // Keys the caller supplies: a public key for the selected signature, and
    // the secret of HMAC signature methods.
    bool SetPublicKey(ClsPublicKey& key);
    bool SetHmacKey(XString& key, XString& encoding);
    // A key tried for every signature, after those of KeyInfo and the one
    // set for the signature's index; the caller may give several.
    void addCallerKey(ClsPublicKey& key);

    // The AdES validation of the selected signature, after VerifySignature:
    // its XAdES properties, counter-signatures, chain and revocation, and
    // the indication. A signer KeyInfo does not name is looked for by its
    // SigningCertificate digest, and the signature verified again with it.
    AdesReport ValidateAdes(const AdesContext& context);

    // The facts of the last VerifySignature: the stage that decided, what
    // each reference covered, the key that verified, the further attempts
    // used, the limit hit.
    const VerificationReport& report() const { return m_report; }
    // Why the last load, canonicalization, GetCerts or timestamp addition
    // failed, in one line (the first error it logged); empty after one that
    // succeeded.
    const std::string& lastFailure() const { return m_lastFailure; }
    // Why the last AddEncapsulatedTimeStamp got no token from the authority
    // (the call itself succeeds and writes the block without one).
    const std::string& timestampRequestError() const { return m_timestampRequestError; }

    // Internal operations; the caller holds the lock and passes the log.
    bool loadSignature(XString& xml, LogBase& log);
    // Shared body of LoadSignatureBd; takes over the bytes.
    bool loadSignatureBd(DataBuffer& bytes, LogBase& log);
    // Sets the profile flags from the markers found in the loaded text.
    void detectSpecial(uint64_t foundMarkers, LogBase& log);
    // Which profile markers occur in the text, one bit per marker.
    static uint64_t findProfileMarkers(const SharedText& text);
    bool checkSetZatca(LogBase& log);
    bool checkSetMyInvois(LogBase& log);
    bool selectBySignatureId(StringBuffer& id, LogBase& log);
    bool selectedSignatureId(StringBuffer& out);
    ClsXml* getReference(int index, LogBase& log);
    // Reference `index` parsed, with its URI trimmed; false when there is none.
    bool parsedReference(int index, DSigReference& ref, StringBuffer& uri, LogBase& log);
    // Reads the policy UncommonOptions and VerifyOptions set, once per
    // operation; a VerifyOptions value its member cannot take stops the
    // operation where its limits are checked.
    void readPolicy();
    // False (logged) when the policy read has such a value.
    bool policyIsValid(LogBase& log) const;
    const VerificationPolicy& policy() const { return m_policy; }
    // Starts the work budget of one verification of the loaded document.
    void startWorkBudget();
    const WorkBudget& work() const { return m_work; }
    int numReferences(ClsXml& signature, LogBase& log);
    bool getSignedInfoField(const char* child, const char* attr, StringBuffer& out, LogBase& log);
    // The SignedInfo child with this local name (a new reference), or null.
    ClsXml* signedInfoChild(const char* child, LogBase& log);
    bool getSignatureMethod(StringBuffer& out, LogBase& log);
    bool getCanonicalizationMethod(StringBuffer& alg, StringBuffer& prefixList, LogBase& log);
    bool getSignatureValue(StringBuffer& out, LogBase& log);

    // The enveloped-signature transform: cuts the selected signature (and the
    // signatures written directly behind it) out of the text.
    bool transformEnvelopedSignature(StringBuffer& xml, DSigReference& ref, LogBase& log);
    bool removeSignatureAndFollowingSigs(StringBuffer& xml, unsigned start, unsigned length);
    // Where the enveloped-signature transform cuts: the signature and those
    // written directly behind it. False when nothing is to be cut.
    struct EnvelopedRange {
        unsigned start = 0;
        unsigned length = 0;
        unsigned signatureLength = 0;
    };
    bool envelopedSignatureRange(const StringBuffer& xml, DSigReference& ref, EnvelopedRange& range, LogBase& log);
    static unsigned signatureAndFollowingLength(std::string_view text, unsigned start, unsigned length);

    // Reference digests: one reference with every attempt, one attempt, and
    // the same-document digest.
    bool verifyReferenceDigest(int index, ReferenceCheck& check, ReferenceRun& run, LogBase& log);
    bool verifyReferenceDigest2(int index, const DigestAttempt& attempt, ReferenceCheck& check, ReferenceRun& run,
                                LogBase& log);
    // The reading the loaded document's signer profile asks for.
    DigestAttempt profileAttempt(FurtherAttempt kind) const;
    // The literal attempt with the attribute-sorting retry, and the further
    // attempt with the node-set the W3C recommendation selects.
    bool verifyWithSortBugRetry(int index, ReferenceCheck& check, ReferenceRun& run, LogBase& log);
    bool verifyByStandardSelection(int index, ReferenceCheck& check, ReferenceRun& run, LogBase& log);
    // The further attempt for an external reference whose bytes mismatched:
    // its transforms applied to its data.
    bool verifyWithExternalTransforms(int index, ReferenceCheck& check, ReferenceRun& run, LogBase& log);
    bool verifyWithCallerData(int index, ReferenceCheck& check, ReferenceRun& run, LogBase& log);
    bool digestTransformedExternalData(const DSigRefExternalData& data, DSigReference& ref,
                                       const DigestAttempt& attempt, DataBuffer& digest, bool& recognisedXPath,
                                       LogBase& log);
    bool readExternalData(const DSigRefExternalData& data, StringBuffer& out, LogBase& log);
    bool applyExternalTransforms(DSigReference& ref, StringBuffer& data, const DigestAttempt& attempt,
                                 bool& recognisedXPath, LogBase& log);
    bool canonicalizeExternalData(ClsXml* transform, StringBuffer& data, StringBuffer& algorithm,
                                  const DigestAttempt& attempt, LogBase& log);
    std::unique_ptr<XPathNodeSet> externalNodeSet(const StringBuffer& data, LogBase& log);
    // Further attempts for signers that signed a part of the document as a
    // document of its own: the SII DTE, DigiDoc's SignedDoc parts.
    bool verifyByFieldSignerRules(int index, ReferenceCheck& check, ReferenceRun& run, LogBase& log);
    bool verifyInSiiDteOwnContext(int index, ReferenceCheck& check, ReferenceRun& run, LogBase& log);
    bool verifyBySignedDocRules(int index, LogBase& log);
    // One attempt at a "" or "#id" reference, and at an external one.
    bool verifyNamedSameDocumentReference(int index, StringBuffer& uri, DSigReference& ref,
                                          const DigestAttempt& attempt, ReferenceCheck& check, ReferenceRun& run,
                                          LogBase& log);
    bool verifyExternalReference(int index, const StringBuffer& uri, DSigReference& ref, const DigestAttempt& attempt,
                                 ReferenceCheck& check, ReferenceRun& run, LogBase& log);
    bool verifyInternalReference(StringBuffer& uri, DSigReference& ref, const DigestAttempt& attempt,
                                 ReferenceCheck& check, LogBase& log);
    // The same-document digest, or during a run the outcome of an identical
    // earlier reference.
    bool verifySameDocumentReference(int index, StringBuffer& uri, DSigReference& ref, const DigestAttempt& attempt,
                                     ReferenceCheck& check, ReferenceRun& run, LogBase& log);
    DSigRefExternalData* getExtRef(int index, bool create, LogBase& log);
    // The elements of the loaded document that a same-document URI names by
    // identifier (none for the whole document or an unknown one).
    std::span<const uint32_t> elementsNamedBy(std::string_view uri);
    bool identifierIsUnique(std::string_view uri, LogBase& log);
    DSigRefExternalData* clearedExtRef(int index, LogBase& log);
    bool getReferenceUri(int index, StringBuffer& uri, LogBase& log);

    // Encapsulated timestamps: presence, verification over the raw signature
    // text, raw-text extractors, and addition through a TSA.
    bool hasEncapsulatedTimeStamp(LogBase& log);
    bool verifyEncapsulatedTimeStamp(StringBuffer& sigText, ClsXml& sigDom, LogBase& log);
    bool captureUniqueTagContent(const char* tag, StringBuffer& xml, StringBuffer& out);
    bool captureUniqueAttrContent(const char* tag, const char* attr, StringBuffer& xml, StringBuffer& out,
                                  LogBase& log);
    bool addEncapsulatedTimeStamp(ClsJsonObject& tsaOptions, XString& out, LogBase& log);
    static void appendXmlAttrId(StringBuffer& out);

    // AdES: every XAdES timestamp of the signature's properties (over its
    // data objects, its SignatureValue, its validation data, the archive),
    // each token verified against what it covers. Called after
    // VerifySignature of the selected signature, whose reference outcomes it
    // reads; charges that run's work budget.
    std::vector<XadesTimestampOutcome> verifyXadesTimestamps(const XadesElements& e, const AdesContext& context,
                                                             LogBase& log);

    // Adds a vault's certificates to the store that KeyInfo references are
    // resolved against.
    bool UseCertVault(ClsXmlCertVault& vault);
    // The selected signature's KeyInfo element (the caller releases it).
    ClsXml* GetKeyInfo();
    // The certificates KeyInfo carries or refers to, as base64 DER.
    bool GetCerts(ClsStringArray& out);
    // The first public key KeyInfo yields (the caller releases it), or null.
    ClsPublicKey* GetPublicKey();

    // Key resolution: the candidate public keys of the selected signature,
    // from KeyInfo (through the key resolver) and the caller.
    ClsXml* getKeyInfo(LogBase& log);
    bool getPublicKey(bool keyInfoOnly, ExtPtrArrayRc& keys, LogBase& log);
    // A resolver over this verifier's certificate store and document.
    KeyResolver keyResolver();

    // What the signature-value check needs: the SignedInfo hash and the
    // values it is checked against.
    struct SignedInfoCheck {
        int hashAlg = 0;
        int keyType = 0;
        DataBuffer hash;              // H: the hash of the canonical SignedInfo
        DataBuffer signatureValue;    // S: the decoded SignatureValue
        StringBuffer canonical;       // C: the canonical SignedInfo
        StringBuffer signatureBase64; // V: the SignatureValue text
        StringBuffer method;          // M: the SignatureMethod URI
        StringBuffer canonicalizationMethod;
        int hmacOutputBits = signature_method::kNoHmacOutputLength; // HMACOutputLength
        signature_method::PssParams pss;                            // read for the "#rsa-pss" method only
        EddsaForm eddsa;                                            // read for the "#eddsa-" methods only
    };
    // Checks the signature value with the HMAC key or each candidate public
    // key in turn. `ended` is set when the check could not be carried out at
    // all (no key), in which case no outcome line is written.
    bool verifySignatureValue(const SignedInfoCheck& check, bool& ended, LogBase& log);
    void noteSigner(const SignedInfoCheck& check, const ClsPublicKey* key, const ExtPtrArrayRc& candidates);
    bool noteRefusal(bool mismatch, const std::string& error);
    // Names in the log the algorithm and the key path the report holds.
    void logSigner(LogBase& log) const;

    // The signer profile of the loaded document, for callers that report it.
    const SignerProfile& profileFlags() const { return m_profile; }
    // The tree of the loaded text, which canonicalization and signature
    // location read instead of scanning the text again (null when none).
    const XmlDocument* loadedTree() const;
    // The selected signature element (borrowed), or null.
    ClsXml* selectedSignature() const;
    // The CRLs the selected signature carries in its KeyInfo, as DER.
    std::vector<std::vector<uint8_t>> keyInfoCrls() const;
    // Where the selected signature lies in `text` (the loaded text, or one
    // edited from it), confirmed by the search by its Id or else by its first
    // reference's digest value.
    bool locateSelectedSignature(std::string_view text, const StringBuffer& sigId, const StringBuffer& digestValue,
                                 XmlSigPositions& out, LogBase& log);

private:
    // The verification driver and its stages.
    bool verifySignature(bool verifyReferenceDigests, LogBase& log);
    // Ends the run at `stage` for `reason` (logged as an error).
    bool fail(VerificationStage stage, std::string_view reason, LogBase& log);
    // Ends the run at SignedInfo when its method is one never verified here.
    void refuseUnsupportedMethod(LogBase& log);
    // A limit over which the run stops: recorded, logged.
    bool withinLimit(uint64_t count, uint64_t limit, std::string_view what, std::string_view option, LogBase& log);
    bool verifyReferenceStage(LogBase& log);
    // Reads the limits and checks the selected signature against them: its
    // references, each one's transforms, its SignatureValue.
    bool withinVerificationLimits(ClsXml& signature, LogBase& log);
    bool verifyTimeStampStage(const XmlSigPositions& locate, LogBase& log);
    // The time the signature claims, from a verified timestamp or a
    // SigningTime that a matched reference covers.
    void noteSigningTime();
    bool signedInfoToCheck(const XmlSigPositions& locate, SignedInfoCheck& check, LogBase& log);
    bool signedInfoCanonicalizer(XmlCanon& canon, StringBuffer& method, LogBase& log);
    // The signature value checked once more with SignedInfo canonicalized in
    // its SII DTE's own context.
    bool verifySignatureValueInSiiDteOwnContext(const XmlSigPositions& locate, SignedInfoCheck& check, bool& ended,
                                                LogBase& log);
    // The loaded tree when it was parsed from the loaded text as it stands.
    const XmlDocument* loadedTreeOfText() const;
    // Whether `text` is the loaded document's own bytes (shared, unedited).
    bool isLoadedText(std::string_view text) const;
    bool locateInLoadedText(const StringBuffer& sigId, const StringBuffer& digestValue, XmlSigPositions& out,
                            LogBase& log);
    bool canonicalSignedInfo(XmlCanon& canon, unsigned signedInfoLoc, StringBuffer& out, LogBase& log);
    bool signatureValueToCheck(SignedInfoCheck& check, LogBase& log);
    bool signatureMethodParamsToCheck(SignedInfoCheck& check, LogBase& log);
    void signedHash(SignedInfoCheck& check);

    // What a reference's Transforms chain did, for the digest step.
    struct TransformChain {
        int count = 0;
        bool envelopedSeen = false;
        bool canonicalizationSeen = false;
        bool base64Seen = false;
        bool nodeSetSeen = false;     // an expression was evaluated: the chain carried a node-set
        bool recognisedXPath = false; // an expression was carried out as a text edit
        // What an evaluated node-set kept, when not the whole of what the URI named.
        std::optional<ReferenceSelection> selection;
    };
    std::optional<ReferenceSelection> selectionOf(const XPathNodeSet& nodes) const;
    bool canStreamDigest(const DSigReference& ref) const;
    bool applyTransforms(StringBuffer& uri, DSigReference& ref, StringBuffer& xml, const DigestAttempt& attempt,
                         TransformChain& chain, CanonSink* sink, LogBase& log);
    // The node-set an evaluated XPath, XPath Filter 2.0 or XPointer transform
    // starts from, and its rendering by a canonicalization.
    std::unique_ptr<XPathNodeSet> startNodeSet(StringBuffer& uri, DSigReference& ref, const StringBuffer& xml,
                                               CanonShortcut& pending, LogBase& log);
    bool applyNodeSetTransform(XPathNodeSet& nodes, ClsXml& transform, const StringBuffer& algorithm, LogBase& log);
    void renderNodeSet(const XPathNodeSet& nodes, ClsXml* transform, const StringBuffer& algorithm, CanonSink* sink,
                       StringBuffer& xml, LogBase& log);
    bool retryWithXPathEvaluator(StringBuffer& uri, DSigReference& ref, const DigestAttempt& attempt,
                                 ReferenceCheck& check, LogBase& log);
    // The enveloped-signature transform, or when a canonicalization of the
    // untouched document follows, the cut left to it through `pending`.
    void envelope(StringBuffer& xml, DSigReference& ref, bool canonicalizationFollows, bool stpDocumentOnly,
                  CanonShortcut& pending, LogBase& log);
    // The ZATCA retry, a hex-written stored digest and AllowXmlDigestError.
    bool digestMatchesOnFallback(StringBuffer& uri, DSigReference& ref, const DigestAttempt& attempt,
                                 bool hasSignedProperties, StringBuffer& calculated, ReferenceCheck& check,
                                 LogBase& log);

    AdesReport validateAdes(const AdesContext& context, LogBase& log);
    bool verifyWithNamedCertificate(const SigningCertificateProperty& property, const ValidationData& data,
                                    const AdesContext& context, LogBase& log);
    void checkCounterSignatures(const XmlDocument& doc, const XadesElements& e, AdesFacts& facts, AdesReport& report,
                                LogBase& log);
    CounterSignatureOutcome verifyCounterSignature(const XmlDocument& doc, uint32_t counterSignature,
                                                   uint32_t parentValue, LogBase& log);
    // The index of the signature whose start tag is at the offset, or -1.
    int signatureIndexAt(uint32_t offset) const;
    static void logAdesReport(const AdesReport& report, LogBase& log);
    // The key of the certificate SigningCertificate names, tried while set.
    RefPtr<ClsPublicKey> m_signingCertificateKey;

    void releaseDocument();
    void resetLoadedDocument();
    bool parseLoadedText(LogBase& log);

    bool m_withComments = false;
    bool m_ignoreExternalRefs = false;
    int m_refFailReason = 0;
    LoadedDocument m_document;
    XString m_externalRefDirs;
    ExtPtrArrayRc m_publicKeys;
    ExtPtrArrayRc m_callerKeys;
    ExtPtrArray m_refExternalData;
    bool m_reservedFlag = true;
    static void logAmbiguousLocation(const SignatureLocateMemo& memo, LogBase& log);
    VerificationReport m_report;
    std::string m_lastFailure;
    std::string m_timestampRequestError;
    bool noteFailure(bool ok, const FirstErrorLog& errors);
    // The genTime of the timestamp this run verified, as xsd:dateTime.
    std::string m_timestampTime;
    const SignatureReferences& selectedReferences();
    VerificationPolicy m_policy;
    DataBuffer m_hmacKey;
    int m_selector = 0;
};
