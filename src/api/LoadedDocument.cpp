#include "api/LoadedDocument.h"

#include "api/DocumentLoading.h"

#include "companion/text/DataBuffer.h"
#include "verifier/ClsXmlDSig.h"

namespace xmldsig {

LoadedDocument::LoadedDocument(std::string name) : m_name(std::move(name)), m_dsig(ClsXmlDSig::createNewCls()) {
}

LoadedDocument::~LoadedDocument() = default;
LoadedDocument::LoadedDocument(LoadedDocument&&) noexcept = default;
LoadedDocument& LoadedDocument::operator=(LoadedDocument&&) noexcept = default;

LoadedDocument LoadedDocument::fromBytes(std::string_view document) {
    LoadedDocument loaded("document");
    DataBuffer bytes;
    bytes.takeString(std::string(document));
    loaded.load(bytes);
    return loaded;
}

LoadedDocument LoadedDocument::fromFile(const std::filesystem::path& path) {
    LoadedDocument loaded(path.string());
    DataBuffer bytes;
    std::string error;
    if (readDocumentFile(loaded.m_name, bytes, error))
        loaded.load(bytes);
    else
        loaded.m_status = {make_error_code(Errc::file_unreadable), std::move(error)};
    return loaded;
}

void LoadedDocument::load(DataBuffer& bytes) {
    std::string error;
    if (!loadDocument(*m_dsig, bytes, m_name, error))
        m_status = {make_error_code(Errc::not_xml), std::move(error)};
}

Status LoadedDocument::select(int index) {
    const int count = m_dsig->get_NumSignatures();
    if (index >= 0 && index < count) {
        m_dsig->put_Selector(index);
        return {};
    }
    return failure(count == 0 ? Errc::no_signature : Errc::no_such_signature,
                   "no signature at index " + std::to_string(index));
}

Status LoadedDocument::failure(Errc code, std::string_view reason) const {
    return {make_error_code(code), m_name + ": " + std::string(reason)};
}

} // namespace xmldsig
