#pragma once

#include "VerifyJob.h"

#include "xmldsig/Result.h"
#include "xmldsig/Settings.h"
#include "xmldsig/Verifier.h"

#include <array>
#include <optional>

// What one worker thread verifies with: the server's settings, and an engine
// for each combination of selection and AdES validation it has been asked
// for, built on first use and kept. A job naming a signature Id or bringing
// detached data gets an engine of its own for that job.
class RequestVerifier {
public:
    explicit RequestVerifier(const xmldsig::Settings& settings) : m_settings(settings) {}

    xmldsig::Result verify(const VerifyJob& job);

private:
    static constexpr size_t kKeptEngines = 4; // {settings' selection, all} x {AdES, none}

    xmldsig::Verifier& keptEngine(const VerifyChoices& choices);

    const xmldsig::Settings& m_settings;
    std::array<std::optional<xmldsig::Verifier>, kKeptEngines> m_engines;
};
