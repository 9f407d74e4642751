#pragma once

#include "xmldsig/Result.h"
#include "xmldsig/Settings.h"
#include "xmldsig/Verifier.h"

#include <filesystem>
#include <memory>
#include <mutex>
#include <string_view>
#include <vector>

namespace xmldsig_python {

// Verifiers for one set of settings, shared by the threads that call it: a
// call borrows an idle verifier (or makes one) and hands it back, so each
// engine is used by one thread at a time and is reused across calls.
class VerifierPool {
public:
    explicit VerifierPool(xmldsig::Settings settings) : m_settings(std::move(settings)) {}

    xmldsig::Result verify(std::string_view document);
    xmldsig::Result verifyFile(const std::filesystem::path& path);

private:
    std::unique_ptr<xmldsig::Verifier> borrow();
    void giveBack(std::unique_ptr<xmldsig::Verifier> verifier);
    template <class Call> xmldsig::Result withVerifier(Call call);

    xmldsig::Settings m_settings;
    std::mutex m_mutex;
    std::vector<std::unique_ptr<xmldsig::Verifier>> m_idle;
};

} // namespace xmldsig_python
