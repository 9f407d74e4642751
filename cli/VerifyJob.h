#pragma once

#include <string>
#include <utility>
#include <vector>

// What one request asks of the server beyond its settings: which signatures,
// and how much AdES validation.
struct VerifyChoices {
    enum class Selection { Settings, All, Id };
    enum class Ades { Verdict, Full, Off };
    Selection selection = Selection::Settings;
    std::string signatureId;
    Ades ades = Ades::Verdict;
};

// One document to verify, with the data of its detached references
// (reference index, bytes).
struct VerifyJob {
    std::string document;
    VerifyChoices choices;
    std::vector<std::pair<int, std::string>> detachedData;
};
