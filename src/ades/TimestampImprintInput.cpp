#include "ades/TimestampImprintInput.h"

#include "ades/XadesNames.h"
#include "companion/log/LogBase.h"
#include "companion/text/DataBuffer.h"
#include "companion/text/StringBuffer.h"
#include "companion/xml/XmlDocument.h"
#include "transforms/CanonicalizationMethod.h"

using namespace xades_names;

TimestampImprintInput::TimestampImprintInput(const XmlDocument& doc, const StringBuffer& text, uint32_t timestamp,
                                             int hashAlg, WorkBudget& work)
    : m_doc(doc), m_work(work), m_text(text), m_digest(hashAlg, "") {
    const CanonicalizationMethod method =
        canonicalizationMethodOf(attributeValue(doc, dsigChild(doc, timestamp, "CanonicalizationMethod"), "Algorithm"));
    m_canon.setMode(method.mode);
    m_canon.setWithComments(method.withComments);
    m_canon.setWorkBudget(&work);
    m_canon.setParsedDocument(&doc);
    m_canon.setOutputSink(&m_digest);
}

bool TimestampImprintInput::addElement(uint32_t element, LogBase& log) {
    StringBuffer unused;
    return m_canon.xmlCanonicalize(m_text, nullptr, m_doc.startTagBegin(element), unused, log);
}

void TimestampImprintInput::addOctets(std::string_view octets) {
    m_digest.write(octets);
}

bool TimestampImprintInput::matches(const DataBuffer& imprint) {
    DataBuffer computed;
    return m_digest.final(computed) && computed.view() == imprint.view();
}
