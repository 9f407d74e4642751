#include "companion/text/XmlDateTime.h"

#include <charconv>
#include <chrono>

namespace {

using namespace std::chrono;

constexpr std::string_view kBlanks = " \t\r\n";
constexpr int kYearDigits = 4;
constexpr int kFieldDigits = 2;
constexpr int kMaxYear = 9999;
constexpr int kMaxMonth = 12;
constexpr int kMaxDay = 31; // the month decides the rest
constexpr int kMaxMinuteOrSecond = 59;
constexpr int kEndOfDayHour = 24;
constexpr int kMaxOffsetHours = 14;

// Reads the text piece by piece, from the front.
class Cursor {
public:
    explicit Cursor(std::string_view text) : m_rest(text) {}

    bool atEnd() const { return m_rest.empty(); }

    bool take(char c) {
        if (m_rest.empty() || m_rest.front() != c)
            return false;
        m_rest.remove_prefix(1);
        return true;
    }

    // Exactly `digits` decimal digits, at most `max`.
    bool number(int digits, int max, int& out) {
        if (m_rest.size() < static_cast<size_t>(digits))
            return false;
        const char* end = m_rest.data() + digits;
        const auto [ptr, ec] = std::from_chars(m_rest.data(), end, out);
        if (ec != std::errc() || ptr != end || m_rest.front() == '-' || out > max)
            return false;
        m_rest.remove_prefix(static_cast<size_t>(digits));
        return true;
    }

    // "." and at least one digit, dropped.
    bool skipFraction() {
        if (!take('.'))
            return true;
        const size_t digits = m_rest.find_first_not_of("0123456789");
        if (digits == 0)
            return false;
        m_rest.remove_prefix(digits == std::string_view::npos ? m_rest.size() : digits);
        return true;
    }

private:
    std::string_view m_rest;
};

std::optional<sys_days> readDate(Cursor& in) {
    int y = 0, m = 0, d = 0;
    // XML Schema 1.0 has no year 0.
    if (!in.number(kYearDigits, kMaxYear, y) || y == 0 || !in.take('-') || !in.number(kFieldDigits, kMaxMonth, m) ||
        !in.take('-') || !in.number(kFieldDigits, kMaxDay, d))
        return std::nullopt;
    const year_month_day date{year{y}, month{static_cast<unsigned>(m)}, day{static_cast<unsigned>(d)}};
    if (!date.ok())
        return std::nullopt;
    return sys_days{date};
}

std::optional<seconds> readTime(Cursor& in) {
    int h = 0, m = 0, s = 0;
    if (!in.number(kFieldDigits, kEndOfDayHour, h) || !in.take(':') ||
        !in.number(kFieldDigits, kMaxMinuteOrSecond, m) || !in.take(':') ||
        !in.number(kFieldDigits, kMaxMinuteOrSecond, s) || !in.skipFraction())
        return std::nullopt;
    if (h == kEndOfDayHour && (m != 0 || s != 0))
        return std::nullopt;
    return hours{h} + minutes{m} + seconds{s};
}

// The zone's offset from UTC; zero when there is none.
std::optional<seconds> readZone(Cursor& in) {
    if (in.atEnd() || in.take('Z'))
        return seconds{0};
    const int sign = in.take('+') ? 1 : in.take('-') ? -1 : 0;
    int h = 0, m = 0;
    if (sign == 0 || !in.number(kFieldDigits, kMaxOffsetHours, h) || !in.take(':') ||
        !in.number(kFieldDigits, kMaxMinuteOrSecond, m) || (h == kMaxOffsetHours && m != 0))
        return std::nullopt;
    return sign * (hours{h} + minutes{m});
}

std::string_view trimmed(std::string_view text) {
    const size_t first = text.find_first_not_of(kBlanks);
    if (first == std::string_view::npos)
        return {};
    return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

} // namespace

std::optional<std::time_t> parseXmlDateTime(std::string_view text) {
    Cursor in(trimmed(text));
    const std::optional<sys_days> date = readDate(in);
    if (!date)
        return std::nullopt;
    std::optional<seconds> timeOfDay = seconds{0};
    if (in.take('T'))
        timeOfDay = readTime(in);
    if (!timeOfDay)
        return std::nullopt;
    const std::optional<seconds> offset = readZone(in);
    if (!offset || !in.atEnd())
        return std::nullopt;
    const sys_seconds utc = *date + *timeOfDay - *offset;
    return static_cast<std::time_t>(utc.time_since_epoch().count());
}

std::string formatXmlDateTime(const std::tm& utc) {
    char text[sizeof "2024-05-01T12:00:00Z"] = {};
    return std::string(text, std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%SZ", &utc));
}

std::string formatXmlDateTime(std::time_t t) {
    std::tm utc{};
    gmtime_r(&t, &utc);
    return formatXmlDateTime(utc);
}
