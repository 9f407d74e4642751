#pragma once

#include "xmldsig/Result.h"

#include <nlohmann/json.hpp>

// How much of a signature's AdES validation its JSON carries: the verdict
// (indication, sub-indication, level, best signature time, checks), or all of
// it (also the properties, timestamps, chain and counter-signatures).
enum class AdesDetail { Verdict, Full };

// One signature's result as JSON: the verdict, the stage that decided, the
// failed references, what each reference covered, the signer, the trust, the
// AdES validation when there is one, and the log tree.
nlohmann::json signatureJson(const xmldsig::SignatureResult& s, AdesDetail ades);

// "element", "whole document", "external", "selection", "unresolved".
const char* referenceTargetName(xmldsig::Reference::Target target);
// "trusted", "not trusted", "not checked".
const char* trustStatusName(xmldsig::Trust::Status status);
