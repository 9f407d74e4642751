#include "ades/TimestampFacts.h"

#include "companion/text/XmlDateTime.h"

#include <algorithm>

namespace {

using Kind = XadesTimestampKind;
using Failure = XadesTimestampOutcome::Failure;

// The kinds whose input holds the signature value.
bool provesTheSignature(Kind kind) {
    return kind == Kind::Signature || kind == Kind::SigAndRefs || kind == Kind::Archive;
}

bool overDataObjects(Kind kind) {
    return kind == Kind::AllDataObjects || kind == Kind::IndividualDataObjects;
}

AdesCheckOutcome outcomeOf(const XadesTimestampOutcome& t, bool anchorsGiven) {
    if (t.failure == Failure::InputUnavailable)
        return AdesCheckOutcome::NotDone;
    if (!t.valid)
        return AdesCheckOutcome::Failed;
    // A token whose authority is not trusted is no proof of time, and no fault of the signature.
    if (anchorsGiven && !t.tsaTrusted)
        return AdesCheckOutcome::NotDone;
    return AdesCheckOutcome::Passed;
}

std::string detailOf(const XadesTimestampOutcome& t, bool anchorsGiven) {
    if (!t.valid)
        return t.reason;
    std::string detail = "verified, made at " + (t.time ? formatXmlDateTime(*t.time) : std::string("an unknown time"));
    if (anchorsGiven)
        detail += t.tsaTrusted ? "; its authority is trusted"
                               : "; its authority is not trusted (" + t.tsaReason + "), so its time proves nothing";
    return detail;
}

} // namespace

void noteTimestampFacts(std::span<const XadesTimestampOutcome> timestamps, bool anchorsGiven, AdesFacts& facts,
                        AdesReport& report) {
    std::optional<std::time_t> latestOverData, earliestOverSignature;
    for (const XadesTimestampOutcome& t : timestamps) {
        report.check(xadesTimestampElementName(t.kind), outcomeOf(t, anchorsGiven), detailOf(t, anchorsGiven));
        facts.timestampImprintFailed |= t.failure == Failure::Imprint;
        facts.timestampSignatureFailed |= t.failure == Failure::Token;
        if (!t.valid || !t.time)
            continue;
        if (overDataObjects(t.kind))
            latestOverData = std::max(latestOverData.value_or(*t.time), *t.time);
        if (provesTheSignature(t.kind))
            earliestOverSignature = std::min(earliestOverSignature.value_or(*t.time), *t.time);
        if (provesTheSignature(t.kind) && (!anchorsGiven || t.tsaTrusted) && *t.time < facts.bestSignatureTime) {
            facts.bestSignatureTime = *t.time;
            facts.bestTimeFromTimestamp = true;
        }
    }
    facts.timestampOrderFailed = latestOverData && earliestOverSignature && *latestOverData > *earliestOverSignature;
    if (facts.timestampOrderFailed)
        report.check("timestamp order", AdesCheckOutcome::Failed,
                     "a timestamp over the data objects is later than the signature's");
}
