#pragma once

#include "verifier/FurtherAttempt.h"
#include "verifier/ReferenceOutcome.h"

#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

class DSigReference;
struct DigestAttempt;

// The outcomes of the same-document references of one verification run. A
// reference whose URI, transforms, digest method and digest value repeat an
// earlier one's, digested under the same attempt settings, has the same
// outcome: it is looked up instead of being digested again. Lives for one
// run only, so nothing carries over to another document or run.
class ReferenceDigestMemo {
public:
    struct Outcome {
        int index = 0; // the reference that was digested
        bool matched = false;
        int failReason = 0;
        std::vector<FurtherAttempt> matchedBy;
        std::optional<ReferenceSelection> selection;
    };

    // `zatcaRules`: the one profile fact a run may learn midway (from a
    // digest that only ZATCA's rules match) that changes later digests.
    const Outcome* find(const DSigReference& ref, const DigestAttempt& attempt, bool zatcaRules) const;
    void remember(const DSigReference& ref, const DigestAttempt& attempt, bool zatcaRules, Outcome outcome);

    // Installs a memo for the scope of a run.
    class Scope {
    public:
        Scope(ReferenceDigestMemo*& slot, ReferenceDigestMemo& memo) : m_slot(slot) { m_slot = &memo; }
        ~Scope() { m_slot = nullptr; }
        Scope(const Scope&) = delete;
        Scope& operator=(const Scope&) = delete;

    private:
        ReferenceDigestMemo*& m_slot;
    };

private:
    static std::string key(const DSigReference& ref, const DigestAttempt& attempt, bool zatcaRules);

    std::unordered_map<std::string, Outcome> m_outcomes;
};
