#pragma once

#include <cstdint>
#include <string>
#include <vector>

// What an evaluated XPath, XPath Filter 2.0 or XPointer transform left of
// what the reference named, when that is not the named element (or document
// element) whole: the top elements of the node-set, at most
// MaxReportedElements of them, how many there are, and whether anything
// around them was left out.
struct ReferenceSelection {
    struct Element {
        std::string name;
        std::string path;
        // Where its start tag is in the loaded text; 0 when the node-set was
        // read from a text an earlier transform edited.
        uint32_t line = 0;
        uint32_t offset = 0;
        bool inLoadedText = false;
    };
    std::vector<Element> elements;
    uint64_t elementCount = 0;
    bool excludesOutside = false;
};

// What one reference of a verified signature covered and whether its digest
// matched, so that an application can check that the element it reads is
// the element that was signed.
struct ReferenceOutcome {
    enum class Target : uint8_t { Element, WholeDocument, External, Unresolved, Selection };

    int index = 0;
    std::string uri;
    Target target = Target::Unresolved;
    // For an element: its name as written, its path from the root by local
    // names and 1-based positions among same-named siblings
    // ("/Envelope/Body[1]"), and where its start tag is.
    std::string elementName;
    std::string path;
    uint32_t line = 0;
    uint32_t offset = 0;
    // For an external reference: the file hashed, empty for caller data.
    std::string externalFile;
    // For a selection: what the node-set kept.
    ReferenceSelection selection;
    std::vector<std::string> transforms;
    std::string digestMethod;
    bool matched = false;
    int failReason = 0;

    // "element ds:Object at /Signature/Object[1] (line 3, byte 120)",
    // "whole document", "external: FILE", ...
    std::string describeTarget() const;
    std::string describeSelection() const;
    // The log's one-line summary of the reference.
    std::string summary() const;
};
