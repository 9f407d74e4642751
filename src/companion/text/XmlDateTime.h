#pragma once

#include <ctime>
#include <optional>
#include <string>
#include <string_view>

// An xsd:dateTime ("2024-05-01T12:00:00Z", fractional seconds, "+03:00"/"-05:00" offsets, no zone read as
// UTC) or a bare date ("2024-05-01", midnight UTC) as seconds since the epoch; nullopt when malformed
// (out-of-range fields included). Fractions of a second are dropped; "24:00:00" is the next midnight, as
// XML Schema reads it. White space around the text is ignored.
std::optional<std::time_t> parseXmlDateTime(std::string_view text);

// A UTC time as xsd:dateTime, "2024-05-01T12:00:00Z".
std::string formatXmlDateTime(const std::tm& utc);
std::string formatXmlDateTime(std::time_t t);
