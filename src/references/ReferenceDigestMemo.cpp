#include "references/ReferenceDigestMemo.h"

#include "references/DigestAttempt.h"
#include "verifier/DSigReference.h"

namespace {

// Separates the fields of a key; it cannot occur in well-formed XML text.
constexpr char kFieldSeparator = '\0';

void appendField(std::string& key, std::string_view field) {
    key.append(field);
    key.push_back(kFieldSeparator);
}

void appendFlag(std::string& key, bool flag) {
    key.push_back(flag ? '1' : '0');
}

} // namespace

// The attempt's settings, not its name: two attempts that read a reference
// alike digest it alike.
std::string ReferenceDigestMemo::key(const DSigReference& ref, const DigestAttempt& attempt, bool zatcaRules) {
    std::string key;
    appendFlag(key, attempt.sortBugEmulation);
    appendFlag(key, attempt.stpDocumentOnly);
    appendFlag(key, attempt.commentsLeftOut);
    appendFlag(key, attempt.transformsOnExternalData);
    appendFlag(key, attempt.evaluateEveryXPath);
    appendFlag(key, attempt.oldXmlsecRelationships);
    appendFlag(key, !attempt.ownDocument.empty());
    appendFlag(key, zatcaRules);
    appendFlag(key, ref.m_uriOmitted);
    appendField(key, ref.m_uri.view());
    appendField(key, ref.m_transformsXml.view());
    appendField(key, ref.m_digestMethod.view());
    appendField(key, ref.m_digestValue.view());
    return key;
}

const ReferenceDigestMemo::Outcome* ReferenceDigestMemo::find(const DSigReference& ref, const DigestAttempt& attempt,
                                                              bool zatcaRules) const {
    const auto it = m_outcomes.find(key(ref, attempt, zatcaRules));
    return it == m_outcomes.end() ? nullptr : &it->second;
}

void ReferenceDigestMemo::remember(const DSigReference& ref, const DigestAttempt& attempt, bool zatcaRules,
                                   Outcome outcome) {
    m_outcomes.try_emplace(key(ref, attempt, zatcaRules), std::move(outcome));
}
