#include "companion/pki/SerialNumberText.h"

#include "companion/text/TextCodec.h"

namespace {

constexpr std::string_view kZero = "00";
constexpr char kMinus = '-';
constexpr std::string_view kIgnoredInHex = " \t\r\n:";

} // namespace

std::string SerialNumberText::fromMagnitude(std::string_view bigEndian, bool negative) {
    const size_t firstNonZero = bigEndian.find_first_not_of('\0');
    std::string out;
    if (negative)
        out.push_back(kMinus);
    if (firstNonZero == std::string_view::npos)
        out.append(kZero);
    else
        TextCodec::encodeHex(bigEndian.substr(firstNonZero), false, out);
    return out;
}

std::string SerialNumberText::fromInteger(const ASN1_INTEGER* serial) {
    const std::string_view magnitude(reinterpret_cast<const char*>(ASN1_STRING_get0_data(serial)),
                                     static_cast<size_t>(ASN1_STRING_length(serial)));
    return fromMagnitude(magnitude, ASN1_STRING_type(serial) == V_ASN1_NEG_INTEGER);
}

std::string SerialNumberText::normalize(std::string_view hex) {
    std::string digits;
    for (char c : hex) {
        if (kIgnoredInHex.find(c) == std::string_view::npos)
            digits.push_back(c);
    }
    const bool negative = !digits.empty() && digits.front() == kMinus;
    if (negative)
        digits.erase(0, 1);
    if (digits.size() % 2 != 0)
        digits.insert(digits.begin(), '0');
    std::string bytes;
    if (digits.empty() || !TextCodec::decodeHex(digits, bytes))
        return {};
    return fromMagnitude(bytes, negative);
}
