#include "ades/SignerChainCheck.h"

#include "companion/pki/TrustAnchors.h"
#include "companion/text/XmlDateTime.h"

namespace {

using Chain = AdesFacts::Chain;

bool saysOutOfBounds(const std::string& reason) {
    return reason.find("expired") != std::string::npos || reason.find("not yet valid") != std::string::npos;
}

Chain chainOf(const ChainOutcome& outcome) {
    if (outcome.trusted)
        return Chain::Trusted;
    if (saysOutOfBounds(outcome.reason))
        return Chain::OutOfBounds;
    return outcome.reason.find("key usage") != std::string::npos ? Chain::KeyUsage : Chain::Untrusted;
}

std::vector<X509*> intermediatesFor(const SignerIdentity& signer, const ValidationData& data,
                                    const AdesContext& context) {
    std::vector<X509*> pool = data.certificatePointers();
    for (const X509Ptr& cert : signer.keyInfoCertificates)
        pool.push_back(cert.get());
    pool.insert(pool.end(), context.pool.begin(), context.pool.end());
    return pool;
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
    const ChainOutcome outcome = context.anchors->check(cert, pool, facts.bestSignatureTime);
    facts.chain = chainOf(outcome);
    const std::string at = " at " + formatXmlDateTime(facts.bestSignatureTime);
    report.check("certificate chain", outcome.trusted ? AdesCheckOutcome::Passed : AdesCheckOutcome::Failed,
                 outcome.trusted ? "it ends at " + outcome.anchorSubject + at : outcome.reason + at);
    AdesChainLink link;
    link.certificate = sharedX509(cert);
    report.chain.push_back(std::move(link));
}
