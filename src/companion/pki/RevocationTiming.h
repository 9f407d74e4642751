#pragma once

#include "companion/pki/RevocationEvidence.h"

#include <string>

// Whether a status with the evidence's thisUpdate and nextUpdate tells the status at the query's time: it
// does when it was current then (thisUpdate <= at + allowance, at <= nextUpdate when there is one), and
// when it was issued after that time and says good or revoked (a revocation after the time checked makes
// the status at that time Good). Empty when it counts, with the evidence's status set for the time checked;
// otherwise why not.
std::string applyRevocationTiming(RevocationEvidence& evidence, const RevocationQuery& query);
