#include "VerifierPool.h"

namespace xmldsig_python {

std::unique_ptr<xmldsig::Verifier> VerifierPool::borrow() {
    {
        std::lock_guard lock(m_mutex);
        if (!m_idle.empty()) {
            auto verifier = std::move(m_idle.back());
            m_idle.pop_back();
            return verifier;
        }
    }
    return std::make_unique<xmldsig::Verifier>(m_settings);
}

void VerifierPool::giveBack(std::unique_ptr<xmldsig::Verifier> verifier) {
    std::lock_guard lock(m_mutex);
    m_idle.push_back(std::move(verifier));
}

template <class Call> xmldsig::Result VerifierPool::withVerifier(Call call) {
    std::unique_ptr<xmldsig::Verifier> verifier = borrow();
    xmldsig::Result result = call(*verifier);
    giveBack(std::move(verifier));
    return result;
}

xmldsig::Result VerifierPool::verify(std::string_view document) {
    return withVerifier([document](xmldsig::Verifier& v) { return v.verify(document); });
}

xmldsig::Result VerifierPool::verifyFile(const std::filesystem::path& path) {
    return withVerifier([&path](xmldsig::Verifier& v) { return v.verifyFile(path); });
}

} // namespace xmldsig_python
