#pragma once

#include "xmldsig/Ades.h"

// What an AdES indication and sub-indication mean to the person relying on
// the signature, in a sentence each ("" for no sub-indication).
const char* indicationMeaning(xmldsig::AdesValidation::Indication indication);
const char* subIndicationMeaning(xmldsig::AdesValidation::SubIndication subIndication);
