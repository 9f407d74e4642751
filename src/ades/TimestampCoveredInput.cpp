#include "ades/TimestampCoveredInput.h"

#include "ades/ReferenceOutputs.h"
#include "ades/TimestampImprintInput.h"
#include "ades/XadesNames.h"

using namespace xades_names;

namespace {

class Covered {
public:
    Covered(const XmlDocument& doc, const XadesElements& e, ReferenceOutputs& references, TimestampImprintInput& input,
            std::string& reason, LogBase& log)
        : m_doc(doc), m_e(e), m_references(references), m_input(input), m_reason(reason), m_log(log) {}

    bool element(uint32_t element) {
        if (element == kNoNode || m_input.addElement(element, m_log))
            return true;
        const std::string name(XmlDocument::localName(m_doc.name(element)));
        m_reason = m_input.workSpent() ? "the work budget was spent canonicalizing the " + name
                                       : "the " + name + " could not be canonicalized";
        return false;
    }

    bool reference(int index) {
        const std::string* octets = m_references.octets(index, m_reason, m_log);
        if (octets)
            m_input.addOctets(*octets);
        return octets != nullptr;
    }

    bool dataObjects() {
        for (int i = 0; i < m_references.count(); ++i)
            if (!m_references.coversSignedProperties(i) && !reference(i))
                return false;
        return true;
    }

    bool includedDataObjects(uint32_t timestamp) {
        bool any = false;
        for (uint32_t c = m_doc.firstChildElement(timestamp); c != kNoNode; c = m_doc.nextSiblingElement(c)) {
            if (!isXadesElement(m_doc, c, "Include"))
                continue;
            any = true;
            const std::string uri = attributeValue(m_doc, c, "URI");
            const int index = uri.starts_with('#') ? m_references.indexOf(std::string_view(uri).substr(1)) : -1;
            if (index < 0) {
                m_reason = "the Include URI \"" + uri + "\" names no reference of SignedInfo";
                return false;
            }
            if (!reference(index))
                return false;
        }
        if (!any)
            m_reason = "the timestamp includes no reference";
        return any;
    }

    // The unsigned signature properties that `accept` takes, in document
    // order, up to `end` (kNoNode: all of them).
    template <class Accept> bool unsignedProperties(uint32_t end, Accept accept) {
        for (uint32_t c = m_doc.firstChildElement(m_e.unsignedSignatureProperties); c != kNoNode && c != end;
             c = m_doc.nextSiblingElement(c))
            if (accept(c) && !element(c))
                return false;
        return true;
    }

    bool archived(uint32_t timestamp) {
        for (int i = 0; i < m_references.count(); ++i)
            if (!reference(i))
                return false;
        if (!element(m_e.signedInfo) || !element(m_e.signatureValue) || !element(m_e.keyInfo) ||
            !unsignedProperties(timestamp, [](uint32_t) { return true; }))
            return false;
        const uint32_t propertiesObject = m_doc.parent(m_e.qualifyingProperties);
        for (uint32_t object : m_e.objects)
            if (object != propertiesObject && !element(object))
                return false;
        return true;
    }

private:
    const XmlDocument& m_doc;
    const XadesElements& m_e;
    ReferenceOutputs& m_references;
    TimestampImprintInput& m_input;
    std::string& m_reason;
    LogBase& m_log;
};

} // namespace

bool addCoveredInput(const XmlDocument& doc, const XadesElements& e, XadesTimestampElement timestamp,
                     ReferenceOutputs& references, TimestampImprintInput& input, std::string& reason, LogBase& log) {
    Covered covered(doc, e, references, input, reason, log);
    const auto isRefs = [&doc](uint32_t c) { return isValidationDataReference(doc, c); };
    const auto isSignatureStampOrRefs = [&doc](uint32_t c) {
        return isXadesElement(doc, c, "SignatureTimeStamp") || isValidationDataReference(doc, c);
    };
    switch (timestamp.kind) {
    case XadesTimestampKind::Signature:
        return covered.element(e.signatureValue);
    case XadesTimestampKind::AllDataObjects:
        return covered.dataObjects();
    case XadesTimestampKind::IndividualDataObjects:
        return covered.includedDataObjects(timestamp.element);
    case XadesTimestampKind::SigAndRefs:
        return covered.element(e.signatureValue) && covered.unsignedProperties(kNoNode, isSignatureStampOrRefs);
    case XadesTimestampKind::RefsOnly:
        return covered.unsignedProperties(kNoNode, isRefs);
    case XadesTimestampKind::Archive:
        return covered.archived(timestamp.element);
    }
    return false;
}

const char* coveredInputName(XadesTimestampKind kind) {
    switch (kind) {
    case XadesTimestampKind::Signature:
        return "the SignatureValue";
    case XadesTimestampKind::AllDataObjects:
        return "the signed data objects";
    case XadesTimestampKind::IndividualDataObjects:
        return "the included data objects";
    case XadesTimestampKind::SigAndRefs:
        return "the SignatureValue, signature timestamps and validation data references";
    case XadesTimestampKind::RefsOnly:
        return "the validation data references";
    case XadesTimestampKind::Archive:
        return "the archived signature";
    }
    return "its input";
}
