#pragma once

#include "xmldsig/Status.h"

#include <filesystem>
#include <memory>
#include <string>
#include <string_view>

class ClsXmlDSig;
class DataBuffer;

namespace xmldsig {

// One document in an engine of its own, for the calls that read or edit a
// signed document without verifying it. Messages name the document by its
// path, or "document" when it was given as bytes.
class LoadedDocument {
public:
    static LoadedDocument fromBytes(std::string_view document);
    static LoadedDocument fromFile(const std::filesystem::path& path);
    ~LoadedDocument();
    LoadedDocument(LoadedDocument&&) noexcept;
    LoadedDocument& operator=(LoadedDocument&&) noexcept;

    // file_unreadable or not_xml when the document could not be loaded.
    const Status& status() const { return m_status; }
    // The engine with the document loaded (only when status() is ok).
    ClsXmlDSig& engine() { return *m_dsig; }
    // Selects the signature at `index`; no_signature or no_such_signature
    // ("NAME: no signature at index N") when it is not there.
    Status select(int index);
    // "NAME: reason".
    Status failure(Errc code, std::string_view reason) const;

private:
    explicit LoadedDocument(std::string name);
    void load(DataBuffer& bytes);

    std::string m_name;
    std::unique_ptr<ClsXmlDSig> m_dsig;
    Status m_status;
};

} // namespace xmldsig
