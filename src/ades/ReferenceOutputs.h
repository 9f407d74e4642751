#pragma once

#include "ades/XadesElements.h"
#include "references/HashedOctets.h"
#include "references/ReferenceVerifier.h"

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

class ClsXmlDSig;
class LogBase;
class WorkBudget;
class XString;

// What each reference of a signature's SignedInfo was digested over (the
// output of its transforms), which timestamps over the data objects cover.
// Each reference is digested again, once, when a timestamp first needs it,
// charging the verification's work budget.
class ReferenceOutputs {
public:
    ReferenceOutputs(ClsXmlDSig& engine, const XString& externalRefDirs, WorkBudget& work, const XmlDocument& doc,
                     const XadesElements& e, std::span<const ReferenceOutcome> outcomes);

    int count() const { return static_cast<int>(m_references.size()); }
    // The reference whose Id is `id`; -1 when none.
    int indexOf(std::string_view id) const;
    // Whether the reference covers the signature's SignedProperties (by what
    // it was found to cover, else by its Type).
    bool coversSignedProperties(int index) const;
    // The octets, or null with the reason in words.
    const std::string* octets(int index, std::string& reason, LogBase& log);

private:
    const XmlDocument& m_doc;
    WorkBudget& m_work;
    ReferenceVerifier m_verifier;
    std::vector<uint32_t> m_references;
    uint32_t m_signedPropertiesOffset = 0;
    std::span<const ReferenceOutcome> m_outcomes;
    std::vector<std::optional<HashedOctets>> m_octets;
};
