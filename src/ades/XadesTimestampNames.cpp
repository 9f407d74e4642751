#include "ades/AdesReport.h"

const char* xadesTimestampElementName(XadesTimestampKind kind) {
    switch (kind) {
    case XadesTimestampKind::Signature:
        return "SignatureTimeStamp";
    case XadesTimestampKind::AllDataObjects:
        return "AllDataObjectsTimeStamp";
    case XadesTimestampKind::IndividualDataObjects:
        return "IndividualDataObjectsTimeStamp";
    case XadesTimestampKind::SigAndRefs:
        return "SigAndRefsTimeStamp";
    case XadesTimestampKind::RefsOnly:
        return "RefsOnlyTimeStamp";
    case XadesTimestampKind::Archive:
        break;
    }
    return "ArchiveTimeStamp";
}
