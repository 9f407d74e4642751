#pragma once

#include "xmldsig/Verifier.h"

#include <filesystem>
#include <string>
#include <utility>
#include <vector>

namespace test_support {

// A row of the real-signer corpus's manifest.
struct RealRow {
    std::string id, family, file, expected, keyMaterial, options;
};
std::vector<RealRow> realRows();
std::filesystem::path realDir();

// A row's key material: "ref:INDEX=FILE" items are external reference
// data; certificate files fill the store, a bare public key is the key.
struct RowInputs {
    std::filesystem::path document;
    std::filesystem::path key;
    std::vector<std::filesystem::path> certs;
    std::vector<std::pair<int, std::filesystem::path>> refData;
    std::string options;
};
RowInputs inputsOf(const RealRow& row);

// The API's settings for the row: every signature, its options and inputs.
xmldsig::Settings settingsOf(const RowInputs& in);

} // namespace test_support
