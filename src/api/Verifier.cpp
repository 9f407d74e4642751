#include "xmldsig/Verifier.h"

#include "api/DocumentLoading.h"
#include "api/VerifierEngine.h"

#include "companion/text/DataBuffer.h"

namespace xmldsig {

namespace {

constexpr const char* kBytesName = "document";

VerifierEngine::DocumentSource bytesSource(std::string_view document) {
    return [document](DataBuffer& out, std::string&) {
        out.clear();
        return out.append(document.data(), document.size());
    };
}

std::string_view asText(std::span<const std::byte> bytes) {
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

} // namespace

Verifier::Verifier(Settings settings) : m_engine(std::make_unique<VerifierEngine>(std::move(settings))) {
}

Verifier::~Verifier() = default;
Verifier::Verifier(Verifier&&) noexcept = default;
Verifier& Verifier::operator=(Verifier&&) noexcept = default;

Result Verifier::verify(std::span<const std::byte> document) {
    return verify(asText(document));
}

Result Verifier::verify(std::string_view document) {
    return m_engine->verify(bytesSource(document), kBytesName, "");
}

Result Verifier::verifyFile(const std::filesystem::path& path) {
    const std::string name = path.string();
    // Standard input has no folder to look in for external files.
    std::string folder;
    if (name != kStandardInputName)
        folder = path.has_parent_path() ? path.parent_path().string() : ".";
    auto source = [&name](DataBuffer& out, std::string& error) { return readDocumentFile(name, out, error); };
    return m_engine->verify(source, name, folder);
}

Result verify(std::span<const std::byte> document, const Settings& settings) {
    return Verifier(settings).verify(document);
}

Result verify(std::string_view document, const Settings& settings) {
    return Verifier(settings).verify(document);
}

Result verifyFile(const std::filesystem::path& path, const Settings& settings) {
    return Verifier(settings).verifyFile(path);
}

} // namespace xmldsig
