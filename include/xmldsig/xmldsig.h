#pragma once

// Verification of XML digital signatures: settings in, a result per
// signature out; and what a signed document holds, its certificates, and a
// timestamp added to it.
#include "xmldsig/Canonicalize.h"
#include "xmldsig/Certificates.h"
#include "xmldsig/DocumentInfo.h"
#include "xmldsig/Result.h"
#include "xmldsig/Settings.h"
#include "xmldsig/Status.h"
#include "xmldsig/Timestamp.h"
#include "xmldsig/Verifier.h"
