#pragma once

#include <string>
#include <unordered_map>

class DSigReference;

// The outcomes of the same-document references of one verification run. A
// reference whose URI, transforms, digest method and digest value repeat an
// earlier one's, under the same canonicalization settings, has the same
// outcome: it is looked up instead of being digested again. Lives for one
// run only, so nothing carries over to another document or run.
class ReferenceDigestMemo {
public:
    struct Outcome {
        int index = 0; // the reference that was digested
        bool matched = false;
        int failReason = 0;
    };
    // What, besides the reference itself, the outcome depends on.
    struct Settings {
        bool sortBugEmulation = false;
        bool zatcaRules = false;
        bool commentsLeftOut = false;
        bool siiDteOwnContext = false;
    };

    const Outcome* find(const DSigReference& ref, Settings settings) const;
    void remember(const DSigReference& ref, Settings settings, const Outcome& outcome);

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
    static std::string key(const DSigReference& ref, Settings settings);

    std::unordered_map<std::string, Outcome> m_outcomes;
};
