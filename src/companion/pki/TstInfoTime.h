#pragma once

#include <string>

class DataBuffer;

// The genTime of a DER TSTInfo as xsd:dateTime in UTC
// ("2024-05-01T12:00:00Z"); empty when the bytes are not a TSTInfo.
std::string tstInfoGenTime(const DataBuffer& tstInfo);
