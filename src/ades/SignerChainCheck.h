#pragma once

#include "ades/AdesContext.h"
#include "ades/AdesFacts.h"
#include "ades/ValidationData.h"
#include "verifier/SignerIdentity.h"

// The signer's certificate chained to the anchors at the best signature
// time, with the certificates of KeyInfo, of the signature's validation data
// and of the caller as intermediates.
void checkSignerChain(const SignerIdentity& signer, const ValidationData& data, const AdesContext& context,
                      AdesFacts& facts, AdesReport& report);
