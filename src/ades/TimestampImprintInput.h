#pragma once

#include "companion/base/WorkBudget.h"
#include "companion/canon/XmlCanon.h"
#include "references/StreamedDigest.h"

#include <cstdint>
#include <string_view>

class DataBuffer;
class LogBase;
class StringBuffer;
class XmlDocument;

// What a XAdES timestamp's message imprint covers, hashed as it is put
// together: elements of the loaded document, each canonicalized with the
// timestamp's own CanonicalizationMethod (inclusive C14N 1.0 without one),
// and octets already at hand (what references were digested over).
class TimestampImprintInput {
public:
    TimestampImprintInput(const XmlDocument& doc, const StringBuffer& text, uint32_t timestamp, int hashAlg,
                          WorkBudget& work);

    // False when the element cannot be canonicalized (or the work budget is spent).
    bool addElement(uint32_t element, LogBase& log);
    void addOctets(std::string_view octets);
    // Ends the input and compares its hash with the imprint.
    bool matches(const DataBuffer& imprint);
    bool workSpent() const { return m_work.spent(); }

private:
    const XmlDocument& m_doc;
    const WorkBudget& m_work;
    const StringBuffer& m_text;
    XmlCanon m_canon;
    StreamedDigest m_digest;
};
