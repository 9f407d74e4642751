#include "HtmlReport.h"

#include "HtmlText.h"
#include "IndicationWords.h"
#include "ReportStyle.h"
#include "SignatureJson.h"

namespace {

using xmldsig::AdesValidation;
using xmldsig::Reference;
using xmldsig::SignatureResult;
using xmldsig::Trust;

std::string esc(std::string_view text) {
    return htmlEscaped(text);
}

// A value, or a muted "none" when there is nothing to show.
std::string valueOrNone(std::string_view text) {
    return text.empty() ? "<span class=\"none\">none</span>" : esc(text);
}

std::string yesNo(bool yes, std::string_view ifYes, std::string_view ifNo) {
    return yes ? "<span class=\"yes\">" + esc(ifYes) + "</span>" : "<span class=\"no\">" + esc(ifNo) + "</span>";
}

// Definition-list rows; the values are already HTML.
class Facts {
public:
    Facts& add(std::string_view label, std::string html) {
        m_rows += "<dt>" + esc(label) + "</dt><dd>" + html + "</dd>";
        return *this;
    }
    Facts& text(std::string_view label, std::string_view value) { return add(label, valueOrNone(value)); }
    std::string html() const { return "<dl>" + m_rows + "</dl>\n"; }

private:
    std::string m_rows;
};

// A table whose cells are already HTML.
class Table {
public:
    explicit Table(std::initializer_list<std::string_view> headings) {
        for (std::string_view h : headings)
            m_head += "<th>" + esc(h) + "</th>";
    }
    void row(std::initializer_list<std::string> cells, std::string_view rowClass = {}) {
        m_body += rowClass.empty() ? "<tr>" : "<tr class=\"" + esc(rowClass) + "\">";
        for (const std::string& c : cells)
            m_body += "<td>" + c + "</td>";
        m_body += "</tr>";
    }
    bool empty() const { return m_body.empty(); }
    std::string html() const {
        return "<table><thead><tr>" + m_head + "</tr></thead><tbody>" + m_body + "</tbody></table>\n";
    }

private:
    std::string m_head;
    std::string m_body;
};

std::string heading(std::string_view title) {
    return "<h3>" + esc(title) + "</h3>\n";
}

std::string noneParagraph(std::string_view text) {
    return "<p class=\"none\">" + esc(text) + "</p>\n";
}

const char* bannerClass(AdesValidation::Indication indication) {
    switch (indication) {
    case AdesValidation::Indication::TotalPassed:
        return "passed";
    case AdesValidation::Indication::TotalFailed:
        return "failed";
    case AdesValidation::Indication::Indeterminate:
        break;
    }
    return "indeterminate";
}

std::string adesBanner(const AdesValidation& ades) {
    std::string html = "<div class=\"banner " + std::string(bannerClass(ades.indication)) +
                       "\" role=\"status\"><span class=\"token\">" + esc(xmldsig::indicationName(ades.indication)) +
                       "</span>";
    if (const std::string_view sub = xmldsig::subIndicationName(ades.subIndication); !sub.empty())
        html += "<span class=\"sub\">" + esc(sub) + "</span>";
    if (!ades.level.empty())
        html += "<span class=\"level\">" + esc(ades.level) + "</span>";
    html += "<p>" + esc(indicationMeaning(ades.indication));
    if (const std::string_view words = subIndicationMeaning(ades.subIndication); !words.empty())
        html += " " + esc(words);
    html += "</p>";
    if (!ades.bestSignatureTime.empty())
        html += "<p>Best signature time: " + esc(ades.bestSignatureTime) + "</p>";
    return html + "</div>\n";
}

// Without an AdES validation the banner carries the XML-DSig verdict only,
// and says so rather than guess an indication.
std::string coreBanner(const SignatureResult& s) {
    return "<div class=\"banner " + std::string(s.valid ? "passed" : "failed") +
           "\" role=\"status\"><span class=\"token\">" + (s.valid ? "VALID" : "INVALID") +
           "</span><p>XML-DSig core verification only: no AdES validation was made.</p></div>\n";
}

std::string failures(const SignatureResult& s) {
    std::string items;
    for (const Reference& r : s.references)
        if (!r.matched)
            items += "<li>Reference " + std::to_string(r.index) + " (<code>" + esc(r.uri) +
                     "</code>) does not match: " + esc(r.failure) + "</li>";
    // A failed reference is the reason itself; said once is enough.
    if (!s.valid && items.empty())
        items += "<li>" + esc(s.reason) + "</li>";
    if (s.ades)
        for (const AdesValidation::Check& c : s.ades->checks)
            if (c.outcome == AdesValidation::Check::Outcome::Failed)
                items += "<li>" + esc(c.name) + (c.detail.empty() ? "" : ": " + esc(c.detail)) + "</li>";
    if (items.empty())
        return "";
    return heading("What failed") + "<ul class=\"failures\">" + items + "</ul>\n";
}

std::string coreVerification(const SignatureResult& s) {
    Facts facts;
    facts.add("XML-DSig verdict", yesNo(s.valid, "VALID", "INVALID")).text("Decided at", s.stage);
    if (!s.valid)
        facts.text("Reason", s.reason);
    for (const auto& a : s.furtherAttempts)
        facts.text("Further attempt",
                   (a.reference < 0 ? std::string("signature value") : "reference " + std::to_string(a.reference)) +
                       ": " + a.name);
    if (s.limit)
        facts.text("Limit reached", s.limit->option + " (" + std::to_string(s.limit->count) + " over " +
                                        std::to_string(s.limit->limit) + ")");
    return heading("Signature verification") + facts.html();
}

std::string certificateFacts(const std::string& subject, const std::string& issuer, const std::string& serial,
                             const std::string& notBefore, const std::string& notAfter,
                             const std::string& fingerprint) {
    return Facts()
        .text("Subject", subject)
        .text("Issuer", issuer)
        .add("Serial number", "<span class=\"mono\">" + valueOrNone(serial) + "</span>")
        .text("Valid from", notBefore)
        .text("Valid until", notAfter)
        .add("SHA-256 fingerprint", "<span class=\"mono\">" + valueOrNone(fingerprint) + "</span>")
        .html();
}

// When no key verified the value (a reference failed first), the AdES
// validation's signing certificate, else what KeyInfo carries, says who
// claims to have signed.
std::string unverifiedSigner(const SignatureResult& s, const DocumentText& text) {
    if (s.ades && !s.ades->chain.empty()) {
        const AdesValidation::ChainCertificate& c = s.ades->chain.front();
        return heading("Signer") + "<p>The signing certificate; the signature value was not verified with it.</p>\n" +
               certificateFacts(c.subject, c.issuer, c.serialNumber, c.notBefore, c.notAfter, c.sha256Fingerprint);
    }
    const std::vector<xmldsig::Certificate> certificates = text.keyInfoCertificates(s.index);
    if (certificates.empty())
        return heading("Signer") + noneParagraph("No key verified the signature value.");
    std::string html =
        heading("Signer") + "<p>No key verified the signature value. The certificates its KeyInfo carries:</p>\n";
    for (const xmldsig::Certificate& c : certificates)
        html += certificateFacts(c.subject, c.issuer, c.serialNumber, c.notBefore, c.notAfter, c.sha256Fingerprint);
    return html;
}

std::string signer(const SignatureResult& s, const DocumentText& text) {
    if (!s.signer)
        return unverifiedSigner(s, text);
    const xmldsig::Signer& k = *s.signer;
    Facts facts;
    facts.text("Algorithm", k.algorithm)
        .text("Key", k.keyType + (k.keyBits > 0 ? " " + std::to_string(k.keyBits) + " bits" : std::string()))
        .text("Key source", k.keySource)
        .text("Found through", k.keyPath);
    if (!k.signingTime.empty())
        facts.text("Signing time", k.signingTime + " (" + k.signingTimeSource + ")");
    const auto& c = k.certificate;
    return heading("Signer") +
           (c ? certificateFacts(c->subject, c->issuer, c->serialNumber, c->notBefore, c->notAfter,
                                 c->sha256Fingerprint)
              : std::string()) +
           facts.html();
}

std::string trust(const Trust& t) {
    Facts facts;
    facts.add("Status", t.status == Trust::Status::NotChecked
                            ? "<span class=\"unknown\">not checked against a trust anchor</span>"
                            : yesNo(t.status == Trust::Status::Trusted, "trusted", "not trusted"));
    if (!t.anchorSubject.empty())
        facts.text("Anchor", t.anchorSubject);
    if (!t.reason.empty())
        facts.text("Reason", t.reason);
    if (t.status != Trust::Status::NotChecked)
        facts.text("Checked at", t.time + (t.timeSource.empty() ? "" : " (" + t.timeSource + ")"));
    return heading("Trust") + facts.html();
}

std::string revocationCell(const AdesValidation::ChainCertificate& c) {
    const std::string status = c.revocation.empty() ? "not checked" : c.revocation;
    std::string html = status == "good"      ? "<span class=\"yes\">good</span>"
                       : status == "revoked" ? "<span class=\"no\">revoked</span>"
                                             : "<span class=\"unknown\">" + esc(status) + "</span>";
    if (!c.revocationSource.empty())
        html += "<br>from " + esc(c.revocationSource);
    if (!c.revocationTime.empty())
        html += "<br>at " + esc(c.revocationTime);
    return html;
}

std::string chain(const AdesValidation& ades) {
    Table table({"#", "Subject", "Issuer", "Serial", "Validity", "SHA-256", "Revocation"});
    int n = 0;
    for (const auto& c : ades.chain)
        table.row({std::to_string(n++) + (c.anchor ? "<br><span class=\"yes\">anchor</span>" : ""), esc(c.subject),
                   esc(c.issuer), "<span class=\"mono\">" + esc(c.serialNumber) + "</span>",
                   esc(c.notBefore) + " to " + esc(c.notAfter),
                   "<span class=\"mono\">" + esc(c.sha256Fingerprint) + "</span>", revocationCell(c)});
    return heading("Certificate chain") + (table.empty() ? noneParagraph("No chain was built.") : table.html());
}

std::string timestamps(const AdesValidation& ades) {
    Table table({"Kind", "Valid", "Time", "Time-stamping authority", "Authority trusted"});
    for (const auto& t : ades.timestamps)
        table.row({esc(t.kind), t.valid ? yesNo(true, "valid", "") : yesNo(false, "", "invalid: " + t.reason),
                   valueOrNone(t.time), valueOrNone(t.tsaSubject), yesNo(t.tsaTrusted, "yes", "no")});
    return heading("Timestamps") +
           (table.empty() ? noneParagraph("The signature carries no timestamp.") : table.html());
}

std::string listOrNone(const std::vector<std::string>& items) {
    if (items.empty())
        return valueOrNone("");
    std::string html;
    for (const std::string& item : items)
        html += (html.empty() ? "" : "<br>") + esc(item);
    return html;
}

std::string properties(const AdesValidation::Properties& p) {
    std::string formats;
    for (const auto& f : p.dataObjectFormats)
        formats += (formats.empty() ? "" : "<br>") +
                   (f.reference < 0 ? std::string("no reference") : "reference " + std::to_string(f.reference)) + ": " +
                   valueOrNone(f.mimeType) + (f.description.empty() ? "" : " (" + esc(f.description) + ")");
    Facts facts;
    facts.text("Signing time", p.signingTime)
        .add("Data object formats", formats.empty() ? valueOrNone("") : formats)
        .add("Commitment types", listOrNone(p.commitmentTypes))
        .add("Signer roles", listOrNone(p.signerRoles))
        .text("Production place", p.productionPlace)
        .text("Signature policy", p.policyIdentifier);
    return heading("Signed properties") + facts.html();
}

// Where a reference led, and the start of what it signed when that is an
// element of this document.
std::string coveredCell(const Reference& r, const DocumentText& text) {
    std::string html = esc(referenceTargetName(r.target));
    auto excerpt = [&](std::uint32_t offset) {
        const std::string start = text.elementStartAt(offset);
        return start.empty() ? std::string() : "<pre><code>" + esc(start) + "</code></pre>";
    };
    if (r.target == Reference::Target::Element) {
        html += ": <code>" + esc(r.path) + "</code>, line " + std::to_string(r.line) + excerpt(r.offset);
    } else if (r.target == Reference::Target::External) {
        html += ": " + valueOrNone(r.externalFile);
    } else if (r.target == Reference::Target::Selection) {
        html += " of " + std::to_string(r.selectedCount) + " element(s)" +
                (r.excludesOutside ? ", leaving out what is around them" : "");
        for (const Reference::SelectedElement& e : r.selected)
            html += "<br><code>" + esc(e.path) + "</code>, line " + std::to_string(e.line) + excerpt(e.offset);
    }
    return html;
}

std::string references(const SignatureResult& s, const DocumentText& text) {
    Table table({"#", "URI", "Covers", "Transforms", "Digest method", "Digest"});
    for (const Reference& r : s.references) {
        std::string transforms;
        for (const std::string& t : r.transforms)
            transforms += std::string(transforms.empty() ? "" : "<br>") + "<code>" + esc(t) + "</code>";
        table.row({std::to_string(r.index), "<code>" + esc(r.uri) + "</code>", coveredCell(r, text),
                   transforms.empty() ? valueOrNone("") : transforms, "<code>" + esc(r.digestMethod) + "</code>",
                   yesNo(r.matched, "matched", "NOT MATCHED: " + r.failure)},
                  r.matched ? "" : "mismatch");
    }
    return heading("What was signed") +
           (table.empty() ? noneParagraph("The references were not checked.") : table.html());
}

std::string counterSignatures(const AdesValidation& ades) {
    if (ades.counterSignatures.empty())
        return "";
    Table table({"Id", "Valid", "Signer"});
    for (const auto& c : ades.counterSignatures)
        table.row({valueOrNone(c.id), c.valid ? yesNo(true, "valid", "") : yesNo(false, "", "invalid: " + c.reason),
                   valueOrNone(c.signerSubject)});
    return heading("Counter-signatures") + table.html();
}

std::string checks(const AdesValidation& ades) {
    Table table({"Check", "Outcome", "Detail"});
    for (const auto& c : ades.checks) {
        const auto outcome = c.outcome;
        const char* cls = outcome == AdesValidation::Check::Outcome::Passed   ? "yes"
                          : outcome == AdesValidation::Check::Outcome::Failed ? "no"
                                                                              : "unknown";
        table.row({esc(c.name),
                   "<span class=\"" + std::string(cls) + "\">" + esc(xmldsig::checkOutcomeName(outcome)) + "</span>",
                   valueOrNone(c.detail)});
    }
    return heading("Checks made") + (table.empty() ? noneParagraph("No checks were recorded.") : table.html());
}

std::string signatureSection(const SignatureResult& s, const DocumentText& text) {
    std::string html = "<section class=\"signature\"><h2>Signature " + std::to_string(s.index) +
                       (s.id.empty() ? "" : " <code>" + esc(s.id) + "</code>") + "</h2>\n";
    html += s.ades ? adesBanner(*s.ades) : coreBanner(s);
    html += failures(s) + coreVerification(s) + signer(s, text) + trust(s.trust);
    if (s.ades)
        html += chain(*s.ades) + timestamps(*s.ades) + properties(s.ades->properties);
    html += references(s, text);
    if (s.ades)
        html += counterSignatures(*s.ades) + checks(*s.ades);
    return html + "</section>\n";
}

} // namespace

void writeHtmlReport(const std::string& name, const xmldsig::Result& result, const DocumentText& text,
                     std::ostream& out) {
    out << "<!DOCTYPE html>\n<html lang=\"en\"><head><meta charset=\"utf-8\">"
        << "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">"
        << "<title>Signature report: " << esc(name) << "</title><style>" << reportStyle() << "</style></head>\n"
        << "<body><header><h1>Signature report</h1><p class=\"file\">" << esc(name) << "</p></header>\n";
    if (result.signatures.empty())
        out << noneParagraph("No signature was verified.");
    for (const SignatureResult& s : result.signatures)
        out << signatureSection(s, text);
    out << "<footer>Made by xmldsig report.</footer>\n</body></html>\n";
}
