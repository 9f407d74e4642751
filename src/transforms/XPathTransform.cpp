#include "companion/log/LogContextExitor.h"
#include "companion/text/ExtPtrArray.h"
#include "companion/xml/ClsXml.h"
#include "companion/xml/XmlSigRemoval.h"
#include "companion/xml/_tvXmlDtd.h"
#include "verifier/AlgorithmUris.h"
#include "verifier/DSigReference.h"
#include "verifier/_clsXmlDSigBase.h"

#include <string>

// The expressions that real signers write are recognised by their text and
// carried out as the text edits they amount to; any other expression is left
// to the XPath evaluator (XPathNodeSet).
namespace {

using algorithm_uri::kXPathFilter2;

constexpr int kMaxRemovals = 100;
constexpr const char* kZatcaQrTemplate = "<_cbc_:_ID_>_QR_</_cbc_:_ID_>";
constexpr const char* kZatcaQrBlock = "<cbc:ID>QR</cbc:ID>";
constexpr const char* kNotAncestorOrSelf = "not(//ancestor-or-self::";

enum UnhandledXPath { kFilterNotSubtract = 1, kNoFormMatched = 2, kFilterOtherExpression = 3 };

// Removes up to kMaxRemovals runs from `start` through the first `end` after it.
void removeAllRuns(StringBuffer& xml, std::string_view start, std::string_view end) {
    for (int i = 0; i < kMaxRemovals; ++i) {
        const int a = xml.findSubstr(start);
        if (a < 0)
            return;
        const int b = xml.findSubstr(end, static_cast<unsigned>(a));
        if (b < 0)
            return;
        xml.removeChunk(static_cast<unsigned>(a), static_cast<unsigned>(b - a) + static_cast<unsigned>(end.size()));
    }
}

bool removeAllSignatures(StringBuffer& xml, LogBase& log) {
    _tvXmlDtd dtd;
    XmlSigRemoval removal;
    StringBuffer out;
    const bool ok = removal.removeSignatures(xml.view(), dtd, out, log);
    xml.takeSb(out);
    return ok;
}

// The attribute of the transform's index-th child element.
void childAttribute(ClsXml* transform, int index, const char* attr, StringBuffer& out) {
    out.clear();
    if (!transform)
        return;
    RefPtr<ClsXml> child(transform->GetChild(index));
    if (child)
        child->getAttrValue(attr, out);
}

void childContent(ClsXml* transform, int index, StringBuffer& out) {
    out.clear();
    if (!transform)
        return;
    RefPtr<ClsXml> child(transform->GetChild(index));
    if (child)
        child->getContentSb(out);
}

std::string concat(std::string_view a, std::string_view b, std::string_view c) {
    std::string s;
    s.reserve(a.size() + b.size() + c.size());
    s.append(a).append(b).append(c);
    return s;
}

std::string token(const ExtPtrArraySb& tokens, int i) {
    const StringBuffer* sb = tokens.sbAt(i);
    return sb ? std::string(sb->view()) : std::string();
}

void removeZatcaQrReference(StringBuffer& xml, const StringBuffer& xPath, _clsXmlDSigBase& self, LogBase& log) {
    log.LogInfo("Matched not(//ancestor-or-self::*[*ID='*'])");
    ExtPtrArraySb tokens;
    xPath.tokenize(tokens, ":[=]");
    const std::string element = concat(token(tokens, 3), ":", token(tokens, 5));
    const std::string startTag = concat("<", element, ">");
    const std::string endTag = concat("</", element, ">");

    StringBuffer pattern(kZatcaQrTemplate);
    pattern.replaceAllOccurances("_cbc_", token(tokens, 7));
    if (tokens.sbAt(11)) {
        StringBuffer value(token(tokens, 11));
        value.removeCharOccurances('\'');
        pattern.replaceAllOccurances("_QR_", value.view());
    }
    pattern.replaceAllOccurances("_ID_", token(tokens, 9));
    log.LogDataStr("startTag", startTag);
    log.LogDataStr("endTag", endTag);
    log.LogDataSb("mustContain", pattern);

    // The block removed is always the one holding the QR identifier; the
    // pattern built above only documents what the expression asked for.
    for (int i = 0;
         i < kMaxRemovals && self.removeXmlChunkContaining(startTag.c_str(), endTag.c_str(), kZatcaQrBlock, xml, log);
         ++i) {
    }
}

void removeNamedElements(StringBuffer& xml, const StringBuffer& xPath, bool isMyInvois, LogBase& log) {
    log.LogDataLong("commonXPathOption", 7);
    log.LogInfo("Matched not(//ancestor-or-self::*)");
    StringBuffer name(xPath.view());
    name.replaceFirstOccurance(kNotAncestorOrSelf, "");
    name.shorten(1);
    const std::string startTag = concat("<", name.view(), ">");
    const std::string endTag = concat("</", name.view(), ">");
    log.LogDataStr("startTag", startTag);
    log.LogDataStr("endTag", endTag);

    if (isMyInvois && startTag.find("UBLExtensions") != std::string::npos) {
        // MyInvois keeps the first extensions block (it holds the signature)
        // and signs without the second.
        const int first = xml.findSubstr(startTag);
        const int second = first < 0 ? -1 : xml.findSubstr(startTag, static_cast<unsigned>(first) + 3);
        const int end = second < 0 ? -1 : xml.findSubstr(endTag, static_cast<unsigned>(second));
        if (end >= 0) {
            xml.removeChunk(static_cast<unsigned>(second),
                            static_cast<unsigned>(end - second) + static_cast<unsigned>(endTag.size()));
            return;
        }
    }
    removeAllRuns(xml, startTag, endTag);
}

} // namespace

