// Verifies signed documents and says who signed them and what was signed.
//   verify_signed [--trust ROOT.pem] [--hmac-key SECRET] FILE...
// Exit status: 0 all valid, 1 a signature invalid, 2 an error.
#include <xmldsig/xmldsig.h>

#include <algorithm>
#include <iostream>
#include <string>
#include <vector>

int main(int argc, char** argv) {
    xmldsig::Settings settings;
    settings.selectAll();
    std::vector<std::string> files;
    for (int i = 1; i < argc; ++i) {
        const std::string arg = argv[i];
        xmldsig::Status status;
        if (arg == "--trust" && i + 1 < argc)
            status = settings.addTrustAnchors(argv[++i]);
        else if (arg == "--hmac-key" && i + 1 < argc)
            status = settings.setHmacKey(argv[++i]);
        else
            files.push_back(arg);
        if (!status) {
            std::cerr << status.message << '\n';
            return 2;
        }
    }
    xmldsig::Verifier verifier(settings); // one per thread, reused across files
    int exitCode = 0;
    for (const std::string& file : files) {
        const xmldsig::Result result = verifier.verifyFile(file);
        if (!result.status) {
            std::cerr << result.status.message << '\n';
            exitCode = 2;
        }
        for (const xmldsig::SignatureResult& sig : result.signatures) {
            std::cout << file << " signature " << sig.index << ": ";
            if (!sig.valid) {
                std::cout << "INVALID: " << sig.reason << '\n';
                exitCode = std::max(exitCode, 1);
                continue;
            }
            const xmldsig::Signer& signer = *sig.signer;
            std::cout << "VALID, " << signer.algorithm << " by "
                      << (signer.certificate ? signer.certificate->subject : signer.keySource) << '\n';
            for (const xmldsig::Reference& ref : sig.references)
                std::cout << "  signed: "
                          << (ref.uri.empty()    ? "the whole document"
                              : ref.path.empty() ? ref.uri
                                                 : ref.path)
                          << '\n';
        }
    }
    return exitCode;
}
