#include "ServeOptions.h"

#include "CommandLine.h"

#include <charconv>
#include <thread>

namespace {

constexpr unsigned kMaxThreads = 256;
constexpr unsigned kMaxConnections = 4096;
constexpr std::uint64_t kMaxTimeoutSeconds = 3600;

bool parseCount(const std::string& text, std::uint64_t low, std::uint64_t high, std::uint64_t& value) {
    const auto [end, ec] = std::from_chars(text.data(), text.data() + text.size(), value);
    return ec == std::errc() && end == text.data() + text.size() && value >= low && value <= high;
}

// "HOST:PORT", the host possibly in brackets (IPv6).
bool parseListen(const std::string& text, std::string& host, int& port) {
    const size_t colon = text.rfind(':');
    std::uint64_t value = 0;
    if (colon == std::string::npos || colon == 0 || !parseCount(text.substr(colon + 1), 0, 65535, value))
        return false;
    host = text.substr(0, colon);
    if (host.size() > 2 && host.front() == '[' && host.back() == ']')
        host = host.substr(1, host.size() - 2);
    port = static_cast<int>(value);
    return true;
}

class ServeOptionReader {
public:
    ServeOptionReader(CommandLine& args, ServeOptions& o, std::string& error) : m_args(args), m_o(o), m_error(error) {}

    bool read() {
        m_o.threads = std::max(1u, std::thread::hardware_concurrency());
        std::string listen;
        if (m_args.takeValue("--listen", listen) && !parseListen(listen, m_o.host, m_o.port))
            return fail("--listen needs HOST:PORT, such as 127.0.0.1:8080, got " + listen);
        return count("--threads", 1, kMaxThreads, m_o.threads) &&
               count("--connections", 1, kMaxConnections, m_o.connections) &&
               count("--queue", 1, kMaxConnections, m_o.queue) && count("--max-body", 1, SIZE_MAX, m_o.maxBody) &&
               seconds("--read-timeout", m_o.readTimeout) && seconds("--idle-timeout", m_o.idleTimeout) &&
               refuseOutputOptions();
    }

private:
    bool fail(std::string message) {
        m_error = std::move(message);
        return false;
    }

    template <typename T> bool count(const char* name, std::uint64_t low, std::uint64_t high, T& value) {
        std::string text;
        std::uint64_t parsed = 0;
        if (!m_args.takeValue(name, text))
            return m_args.error().empty() || fail(m_args.error());
        if (!parseCount(text, low, high, parsed))
            return fail(std::string(name) + " needs a whole number from " + std::to_string(low) + " to " +
                        std::to_string(high) + ", got " + text);
        value = static_cast<T>(parsed);
        return true;
    }

    bool seconds(const char* name, std::chrono::seconds& value) {
        std::uint64_t n = static_cast<std::uint64_t>(value.count());
        if (!count(name, 1, kMaxTimeoutSeconds, n))
            return false;
        value = std::chrono::seconds(n);
        return true;
    }

    // Each request's answer is the JSON or the page; these shape output the
    // server does not write.
    bool refuseOutputOptions() {
        for (const char* flag : {"--json", "--log", "--verbose", "--ades"})
            if (m_args.takeFlag(flag))
                return fail(std::string(flag) + " is not an option of serve (each request chooses its answer)");
        std::string jobs;
        if (m_args.takeValue("-j", jobs))
            return fail("-j is not an option of serve (--threads sets the workers)");
        return true;
    }

    CommandLine& m_args;
    ServeOptions& m_o;
    std::string& m_error;
};

} // namespace

bool parseServeOptions(CommandLine& args, ServeOptions& options, std::string& error, bool& unusableFile) {
    unusableFile = false;
    if (!ServeOptionReader(args, options, error).read())
        return false;
    const ParseOutcome outcome = parseVerifySettings(args, options.settings, error, FileOperands::None);
    unusableFile = outcome == ParseOutcome::UnusableFile;
    if (outcome != ParseOutcome::Ok)
        return false;
    // The answer is the JSON of `verify --json`: its log tree, not the text log.
    xmldsig::Settings& s = options.settings.verification;
    s.setLogText(false);
    s.setLogJson(true);
    return true;
}
