// Verifies the signatures of one document through the library, installed
// (tests/consumer) or built by a parent project (tests/embed).
//   consumer FILE
// Prints a verdict per signature; exit status 0 all valid, 1 one invalid,
// 2 an error.
#include <xmldsig/xmldsig.h>

#include <iostream>

int main(int argc, char** argv) {
    if (argc != 2) {
        std::cerr << "usage: consumer FILE\n";
        return 2;
    }
    xmldsig::Settings settings;
    settings.selectAll();
    const xmldsig::Result result = xmldsig::verifyFile(argv[1], settings);
    if (!result.status) {
        std::cerr << result.status.message << '\n';
        return 2;
    }
    for (const xmldsig::SignatureResult& sig : result.signatures)
        std::cout << argv[1] << " signature " << sig.index << ": " << (sig.valid ? "VALID" : "INVALID: " + sig.reason)
                  << '\n';
    return result.valid() ? 0 : 1;
}
