#include "ades/SignerChainCheck.h"

#include "companion/pki/CertificateSummary.h"
#include "companion/pki/RevocationChecker.h"
#include "companion/pki/TrustAnchors.h"
#include "companion/text/XmlDateTime.h"

#include <algorithm>

namespace {

using Chain = AdesFacts::Chain;
using Revocation = AdesFacts::Revocation;

Chain chainOf(const ChainOutcome& outcome, X509* signer) {
    if (outcome.trusted)
        return TrustAnchors::allowsSigning(signer) ? Chain::Trusted : Chain::KeyUsage;
    return outcome.outsideValidity() ? Chain::OutOfBounds : Chain::Untrusted;
}

std::vector<X509*> intermediatesFor(const SignerIdentity& signer, const ValidationData& data,
                                    const AdesContext& context) {
    std::vector<X509*> pool = data.certificatePointers();
    for (const X509Ptr& cert : signer.keyInfoCertificates)
        pool.push_back(cert.get());
    pool.insert(pool.end(), context.pool.begin(), context.pool.end());
    return pool;
}

const char* statusText(RevocationStatus status) {
    switch (status) {
    case RevocationStatus::Good:
        return "good";
    case RevocationStatus::Revoked:
        return "revoked";
    case RevocationStatus::Unknown:
        return "unknown";
    case RevocationStatus::Unavailable:
        break;
    }
    return "unavailable";
}

AdesChainLink linkOf(X509* cert, bool anchor) {
    AdesChainLink link;
    link.certificate = sharedX509(cert);
    link.anchor = anchor;
    return link;
}

// The worst of the chain's statuses: revoked, then not known, then good.
int severity(Revocation r) {
    switch (r) {
    case Revocation::Revoked:
        return 3;
    case Revocation::Unknown:
    case Revocation::Unavailable:
    case Revocation::NoData:
        return 2;
    case Revocation::Good:
        return 1;
    case Revocation::NotChecked:
        break;
    }
    return 0;
}

Revocation factOf(RevocationStatus status) {
    switch (status) {
    case RevocationStatus::Good:
        return Revocation::Good;
    case RevocationStatus::Revoked:
        return Revocation::Revoked;
    case RevocationStatus::Unknown:
        return Revocation::Unknown;
    case RevocationStatus::Unavailable:
        break;
    }
    return Revocation::Unavailable;
}

std::string evidenceText(const RevocationEvidence& e) {
    std::string text = statusText(e.status);
    if (!e.source.empty())
        text += " (" + e.source + ")";
    if (e.revocationTime)
        text += ", revoked at " + formatXmlDateTime(*e.revocationTime);
    if (!e.revocationReason.empty())
        text += ", " + e.revocationReason;
    if (e.status == RevocationStatus::Unavailable && !e.reason.empty())
        text += ": " + e.reason;
    return text;
}

// Each certificate below the anchor, checked at the best signature time
// against the signature's own validation data, the CRLs given and, when
// allowed, its responders.
void checkRevocation(const ChainOutcome& chain, const ValidationData& data, const AdesContext& context,
                     AdesFacts& facts, AdesReport& report) {
    if (!context.revocation || chain.chain.size() < 2)
        return;
    for (size_t i = 0; i + 1 < chain.chain.size(); ++i) {
        X509* cert = chain.chain[i].get();
        const RevocationEvidence evidence = context.revocation->check(
            cert, chain.chain[i + 1].get(), facts.bestSignatureTime, data.revocation, *context.anchors);
        const Revocation fact = factOf(evidence.status);
        if (severity(fact) > severity(facts.revocation)) {
            facts.revocation = fact;
            facts.revocationTime = evidence.revocationTime;
        }
        AdesChainLink& link = report.chain[i];
        link.revocation = statusText(evidence.status);
        link.revocationSource = evidence.source;
        link.revocationTime = evidence.revocationTime;
        for (const RevocationFetch& fetch : evidence.fetches)
            report.check(
                "fetched", AdesCheckOutcome::Info,
                fetch.url + (fetch.fromCache ? " (cached)" : "") +
                    (fetch.error.empty() ? ", " + std::to_string(fetch.bytes) + " bytes" : ": " + fetch.error));
        report.check("revocation of " + summarizeCertificate(cert).subject,
                     evidence.status == RevocationStatus::Good ? AdesCheckOutcome::Passed : AdesCheckOutcome::Failed,
                     evidenceText(evidence));
    }
}

} // namespace

void checkSignerChain(const SignerIdentity& signer, const ValidationData& data, const AdesContext& context,
                      AdesFacts& facts, AdesReport& report) {
    X509* cert = signer.certificate.get();
    if (!context.anchors || context.anchors->empty()) {
        facts.chain = Chain::NoAnchors;
        report.check("certificate chain", AdesCheckOutcome::NotDone, "no trust anchor was given");
        return;
    }
    if (!cert) {
        facts.chain = Chain::NoCertificate;
        report.check("certificate chain", AdesCheckOutcome::NotDone, "no certificate verified the signature");
        return;
    }
    const std::vector<X509*> pool = intermediatesFor(signer, data, context);
    const ChainOutcome outcome = context.anchors->chainOf(cert, pool, facts.bestSignatureTime);
    facts.chain = chainOf(outcome, cert);
    const std::string at = " at " + formatXmlDateTime(facts.bestSignatureTime);
    const bool trusted = facts.chain == Chain::Trusted;
    report.check(
        "certificate chain", trusted ? AdesCheckOutcome::Passed : AdesCheckOutcome::Failed,
        trusted ? "it ends at " + outcome.anchorSubject + at
                : (facts.chain == Chain::KeyUsage ? "the signer's key usage allows no signing" : outcome.reason) + at);
    for (const X509Ptr& link : outcome.chain)
        report.chain.push_back(linkOf(link.get(), trusted && &link == &outcome.chain.back()));
    if (report.chain.empty())
        report.chain.push_back(linkOf(cert, false));
    checkRevocation(outcome, data, context, facts, report);
}
