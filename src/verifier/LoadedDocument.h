#pragma once

#include "companion/text/ExtPtrArray.h"
#include "companion/text/RefCountedObject.h"
#include "companion/text/StringBuffer.h"
#include "companion/xml/ClsXml.h"
#include "companion/xml/XmlSigPositions.h"

#include <cstdint>
#include <string>

// The last signature location found in the loaded text. `ambiguous`: the
// search by Id or digest landed on another signature.
struct SignatureLocateMemo {
    bool valid = false;
    bool byId = false;
    bool found = false;
    bool ambiguous = false;
    uint32_t selectedLoc = 0;
    uint32_t otherLoc = 0; // where the search landed when ambiguous
    std::string key;
    XmlSigPositions positions;
};

// A signature's Reference elements, listed once so that reference i is not
// found by walking i siblings.
struct SignatureReferences {
    const ClsXml* signature = nullptr;
    bool hasSignedInfo = false;
    ExtPtrArrayRc references;
};

// The loaded document: its UTF-8 text (byte for byte what digests read), its
// tree, its Signature elements, and what is found in them once. Replaced
// whole by a load.
struct LoadedDocument {
    StringBuffer text;
    RefPtr<ClsXml> tree;
    ExtPtrArrayRc signatures;
    SignatureReferences references; // of the selected signature
    SignatureLocateMemo located;
};
