#pragma once

#include <array>
#include <string_view>

// Substrings of a document's text that identify a signer family whose
// signatures deviate from the standards. Each is matched case-sensitively
// anywhere in the text.
namespace profile_markers {

// Chilean tax service (SII) DTE documents.
inline constexpr std::string_view kSiiChile = "www.sii.cl";
// Peruvian tax service (SUNAT) UBL documents.
inline constexpr std::string_view kSunatUbl = "urn:sunat:names:specification:ubl:peru";

// Signers known to sort attributes by qualified name (see XmlCanon's
// sorting-bug emulation), in the order they are tested:
// the Polish Ministry of Finance's e-declarations service and its domain,
// the Polish Social Insurance Institution (ZUS), HL7 documents, the Italian
// electronic health record, and the Polish central register of documents.
inline constexpr std::array<std::string_view, 6> kSortBugSigners = {
    "e-deklaracje.mf.gov.pl", "mf.gov.pl", "www.zus.pl", "urn:hl7-org:", "fascicolosanitario.gov.it", "crd.gov.pl",
};
// The Polish health information systems centre (CSIOZ): sorting bug, for good.
inline constexpr std::string_view kCsioz = "csioz.gov.pl";

// The STP schema whose signatures canonicalize a reduced document.
inline constexpr std::string_view kCmaStp = "urn:cma:stp:xsd:stp";

// Mexican tax service (SAT) customs documents: the SIAT host and the root tag.
inline constexpr std::string_view kSatSiat = "siat.sat.gob.mx";
inline constexpr std::string_view kDodaTag = "<doda>";

// SWIFT Alliance messages, signed without the LAU element added afterwards.
inline constexpr std::string_view kSwiftSaa = "urn:swift:saa:xsd:saa.2.0";
inline constexpr std::string_view kSwiftLauStart = "<LAU";

// DigiDoc containers in the old SK-XML format.
inline constexpr std::string_view kSignedDocTag = "<SignedDoc ";
inline constexpr std::string_view kSkXmlFormat = "SK-XML";

} // namespace profile_markers
