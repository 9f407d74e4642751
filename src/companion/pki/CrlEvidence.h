#pragma once

#include "companion/pki/RevocationEvidence.h"

#include <openssl/types.h>

// What one CRL proves about the query's certificate. It counts when its issuer name is the issuer's
// subject, its signature verifies with the issuer's key, and it is timely for the query's time
// (RevocationTiming, lastUpdate as thisUpdate). Then Good or Revoked, with its times and issuer;
// otherwise Unavailable with `reason` saying why not. `source` and `url` are left to the caller.
RevocationEvidence crlEvidence(X509_CRL* crl, const RevocationQuery& query);
