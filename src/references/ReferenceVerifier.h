#pragma once

#include "references/ReferenceRun.h"
#include "verifier/VerificationReport.h"

#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

class ClsXmlDSig;
class LogBase;
class XString;
struct ReferenceCheck;
struct HashedOctets;

// How the references of one signature fared: each one's outcome, those that
// failed with their literal codes, the further attempts that made one match,
// and how many failures count against the signature.
struct ReferenceStageOutcome {
    std::vector<ReferenceOutcome> references;
    std::vector<VerificationReport::FailedReference> failed;
    std::vector<AttemptUsed> attempts;
    int countedFailures = 0;
    // The checks stopped at the reference whose work spent the budget.
    bool workSpent = false;
    // The first external file refused as over its size limit.
    std::optional<LimitExceeded> limit;
};

// Checks the references of the engine's selected signature and says what
// each one covered. Digesting one reference stays the engine's operation (the
// signer profile's text adjustments apply at each of its steps); this part
// holds what the references of one operation share: the folders external
// files are looked up in, the memo of same-document digests, the outcomes.
class ReferenceVerifier {
public:
    ReferenceVerifier(ClsXmlDSig& engine, const XString& externalRefDirs);

    // Every reference, in order, so that the log shows all that fail, until
    // the work budget is spent; data that is missing is excused with
    // `ignoreExternalRefs`, a mismatch never.
    ReferenceStageOutcome checkAll(int count, bool ignoreExternalRefs, LogBase& log);
    // One reference, on its own.
    bool checkOne(int index, LogBase& log);
    // One reference checked again for the octets its digest is computed
    // over, as the reading that matched (or the last one tried) produced
    // them; false when the digest step that ran cannot hand them over.
    bool hashedOctets(int index, HashedOctets& out, LogBase& log);

private:
    // Line numbers of ascending offsets, counted once over the text.
    class LineCounter {
    public:
        uint32_t lineOf(std::string_view text, uint32_t offset);

    private:
        uint32_t m_offset = 0;
        uint32_t m_line = 1;
    };

    ReferenceOutcome outcome(int index, bool matched, const ReferenceCheck& check, LogBase& log);
    std::span<const uint32_t> elementsNamed(std::string_view uri);

    ClsXmlDSig& m_engine;
    ReferenceRun m_run;
    LineCounter m_lines;
};
