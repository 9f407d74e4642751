#pragma once

#include "xmldsig/Settings.h"

#include <ctime>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

class TrustAnchors;

namespace xmldsig {

// What Settings holds; read by each verifier, changed only through Settings.
struct SettingsData {
    enum class Selection { Index, Id, All };

    std::vector<std::string> keyFiles;
    std::vector<std::string> certPaths;
    std::optional<std::string> hmacKey;
    std::string hmacEncoding = "ascii";

    std::vector<std::string> trustPaths;
    std::vector<std::string> crlPaths;
    // Built from the paths above, then only read (shared by copies and threads).
    std::shared_ptr<const TrustAnchors> anchors;
    std::optional<std::time_t> verificationTime;

    // A signature policy's document, read when added.
    struct PolicyDocument {
        std::string identifier; // empty: matched by file name, or alone
        std::string path;
        std::shared_ptr<const std::string> bytes;
    };
    bool ades = false;
    bool online = false;
    std::vector<PolicyDocument> policies;

    std::vector<std::string> externalRefDirs;
    std::vector<std::pair<int, std::string>> refData;
    bool ignoreExternalRefs = false;
    Limits limits;
    bool zatca = false;
    bool myInvois = false;
    bool verifyEncapsulatedTimeStamp = false;
    bool allowXmlDigestError = false;
    bool validateTsaChain = false;

    Selection selection = Selection::Index;
    int index = 0;
    std::string id;
    bool checkReferences = true;

    bool logText = true;
    bool logJson = false;
    bool verboseLog = false;
};

} // namespace xmldsig