bool _clsXmlDSigBase::transformXPath(ClsXml* transform, StringBuffer& xml, StringBuffer& algorithm, StringBuffer& xPath,
                                     LogBase& log, bool* recognised) {
    LogContextExitor ctx(log, "transformXPath");
    log.LogDataSb("transformAlgorithm", algorithm);
    log.LogDataSb("xPath", xPath);

    bool result = true;
    const bool isFilter2 = algorithm.containsSubstring(kXPathFilter2);
    if (xPath.containsSubstring("Signature") &&
        (xPath.containsSubstring("not(ancestor-or-self") || xPath.containsSubstring("not(//ancestor-or-self"))) {
        log.LogDataLong("commonXPathOption", 1);
        if (xPath.containsSubstring("cac:Signature")) {
            removeAllRuns(xml, "<cac:Signature>", "</cac:Signature>");
        } else {
            log.LogInfo("removing all Signatures from the XML to be canonicalized");
            result = removeAllSignatures(xml, log);
        }
    } else if (xPath.containsSubstring("ebxml-msg:actor:next")) {
        log.LogDataLong("commonXPathOption", 2);
        DSigReference ref;
        ref.removeEbXmlFragments(xml, log);
    } else if (xPath.containsSubstring("ancestor-or-self::sig:UBLDocumentSignatures")) {
        log.LogDataLong("commonXPathOption", 3);
        removeXmlChunk("<sig:UBLDocumentSignatures>", "</sig:UBLDocumentSignatures>", xml);
        log.LogInfo("Found UBLDocumentSignatures transform.");
    } else if (isFilter2 && (xPath.containsSubstring("/descendant::ds:Signature") ||
                             xPath.containsSubstring("/descendant::*[name()='ds:Signature']"))) {
        log.LogDataLong("commonXPathOption", 4);
        StringBuffer filter;
        childAttribute(transform, 0, "Filter", filter);
        if (filter.equals("subtract")) {
            removeAllSignatures(xml, log);
        } else {
            log.LogDataLong("unhandledXPath", kFilterNotSubtract);
            result = false;
            if (recognised)
                *recognised = false;
        }
    } else if (isFilter2) {
        log.LogDataLong("commonXPathOption", 5);
        StringBuffer filter, expression;
        childAttribute(transform, 1, "Filter", filter);
        childContent(transform, 1, expression);
        if (filter.equals("subtract") && expression.containsSubstring("ancestor::ext:UBLExtensions/ext:UBLExtension")) {
            removeXmlChunk("<ext:UBLExtensions>", "</ext:UBLExtensions>", xml);
        } else {
            log.LogDataLong("unhandledXPath", kFilterOtherExpression);
            result = false;
            if (recognised)
                *recognised = false;
        }
    } else if (xPath.matches("not(//ancestor-or-self::*[*ID='*'])", true)) {
        log.LogDataLong("commonXPathOption", 6);
        removeZatcaQrReference(xml, xPath, *this, log);
    } else if (xPath.matches("not(//ancestor-or-self::*)", true)) {
        removeNamedElements(xml, xPath, m_profile.isMyInvois, log);
    } else {
        log.LogDataLong("unhandledXPath", kNoFormMatched);
        result = false;
        if (recognised)
            *recognised = false;
    }
    log.LogDataBool("transformXPathSuccess", result);
    return result;
}
