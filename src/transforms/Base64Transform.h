#pragma once

#include <string_view>

class DataBuffer;
class LogBase;
class StringBuffer;

// The base64 transform. Octets are decoded as they are (whitespace skipped);
// XML text stands for a node-set, whose root element's text content is
// decoded. Text that does not decode is logged, not fatal: the digest then
// covers what the decoder gave. False only when the XML object cannot be made.
void base64DecodeOctets(std::string_view octets, DataBuffer& decoded, LogBase& log);
bool base64DecodeXmlContent(const StringBuffer& xml, DataBuffer& decoded, LogBase& log);
