#pragma once

#include "ades/AdesReport.h"
#include "ades/XadesElements.h"

#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

// The timestamp elements of a signature's properties, in document order:
// those over the data objects in its SignedDataObjectProperties, those over
// the signature in its UnsignedSignatureProperties.
struct XadesTimestampElement {
    XadesTimestampKind kind = XadesTimestampKind::Signature;
    uint32_t element = kNoNode;
};
std::vector<XadesTimestampElement> findXadesTimestamps(const XmlDocument& doc, const XadesElements& e);

// The validation-data references (certificate and revocation refs, attribute
// ones included) that SigAndRefs and RefsOnly timestamps cover.
bool isValidationDataReference(const XmlDocument& doc, uint32_t element);
