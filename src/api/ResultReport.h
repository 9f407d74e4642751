#pragma once

#include "xmldsig/Result.h"

#include "verifier/ReferenceOutcome.h"
#include "verifier/SignerIdentity.h"

#include <utility>
#include <vector>

namespace xmldsig {

// Reports of the last few signer certificates, so that a signer seen again
// is not summarized again. Each is kept with a reference to its certificate,
// so the same address is always the same certificate.
class CertificateReports {
public:
    const Certificate& of(X509* cert);

private:
    static constexpr size_t kKept = 16;
    std::vector<std::pair<X509Ptr, Certificate>> m_kept;
    size_t m_next = 0;
};

// The engine's records in the public form.
Signer signerReport(const SignerIdentity& signer, CertificateReports& certificates);
std::vector<Reference> referenceReport(const std::vector<ReferenceOutcome>& outcomes);

} // namespace xmldsig
