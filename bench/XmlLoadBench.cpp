// Load throughput of the XML scanner and tree, beside libxml2's parser on the
// same generated document.
//
//   xmldsig_bench [benchmark flags]     run the benchmarks
//   xmldsig_bench --write-xml PATH      write the generated document and exit
//   xmldsig_bench --load-file PATH      load one file into ClsXml and exit
//                                       (for whole-process time and memory)
#include "companion/log/LogBase.h"
#include "companion/text/StringBuffer.h"
#include "companion/xml/ClsXml.h"

#include <benchmark/benchmark.h>
#include <libxml/parser.h>

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <string>

namespace {

constexpr size_t kDocumentBytes = 20u << 20;

// A small deterministic generator (a linear congruential one), so every run
// and every process sees the same document.
class Numbers {
public:
    uint32_t next(uint32_t bound) {
        m_state = m_state * 6364136223846793005ull + 1442695040888963407ull;
        return static_cast<uint32_t>(m_state >> 33) % bound;
    }
    std::string amount() {
        const uint32_t cents = next(1000000);
        return std::to_string(cents / 100) + "." + std::to_string(100 + cents % 100).substr(1);
    }

private:
    uint64_t m_state = 42;
};

void appendParty(std::string& doc, const char* role, Numbers& n) {
    doc += "  <cac:" + std::string(role) + ">\n    <cac:Party>\n";
    doc += "      <cbc:EndpointID schemeID=\"0088\">" + std::to_string(4000000000000u + n.next(999999)) +
           "</cbc:EndpointID>\n";
    doc += "      <cac:PartyName>\n        <cbc:Name>Müller &amp; Søn Handelsgesellschaft " +
           std::to_string(n.next(900) + 100) + "</cbc:Name>\n      </cac:PartyName>\n";
    doc += "      <cac:PostalAddress>\n        <cbc:StreetName>Hauptstraße " + std::to_string(n.next(200) + 1) +
           "</cbc:StreetName>\n        <cbc:CityName>Zürich</cbc:CityName>\n"
           "        <cbc:PostalZone>80" +
           std::to_string(n.next(90) + 10) +
           "</cbc:PostalZone>\n        <cac:Country><cbc:IdentificationCode listID=\"ISO3166-1:Alpha2\">CH"
           "</cbc:IdentificationCode></cac:Country>\n      </cac:PostalAddress>\n";
    doc += "    </cac:Party>\n  </cac:" + std::string(role) + ">\n";
}

void appendLine(std::string& doc, uint32_t id, Numbers& n) {
    const std::string sku = std::to_string(100000 + n.next(900000));
    doc += "  <cac:InvoiceLine>\n";
    doc += "    <cbc:ID>" + std::to_string(id) + "</cbc:ID>\n";
    doc += "    <cbc:InvoicedQuantity unitCode=\"EA\">" + std::to_string(n.next(50) + 1) + "</cbc:InvoicedQuantity>\n";
    doc += "    <cbc:LineExtensionAmount currencyID=\"EUR\">" + n.amount() + "</cbc:LineExtensionAmount>\n";
    doc += "    <cac:Item>\n";
    doc += "      <cbc:Description>Stainless widget, size " + std::to_string(n.next(12) + 30) + ", batch &lt;" + sku +
           "&gt; (größe M)</cbc:Description>\n";
    doc += "      <cbc:Name>Widget " + sku + "</cbc:Name>\n";
    doc += "      <cac:SellersItemIdentification>\n        <cbc:ID>SKU-" + sku +
           "</cbc:ID>\n      </cac:SellersItemIdentification>\n";
    doc += "      <cac:ClassifiedTaxCategory>\n        <cbc:ID schemeID=\"UNCL5305\">S</cbc:ID>\n"
           "        <cbc:Percent>21</cbc:Percent>\n"
           "        <cac:TaxScheme>\n          <cbc:ID>VAT</cbc:ID>\n        </cac:TaxScheme>\n"
           "      </cac:ClassifiedTaxCategory>\n";
    doc += "    </cac:Item>\n";
    doc += "    <cac:Price>\n      <cbc:PriceAmount currencyID=\"EUR\">" + n.amount() +
           "</cbc:PriceAmount>\n    </cac:Price>\n";
    doc += "  </cac:InvoiceLine>\n";
}

void appendBase64(std::string& doc, size_t bytes, Numbers& n) {
    static constexpr char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    for (size_t i = 0; i < bytes; ++i) {
        doc.push_back(kAlphabet[n.next(64)]);
        if (i % 76 == 75)
            doc.push_back('\n');
    }
}

void appendSignature(std::string& doc, Numbers& n) {
    doc += "  <ds:Signature Id=\"signature-1\">\n    <ds:SignedInfo>\n"
           "      <ds:CanonicalizationMethod Algorithm=\"http://www.w3.org/2001/10/xml-exc-c14n#\"/>\n"
           "      <ds:SignatureMethod Algorithm=\"http://www.w3.org/2001/04/xmldsig-more#rsa-sha256\"/>\n"
           "      <ds:Reference URI=\"\">\n        <ds:Transforms>\n"
           "          <ds:Transform Algorithm=\"http://www.w3.org/2000/09/xmldsig#enveloped-signature\"/>\n"
           "        </ds:Transforms>\n"
           "        <ds:DigestMethod Algorithm=\"http://www.w3.org/2001/04/xmlenc#sha256\"/>\n"
           "        <ds:DigestValue>";
    appendBase64(doc, 44, n);
    doc += "</ds:DigestValue>\n      </ds:Reference>\n    </ds:SignedInfo>\n    <ds:SignatureValue>\n";
    appendBase64(doc, 344, n);
    doc += "\n</ds:SignatureValue>\n    <ds:KeyInfo>\n      <ds:X509Data>\n        <ds:X509Certificate>\n";
    appendBase64(doc, 1800, n);
    doc += "\n</ds:X509Certificate>\n      </ds:X509Data>\n    </ds:KeyInfo>\n  </ds:Signature>\n";
}

// A UBL-like invoice of at least kDocumentBytes: parties, many invoice lines,
// an enveloped signature; pretty-printed, with namespaces, attributes,
// entity references and non-ASCII text.
const std::string& invoiceDocument() {
    static const std::string doc = [] {
        std::string d;
        d.reserve(kDocumentBytes + (64u << 10));
        Numbers n;
        d += "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
             "<Invoice xmlns=\"urn:oasis:names:specification:ubl:schema:xsd:Invoice-2\"\n"
             "         xmlns:cac=\"urn:oasis:names:specification:ubl:schema:xsd:CommonAggregateComponents-2\"\n"
             "         xmlns:cbc=\"urn:oasis:names:specification:ubl:schema:xsd:CommonBasicComponents-2\"\n"
             "         xmlns:ds=\"http://www.w3.org/2000/09/xmldsig#\">\n"
             "  <cbc:UBLVersionID>2.1</cbc:UBLVersionID>\n  <cbc:ID>INV-2024-000042</cbc:ID>\n"
             "  <cbc:IssueDate>2024-03-15</cbc:IssueDate>\n"
             "  <!-- generated for the load benchmark -->\n"
             "  <cbc:DocumentCurrencyCode>EUR</cbc:DocumentCurrencyCode>\n";
        appendParty(d, "AccountingSupplierParty", n);
        appendParty(d, "AccountingCustomerParty", n);
        for (uint32_t id = 1; d.size() < kDocumentBytes; ++id)
            appendLine(d, id, n);
        appendSignature(d, n);
        d += "</Invoice>\n";
        return d;
    }();
    return doc;
}

void BM_ClsXmlLoad(benchmark::State& state) {
    const std::string& doc = invoiceDocument();
    // Loading shares the buffer's bytes, so every iteration reads the same copy.
    StringBuffer text{std::string_view(doc)};
    LogBase log;
    for (auto _ : state) {
        RefPtr<ClsXml> xml(ClsXml::createNewCls());
        if (!xml->loadXml(text, false, log))
            state.SkipWithError("load failed");
        benchmark::DoNotOptimize(xml->get_NumChildren());
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * doc.size()));
}
BENCHMARK(BM_ClsXmlLoad)->Unit(benchmark::kMillisecond);

