#pragma once

#include "companion/pki/RevocationEvidence.h"

#include <cstdint>
#include <span>

class TrustAnchors;

// What one DER OCSP response proves about the query's certificate. It counts when it is a successful basic
// response whose signature verifies, signed by the issuer, by a responder the issuer delegated to
// (id-kp-OCSPSigning, its certificate carried in the response) or by an id-kp-OCSPSigning responder that
// chains to the anchors, with a single response for the certificate under the hash its CertID uses, and
// timely for the query's time (RevocationTiming). Then its status, times and responder; otherwise
// Unavailable with `reason` saying why not. `source` and `url` are left to the caller.
RevocationEvidence ocspEvidence(std::span<const uint8_t> der, const RevocationQuery& query,
                                const TrustAnchors& anchors);
