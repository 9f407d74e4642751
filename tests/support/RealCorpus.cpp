#include "support/RealCorpus.h"

#include "TestSupport.h"

#include <gtest/gtest.h>

#include <sstream>

namespace fs = std::filesystem;

namespace test_support {

fs::path realDir() {
    return corpusDir() / "real";
}

std::vector<RealRow> realRows() {
    std::vector<RealRow> rows;
    for (const auto& c : manifestRows(realDir() / "MANIFEST.tsv"))
        if (c.size() >= 8)
            rows.push_back({c[0], c[1], c[2], c[3], c[6], c[7]});
    return rows;
}

RowInputs inputsOf(const RealRow& row) {
    const fs::path family = realDir() / row.family;
    RowInputs in{family / row.file, {}, {}, {}, row.options == "-" ? "" : row.options};
    std::stringstream keys(row.keyMaterial == "-" ? "" : row.keyMaterial);
    for (std::string item; std::getline(keys, item, ',');) {
        if (item.starts_with("ref:")) {
            const size_t eq = item.find('=');
            in.refData.emplace_back(std::stoi(item.substr(4, eq - 4)), family / item.substr(eq + 1));
        } else if (readFile(family / item).find("CERTIFICATE-----") != std::string::npos) {
            in.certs.push_back(family / item);
        } else {
            in.key = family / item;
        }
    }
    return in;
}

xmldsig::Settings settingsOf(const RowInputs& in) {
    xmldsig::Settings settings;
    settings.selectAll();
    settings.setOptions(in.options);
    if (!in.key.empty()) {
        EXPECT_TRUE(settings.addKeyFile(in.key.string()).ok()) << in.key;
    }
    for (const fs::path& cert : in.certs)
        EXPECT_TRUE(settings.addCertificates(cert.string()).ok()) << cert;
    for (const auto& [index, file] : in.refData)
        settings.setRefDataFile(index, file.string());
    return settings;
}

} // namespace test_support
