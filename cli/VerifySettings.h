#pragma once

#include <string>
#include <utility>
#include <vector>

class CommandLine;

// What `xmldsig verify` was asked to do.
struct VerifySettings {
    enum class Selection { Index, Id, All };
    Selection selection = Selection::Index;
    int selector = 0;
    std::string signatureId;
    bool checkReferences = true;

    std::string keyFile;
    std::vector<std::string> certPaths;
    bool hasHmacKey = false;
    std::string hmacKey;
    std::string hmacEncoding = "ascii";
    std::string externalRefDirs;
    std::vector<std::pair<int, std::string>> refData;
    bool ignoreExternalRefs = false;
    std::string uncommonOptions;
    std::string verifyOptions;

    bool printLog = false;
    bool verbose = false;
    bool json = false;
    unsigned jobs = 1;
    std::vector<std::string> files;
};

// Reads the options; false with `error` set on a usage error.
bool parseVerifySettings(CommandLine& args, VerifySettings& settings, std::string& error);
