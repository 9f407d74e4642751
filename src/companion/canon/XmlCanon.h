#pragma once

#include "companion/canon/CanonSink.h"
#include "companion/text/ExtPtrArray.h"

#include <cstdint>
#include <string_view>
#include <vector>

class LogBase;
class StringBuffer;
class WorkBudget;
class XmlDocument;
struct CanonOptions;

// Canonical XML 1.0 and 1.1 and Exclusive XML Canonicalization 1.0 of a
// UTF-8 document or of one element of it, in one pass over the scanner's
// tokens. The two inclusive versions differ only in the xml:* attributes a
// fragment's apex inherits.
//
// Besides the standard it can reproduce signers that order attributes by
// their names as written, and select the elements that EBICS authenticates
// one pass at a time.
class XmlCanon {
public:
    enum class Mode : uint8_t { Inclusive = 1, Exclusive = 2, Inclusive11 = 3 };

    XmlCanon() = default;
    virtual ~XmlCanon() = default;
    XmlCanon(const XmlCanon&) = delete;
    XmlCanon& operator=(const XmlCanon&) = delete;

    Mode mode() const { return m_mode; }
    void setMode(Mode mode) { m_mode = mode; }
    bool withComments() const { return m_withComments; }
    void setWithComments(bool on) { m_withComments = on; }
    // Exclusive mode only: prefixes handled as inclusive canonicalization
    // would ("#default" is the default namespace). Filled by the caller,
    // e.g. with StringBuffer::split of an InclusiveNamespaces PrefixList.
    ExtPtrArraySb& inclusivePrefixes() { return m_inclusivePrefixes; }
    const ExtPtrArraySb& inclusivePrefixes() const { return m_inclusivePrefixes; }
    // Orders attributes by prefix and local name, ignoring namespace URIs,
    // as some signers do; namespace declarations still come first.
    bool sortBugEmulation() const { return m_sortBugEmulation; }
    void setSortBugEmulation(bool on) { m_sortBugEmulation = on; }
    // A fragment's apex renders what it inherits from its ancestors (their
    // namespaces, and in inclusive mode their xml:* attributes). Off, the
    // fragment is canonicalized as if it stood alone. Canonical XML 1.1
    // inherits xml:lang and xml:space, joins xml:base and leaves xml:id.
    bool inheritAncestorContext() const { return m_inheritAncestorContext; }
    void setInheritAncestorContext(bool on) { m_inheritAncestorContext = on; }

    // EBICS: a pass emits the element whose authenticate attribute is "true"
    // and whose ordinal among those elements (document order, from 0) is the
    // one set here; the fragment URI is then not read. The counter numbers
    // the authenticated elements a pass meets; the caller resets it before
    // each pass.
    bool ebicsMode() const { return m_ebicsMode; }
    void setEbicsMode(bool on) { m_ebicsMode = on; }
    unsigned authenticatedOrdinal() const { return m_authenticatedOrdinal; }
    void setAuthenticatedOrdinal(unsigned ordinal) { m_authenticatedOrdinal = ordinal; }
    unsigned fragmentCounter() const { return m_fragmentCounter; }
    void setFragmentCounter(unsigned count) { m_fragmentCounter = count; }

    // With a sink set, the canonical text goes to the sink, in pieces, and
    // `out` is left as it was; a failed run may have written part of it.
    void setOutputSink(CanonSink* sink) { m_sink = sink; }

    // A tree parsed from the text that will be canonicalized: the pass then
    // reads the tree instead of scanning the text again. A tree of some
    // other text is ignored. It must outlive the calls.
    void setParsedDocument(const XmlDocument* doc) { m_parsed = doc; }

    // A work budget charged for what each pass reads and writes; once it is
    // spent no further pass runs (null: none).
    void setWorkBudget(WorkBudget* work) { m_work = work; }

    // The element whose text runs from `start` for `length` bytes is left
    // out, as if it had been cut from the text (length 0: nothing is).
    void setExcludedRange(unsigned start, unsigned length) {
        m_excludedStart = start;
        m_excludedLength = length;
    }

    // Canonicalizes `in` and appends the result to `out`. What is emitted:
    // with fragmentUri null or empty, the whole document, or when startOffset
    // is not 0 the element whose start tag begins at that byte offset;
    // otherwise the element that "#id", a bare "id" or "#xpointer(id('id'))"
    // names (the first whose Id, ID or id attribute, any prefix, has that
    // value), or the whole document for "#xpointer(/)". On failure (a
    // document that is not well-formed, no such element) `out` is left as it
    // was and the reason is logged.
    bool xmlCanonicalize(const StringBuffer& in, const char* fragmentUri, unsigned startOffset, StringBuffer& out,
                         LogBase& log);
    // After a failed xmlCanonicalize: the fragment URI named no element of
    // the document (or none in a form it could name).
    bool missedTarget() const { return m_missedTarget; }

private:
    // The settings as one pass reads them; `prefixes` holds the views.
    CanonOptions passOptions(std::vector<std::string_view>& prefixes) const;

    Mode m_mode = Mode::Inclusive;
    bool m_withComments = false;
    bool m_sortBugEmulation = false;
    bool m_inheritAncestorContext = true;
    bool m_ebicsMode = false;
    unsigned m_authenticatedOrdinal = 0;
    unsigned m_fragmentCounter = 0;
    ExtPtrArraySb m_inclusivePrefixes;
    CanonSink* m_sink = nullptr;
    const XmlDocument* m_parsed = nullptr;
    WorkBudget* m_work = nullptr;
    unsigned m_excludedStart = 0;
    unsigned m_excludedLength = 0;
    bool m_missedTarget = false;
};
