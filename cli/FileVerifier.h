#pragma once

#include "VerifySettings.h"

#include "companion/text/RefCountedObject.h"
#include "verifier/ReferenceOutcome.h"

#include <memory>
#include <string>
#include <vector>

class ClsPublicKey;
class ClsXmlDSig;

// The outcome for one signature of a file.
struct SignatureResult {
    struct FailedReference {
        int index;
        int reason;
    };
    int index = 0;
    std::string id;
    bool valid = false;
    int refFailReason = 0;
    std::vector<FailedReference> failedReferences;
    // What each reference covered (when the references were checked).
    std::vector<ReferenceOutcome> references;
    // For an invalid signature: the first reason the log gives.
    std::string reason;
    std::string logText;
    std::string logJson;
};

struct FileResult {
    std::string path;
    // Set when the file could not be read, parsed or selected in.
    std::string error;
    std::vector<SignatureResult> signatures;
};

// One verifier, configured once with the caller's keys, certificates and
// options, verifying file after file. Not shared between threads.
class FileVerifier {
public:
    explicit FileVerifier(const VerifySettings& settings);
    ~FileVerifier();
    FileVerifier(const FileVerifier&) = delete;
    FileVerifier& operator=(const FileVerifier&) = delete;

    // Loads the key and the certificates; false with `error` set.
    bool configure(std::string& error);
    FileResult verify(const std::string& path);

private:
    void useExternalRefDirs(const std::string& documentPath);
    bool selectedIndexes(FileResult& result, std::vector<int>& indexes);
    SignatureResult verifySelected(int index);

    const VerifySettings& m_settings;
    std::unique_ptr<ClsXmlDSig> m_dsig;
    RefPtr<ClsPublicKey> m_key;
};
