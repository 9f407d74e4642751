#include "RequestVerifier.h"

#include "MemoryFile.h"

namespace {

xmldsig::Settings settingsFor(const xmldsig::Settings& base, const VerifyChoices& choices) {
    xmldsig::Settings settings = base;
    if (choices.selection == VerifyChoices::Selection::All)
        settings.selectAll();
    else if (choices.selection == VerifyChoices::Selection::Id)
        settings.selectId(choices.signatureId);
    settings.setAdesValidation(choices.ades != VerifyChoices::Ades::Off);
    return settings;
}

xmldsig::Result failed(std::string message) {
    xmldsig::Result result;
    result.status = {xmldsig::make_error_code(xmldsig::Errc::file_unreadable), std::move(message)};
    return result;
}

} // namespace

xmldsig::Verifier& RequestVerifier::keptEngine(const VerifyChoices& choices) {
    const size_t slot = (choices.selection == VerifyChoices::Selection::All ? 2 : 0) +
                        (choices.ades == VerifyChoices::Ades::Off ? 1 : 0);
    if (!m_engines[slot])
        m_engines[slot].emplace(settingsFor(m_settings, choices));
    return *m_engines[slot];
}

xmldsig::Result RequestVerifier::verify(const VerifyJob& job) {
    if (job.choices.selection != VerifyChoices::Selection::Id && job.detachedData.empty())
        return keptEngine(job.choices).verify(std::string_view(job.document));
    xmldsig::Settings settings = settingsFor(m_settings, job.choices);
    std::vector<MemoryFile> files;
    for (const auto& [index, bytes] : job.detachedData) {
        std::optional<MemoryFile> file = MemoryFile::holding(bytes);
        if (!file)
            return failed("the data of reference " + std::to_string(index) + " cannot be held in memory");
        settings.setRefDataFile(index, file->path());
        files.push_back(std::move(*file));
    }
    return xmldsig::Verifier(std::move(settings)).verify(std::string_view(job.document));
}
