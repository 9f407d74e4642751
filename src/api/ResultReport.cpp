#include "api/ResultReport.h"

#include "api/FailureReason.h"

#include "companion/crypto/_tvPublicKey.h"
#include "companion/pki/CertificateSummary.h"

namespace xmldsig {

namespace {

const char* keyTypeName(const SignerIdentity& signer) {
    if (signer.source == KeySource::HmacSecret)
        return "hmac";
    switch (signer.keyType) {
    case key_type::kRsa:
        return "rsa";
    case key_type::kDsa:
        return "dsa";
    case key_type::kEcc:
        return "ec";
    case key_type::kEddsa:
        return "eddsa";
    default:
        return "";
    }
}

std::vector<std::uint8_t> derOf(X509* cert) {
    const int length = i2d_X509(cert, nullptr);
    if (length <= 0)
        return {};
    std::vector<std::uint8_t> der(static_cast<size_t>(length));
    unsigned char* p = der.data();
    i2d_X509(cert, &p);
    return der;
}

Certificate certificateReport(X509* cert) {
    CertificateSummary s = summarizeCertificate(cert);
    return {std::move(s.subject),
            std::move(s.issuer),
            std::move(s.serialNumber),
            std::move(s.notBefore),
            std::move(s.notAfter),
            std::move(s.sha256Fingerprint),
            derOf(cert)};
}

Reference::Target targetOf(ReferenceOutcome::Target target) {
    switch (target) {
    case ReferenceOutcome::Target::Element:
        return Reference::Target::Element;
    case ReferenceOutcome::Target::WholeDocument:
        return Reference::Target::WholeDocument;
    case ReferenceOutcome::Target::External:
        return Reference::Target::External;
    case ReferenceOutcome::Target::Selection:
        return Reference::Target::Selection;
    case ReferenceOutcome::Target::Unresolved:
        break;
    }
    return Reference::Target::Unresolved;
}

} // namespace

const Certificate& CertificateReports::of(X509* cert) {
    for (const auto& [kept, report] : m_kept)
        if (kept.get() == cert)
            return report;
    std::pair<X509Ptr, Certificate> entry{sharedX509(cert), certificateReport(cert)};
    if (m_kept.size() < kKept) {
        m_kept.push_back(std::move(entry));
        return m_kept.back().second;
    }
    const size_t slot = m_next;
    m_next = (m_next + 1) % kKept;
    m_kept[slot] = std::move(entry);
    return m_kept[slot].second;
}

Signer signerReport(const SignerIdentity& signer, CertificateReports& certificates) {
    Signer out;
    out.keySource = keySourceText(signer.source);
    out.keyPath = signer.keyPath;
    out.algorithm = signer.algorithmName();
    out.signatureMethod = signer.signatureMethod;
    out.keyType = keyTypeName(signer);
    out.keyBits = signer.keyBits;
    if (signer.certificate)
        out.certificate = certificates.of(signer.certificate.get());
    out.signingTime = signer.signingTime;
    out.signingTimeSource = signer.signingTimeSource;
    return out;
}

std::vector<Reference> referenceReport(const std::vector<ReferenceOutcome>& outcomes) {
    std::vector<Reference> out;
    out.reserve(outcomes.size());
    for (const ReferenceOutcome& o : outcomes) {
        Reference r;
        r.index = o.index;
        r.uri = o.uri;
        r.target = targetOf(o.target);
        r.elementName = o.elementName;
        r.path = o.path;
        r.line = o.line;
        r.offset = o.offset;
        r.externalFile = o.externalFile;
        for (const ReferenceSelection::Element& e : o.selection.elements)
            r.selected.push_back({e.name, e.path, e.line, e.offset});
        r.selectedCount = o.selection.elementCount;
        r.excludesOutside = o.selection.excludesOutside;
        r.transforms = o.transforms;
        r.digestMethod = o.digestMethod;
        r.matched = o.matched;
        if (!o.matched) {
            r.failReason = o.failReason;
            r.failure = referenceFailureText(o.failReason);
        }
        out.push_back(std::move(r));
    }
    return out;
}

} // namespace xmldsig
