#pragma once

#include <string_view>

class DataBuffer;

// The DER of a KeyInfo's base64 certificate text; false when the text is not
// base64.
//
// One signer's documents carry the same certificate text again and again, and
// decoding it cost a third of reading the signing key. Each thread keeps the
// last text it decoded with its bytes and hands those back for a text equal
// to it in full; any other text is decoded. The certificate is still looked
// up by the DER bytes themselves, so the key a document gets is always the
// one its own text names.
bool decodeCertificateText(std::string_view base64, DataBuffer& der);
