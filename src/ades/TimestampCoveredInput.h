#pragma once

#include "ades/XadesTimestampElements.h"

#include <string>

class LogBase;
class ReferenceOutputs;
class TimestampImprintInput;

// Feeds `input` with what a timestamp of that kind covers, in the order
// XAdES lays down. False with the reason in words when some part of it
// cannot be had.
bool addCoveredInput(const XmlDocument& doc, const XadesElements& e, XadesTimestampElement timestamp,
                     ReferenceOutputs& references, TimestampImprintInput& input, std::string& reason, LogBase& log);

// What the imprint of a timestamp of that kind is over, for its failures
// ("the SignatureValue").
const char* coveredInputName(XadesTimestampKind kind);
