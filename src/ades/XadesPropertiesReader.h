#pragma once

#include "ades/AdesReport.h"
#include "ades/XadesElements.h"

// What the signed properties state, as a relying party reads them; the
// references DataObjectFormat names are matched to their index.
XadesProperties readXadesProperties(const XmlDocument& doc, const XadesElements& e);