void BM_Libxml2ReadMemory(benchmark::State& state) {
    const std::string& doc = invoiceDocument();
    for (auto _ : state) {
        xmlDocPtr parsed = xmlReadMemory(doc.data(), static_cast<int>(doc.size()), "bench.xml", nullptr,
                                         XML_PARSE_NONET | XML_PARSE_HUGE);
        if (!parsed)
            state.SkipWithError("libxml2 failed");
        xmlFreeDoc(parsed);
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * doc.size()));
}
BENCHMARK(BM_Libxml2ReadMemory)->Unit(benchmark::kMillisecond);

int writeDocument(const char* path) {
    std::ofstream out(path, std::ios::binary);
    out << invoiceDocument();
    return out ? 0 : 1;
}

int loadFile(const char* path) {
    std::ifstream in(path, std::ios::binary | std::ios::ate);
    std::string bytes(static_cast<size_t>(in.tellg()), '\0');
    in.seekg(0);
    in.read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    StringBuffer text(std::move(bytes));
    LogBase log;
    RefPtr<ClsXml> xml(ClsXml::createNewCls());
    if (!xml->loadXml(text, false, log)) {
        std::fprintf(stderr, "%s\n", log.firstError().c_str());
        return 1;
    }
    return 0;
}

} // namespace

int main(int argc, char** argv) {
    if (argc == 3 && std::strcmp(argv[1], "--write-xml") == 0)
        return writeDocument(argv[2]);
    if (argc == 3 && std::strcmp(argv[1], "--load-file") == 0)
        return loadFile(argv[2]);
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
