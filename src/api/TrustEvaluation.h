#pragma once

#include "xmldsig/Result.h"

#include "verifier/SignerIdentity.h"

#include <cstdint>
#include <ctime>
#include <optional>
#include <span>
#include <vector>

class TrustAnchors;

namespace xmldsig {

// Whether the signer of a verified signature chains to an anchor, with the
// certificates key resolution read and `pool` as intermediates, at `at`
// when given, else at the time the signature states, else now. A key the
// caller gave is trusted as given; any other key without a certificate is
// not trusted. The CRLs the signature carries (DER) may revoke a link of
// the chain.
Trust evaluateTrust(const TrustAnchors& anchors, const SignerIdentity& signer, std::span<X509* const> pool,
                    std::optional<std::time_t> at, std::span<const std::vector<uint8_t>> carriedCrls);

} // namespace xmldsig
