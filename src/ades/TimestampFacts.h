#pragma once

#include "ades/AdesFacts.h"

#include <span>

// What the signature's timestamps prove: a failed one is a fact of its own
// (an imprint over other data, a token that does not verify); the earliest
// verified time over the signature value, from an authority the anchors
// trust when anchors are given, lowers the best signature time; and the data
// objects' timestamps must not be later than the signature's.
void noteTimestampFacts(std::span<const XadesTimestampOutcome> timestamps, bool anchorsGiven, AdesFacts& facts,
                        AdesReport& report);
