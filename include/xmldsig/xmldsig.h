#pragma once

// Verification of XML digital signatures: settings in, a result per
// signature out.
#include "xmldsig/Canonicalize.h"
#include "xmldsig/Result.h"
#include "xmldsig/Settings.h"
#include "xmldsig/Status.h"
#include "xmldsig/Verifier.h"
