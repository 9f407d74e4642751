#pragma once

#include "companion/canon/CanonAttribute.h"
#include "companion/canon/CanonNamespaces.h"
#include "companion/canon/CanonOutput.h"
#include "companion/canon/CanonSink.h"
#include "companion/canon/CanonTarget.h"
#include "companion/xml/XmlDtd.h"
#include "companion/xml/XmlScanner.h"
#include "companion/xml/XmlTreeReplay.h"

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

class LogBase;
class XmlDocument;

// How a pass renders what it emits.
struct CanonOptions {
    bool exclusive = false;
    // Canonical XML 1.1: a fragment's apex inherits only xml:lang and
    // xml:space and joins the xml:base values of its ancestors.
    bool c14n11 = false;
    bool withComments = false;
    bool sortBugEmulation = false;
    bool inheritAncestorContext = true;
    std::span<const std::string_view> inclusivePrefixes; // exclusive mode; "" is the default namespace
    // Bytes of the document read as if they were not there (one element).
    uint32_t excludedBegin = 0;
    uint32_t excludedEnd = 0;
};

// One canonicalization: reads the document's tokens once, keeps the
// namespace context of the elements it passes, and writes the target (the
// document, or one element's subtree) to out. A fragment's pass stops as
// soon as its apex closes. The scratch vectors live as long as the pass, so
// elements cost no allocation of their own.
class CanonPass {
public:
    // `parsed`, when not null, may be the tree of the document (it is used
    // only if it is). `authenticatedCounter` numbers the authenticate="true"
    // elements met (the EBICS selection); `ordinal` is the one to emit.
    CanonPass(std::string_view document, const XmlDocument* parsed, const CanonOptions& options,
              const CanonTarget& target, unsigned& authenticatedCounter, unsigned ordinal, std::string& out);
    CanonPass(const CanonPass&) = delete;
    CanonPass& operator=(const CanonPass&) = delete;

    // With a sink, the output is handed on in pieces as it grows instead of
    // accumulating in out.
    void setSink(CanonSink* sink) { m_sink = sink; }

    // False, with one error line, for a document that is not well-formed or
    // a target that is not in it.
    bool run(LogBase& log);
    // After a failed run: the document was well-formed and the target is
    // not in it.
    bool missedTarget() const { return m_missedTarget; }

private:
    enum class Phase : uint8_t { Searching, Prolog, Inside, Epilog, Done };

    void chooseTokenSource(const XmlDocument* parsed);
    void leaveOutExcludedElement(const XmlDocument& parsed);
    uint32_t indexedApex(const XmlDocument& parsed) const;
    void reserveOutput();
    // The loop is compiled once per source, so that reading a token costs no
    // virtual call.
    template <class Source> bool readTokens(Source& tokens, LogBase& log);
    template <class Source> bool isExcluded(const Source& tokens) const;
    bool reportMissingTarget(LogBase& log) const;
    void handOverFullChunk();
    void flushToSink();
    void onToken(const XmlToken& t);
    void onStartTag(const XmlToken& t);
    void onEndTag(const XmlToken& t);
    void onComment(const XmlToken& t);
    void onProcessingInstruction(const XmlToken& t);

    bool isApex(const XmlToken& t);
    bool attributeValueIs(const XmlAttribute& attribute, std::string_view value);
    void declareNamespaces(const XmlToken& t);
    void noteRelativeNamespace(const XmlAttribute& declaration);
    void refuseRelativeNamespace();
    void rememberXmlAttributes(const XmlToken& t);
    void forgetXmlAttributesBelow(uint32_t depth);

    void writeText(const XmlToken& t);
    void writeStartTag(const XmlToken& t, bool apex);
    void closeStartTag(const XmlToken& t);
    void collectInclusiveNamespaces(bool apex);
    void collectExclusiveNamespaces(std::string_view elementPrefix, bool apex);
    void considerUtilized(std::string_view prefix);
    bool declaredOnElement(std::string_view prefix) const;
    void writeNamespaces();
    void collectAttributes(const XmlToken& t, bool apex);
    void addInheritedXmlAttributes();
    void writeAttributes();
    void writeApexAttributes();
    std::string_view writtenCanonically(const CanonAttribute& a) const;
    void writeEndTag(const XmlToken& t);
    void writeComment(std::string_view text);
    void writeProcessingInstruction(std::string_view target, std::string_view data);
    // Comments and PIs outside the root go on lines of their own.
    void beforeOutsideRoot();
    void afterOutsideRoot();

    std::string_view slice(XmlSpan span) const { return m_dtd.slice(span); }

    const CanonOptions& m_options;
    const CanonTarget& m_target;
    unsigned& m_authenticatedCounter;
    const unsigned m_ordinal;
    CanonOutput m_output;
    XmlDtd m_dtd;
    // One of the two is the source of the tokens.
    std::optional<XmlScanner> m_scanner;
    std::optional<XmlTreeReplay> m_replay;
    CanonNamespaces m_namespaces;
    Phase m_phase;
    bool m_missedTarget = false;
    bool m_testsExclusion; // per token, when the source does not leave the excluded element out
    uint32_t m_apexDepth = 0;
    // Where the token being handled stands.
    uint32_t m_depth = 0;
    bool m_inEntity = false;
    std::vector<CanonAttribute> m_attributes;
    std::vector<CanonNamespaces::Binding> m_candidates;
    std::vector<CanonXmlAttributeInScope> m_xmlAttributes;
    std::string m_scratch;
    // The apex's xml:base as Canonical XML 1.1 joins it.
    std::string m_fixedUpBase;
    // The depth of the outermost open element that declares a relative
    // namespace name (0: none is open), and that declaration: nothing at or
    // below the element can be canonicalized.
    uint32_t m_relativeDepth = 0;
    XmlAttribute m_relativeDeclaration;
    std::string m_refusal;
    CanonSink* m_sink = nullptr;
};
