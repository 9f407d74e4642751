#pragma once

#include "DocumentText.h"

#include "xmldsig/Result.h"

#include <ostream>
#include <string>

// One self-contained HTML page on a document's signatures, for a person to
// read or print: per signature the AdES indication as a banner, what failed
// in words, the signer, trust, chain and revocation, timestamps, signed
// properties, what each reference covered with the start of the element it
// signed (from `text`), and counter-signatures. Every text taken from the
// document or a certificate is escaped.
void writeHtmlReport(const std::string& name, const xmldsig::Result& result, const DocumentText& text,
                     std::ostream& out);
