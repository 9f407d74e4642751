#include "references/ReferenceDigestMemo.h"

#include "verifier/DSigReference.h"

namespace {

// Separates the fields of a key; it cannot occur in well-formed XML text.
constexpr char kFieldSeparator = '\0';

void appendField(std::string& key, std::string_view field) {
    key.append(field);
    key.push_back(kFieldSeparator);
}

} // namespace

std::string ReferenceDigestMemo::key(const DSigReference& ref, Settings settings) {
    std::string key;
    key.push_back(settings.sortBugEmulation ? '1' : '0');
    key.push_back(settings.zatcaRules ? '1' : '0');
    key.push_back(settings.commentsLeftOut ? '1' : '0');
    key.push_back(settings.siiDteOwnContext ? '1' : '0');
    key.push_back(ref.m_uriOmitted ? '1' : '0');
    appendField(key, ref.m_uri.view());
    appendField(key, ref.m_transformsXml.view());
    appendField(key, ref.m_digestMethod.view());
    appendField(key, ref.m_digestValue.view());
    return key;
}

const ReferenceDigestMemo::Outcome* ReferenceDigestMemo::find(const DSigReference& ref, Settings settings) const {
    const auto it = m_outcomes.find(key(ref, settings));
    return it == m_outcomes.end() ? nullptr : &it->second;
}

void ReferenceDigestMemo::remember(const DSigReference& ref, Settings settings, const Outcome& outcome) {
    m_outcomes.try_emplace(key(ref, settings), outcome);
}
