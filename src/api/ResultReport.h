#pragma once

#include "xmldsig/Result.h"

#include "verifier/ReferenceOutcome.h"
#include "verifier/SignerIdentity.h"

#include <vector>

namespace xmldsig {

// The engine's records in the public form.
Signer signerReport(const SignerIdentity& signer);
std::vector<Reference> referenceReport(const std::vector<ReferenceOutcome>& outcomes);

} // namespace xmldsig
