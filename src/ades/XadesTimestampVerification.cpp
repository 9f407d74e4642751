#include "ades/AdesContext.h"
#include "ades/AdesReport.h"
#include "ades/ReferenceOutputs.h"
#include "ades/TimestampCoveredInput.h"
#include "ades/TimestampImprintInput.h"
#include "ades/TimestampToken.h"
#include "ades/XadesElements.h"
#include "ades/XadesNames.h"
#include "ades/XadesTimestampElements.h"
#include "companion/log/LogContextExitor.h"
#include "companion/pki/TrustAnchors.h"
#include "companion/text/ContentCoding.h"
#include "verifier/ClsXmlDSig.h"

#include <ctime>
#include <vector>

using namespace xades_names;

namespace {

// What verifying each timestamp of one signature reads.
struct TimestampScope {
    const XmlDocument& doc;
    const StringBuffer& text;
    const XadesElements& e;
    ReferenceOutputs& references;
    CertificateStore& known;
    WorkBudget& work;
    const AdesContext& context;
};

// The TSA's chain at the token's time, intermediates from the token and the
// caller. Its revocation is not asked: CRLs given for the signer's
// authorities say nothing of the TSA's.
void checkTsa(const TimestampToken& token, const AdesContext& context, XadesTimestampOutcome& out) {
    if (!context.anchors || context.anchors->empty())
        return;
    if (!token.tsaCertificate) {
        out.tsaReason = "the token names no certificate of its authority";
        return;
    }
    std::vector<X509*> pool;
    for (const X509Ptr& cert : token.certificates)
        pool.push_back(cert.get());
    pool.insert(pool.end(), context.pool.begin(), context.pool.end());
    const ChainOutcome chain =
        context.anchors->chainOf(token.tsaCertificate.get(), pool, token.genTime.value_or(std::time(nullptr)));
    out.tsaTrusted = chain.trusted;
    out.tsaReason = chain.reason;
}

bool verifyToken(const TimestampScope& s, XadesTimestampElement timestamp, uint32_t encapsulated,
                 XadesTimestampOutcome& out, LogBase& log) {
    DataBuffer der;
    out.failure = XadesTimestampOutcome::Failure::Token;
    if (!ContentCoding::decodeBase64ToDb(trimmedContent(s.doc, encapsulated), der) || der.getSize() == 0) {
        out.reason = "the EncapsulatedTimeStamp is not base64";
        return false;
    }
    TimestampToken token;
    if (!TimestampToken::read(der, s.known, token, out.reason, log))
        return false;
    out.time = token.genTime;
    checkTsa(token, s.context, out);
    out.tsaCertificate = std::move(token.tsaCertificate);

    TimestampImprintInput input(s.doc, s.text, timestamp.element, token.hashAlg, s.work);
    out.failure = XadesTimestampOutcome::Failure::InputUnavailable;
    if (!addCoveredInput(s.doc, s.e, timestamp, s.references, input, out.reason, log))
        return false;
    out.failure = XadesTimestampOutcome::Failure::Imprint;
    if (!input.matches(token.imprint)) {
        out.reason = std::string("message imprint does not match ") + coveredInputName(timestamp.kind);
        return false;
    }
    out.failure = XadesTimestampOutcome::Failure::None;
    return true;
}

// One outcome per EncapsulatedTimeStamp, or one saying there is none.
void verifyTimestamp(const TimestampScope& s, XadesTimestampElement timestamp,
                     std::vector<XadesTimestampOutcome>& outcomes, LogBase& log) {
    const char* name = xadesTimestampElementName(timestamp.kind);
    LogContextExitor ctx(log, name);
    bool any = false;
    forEachXadesChild(s.doc, timestamp.element, "EncapsulatedTimeStamp", [&](uint32_t encapsulated) {
        any = true;
        XadesTimestampOutcome& out = outcomes.emplace_back();
        out.kind = timestamp.kind;
        out.element = timestamp.element;
        out.valid = verifyToken(s, timestamp, encapsulated, out, log);
        if (out.valid)
            log.LogInfo(std::string(name) + " verified.");
        else
            log.LogError(std::string(name) + ": " + out.reason);
    });
    if (any)
        return;
    XadesTimestampOutcome& out = outcomes.emplace_back();
    out.kind = timestamp.kind;
    out.element = timestamp.element;
    out.reason = "no EncapsulatedTimeStamp";
    out.failure = XadesTimestampOutcome::Failure::Token;
    log.LogError(std::string(name) + ": " + out.reason);
}

} // namespace

std::vector<XadesTimestampOutcome> ClsXmlDSig::verifyXadesTimestamps(const XadesElements& e, const AdesContext& context,
                                                                     LogBase& log) {
    LogContextExitor ctx(log, "verifyXadesTimestamps");
    std::vector<XadesTimestampOutcome> outcomes;
    const XmlDocument* doc = loadedTreeOfText();
    if (!doc || !e.hasXades())
        return outcomes;
    const std::vector<XadesTimestampElement> timestamps = findXadesTimestamps(*doc, e);
    if (timestamps.empty())
        return outcomes;
    // Digesting references again must not change what the last run reported.
    const int refFailReason = m_refFailReason;
    ReferenceOutputs references(*this, m_externalRefDirs, m_work, *doc, e, m_report.references);
    const TimestampScope scope{*doc, m_document.text, e, references, m_certificateStore, m_work, context};
    for (XadesTimestampElement timestamp : timestamps)
        verifyTimestamp(scope, timestamp, outcomes, log);
    m_refFailReason = refFailReason;
    return outcomes;
}
