#include "ServeMetrics.h"

#include <sstream>

namespace {

// A label value as the text format wants it: backslash, quote and newline escaped.
std::string labelValue(const std::string& text) {
    std::string out;
    for (const char c : text) {
        if (c == '\\' || c == '"')
            out += '\\';
        out += c == '\n' ? 'n' : c;
    }
    return out;
}

void family(std::ostream& out, const char* name, const char* type, const char* help) {
    out << "# HELP " << name << ' ' << help << "\n# TYPE " << name << ' ' << type << '\n';
}

void counters(std::ostream& out, const char* name, const char* label,
              const std::map<std::string, std::uint64_t>& values) {
    for (const auto& [value, count] : values)
        out << name << '{' << label << "=\"" << labelValue(value) << "\"} " << count << '\n';
}

} // namespace

void ServeMetrics::requestAnswered(const std::string& path, int status) {
    std::lock_guard lock(m_mutex);
    ++m_requests[{path, status}];
}

void ServeMetrics::documentVerified(const xmldsig::Result& result) {
    std::lock_guard lock(m_mutex);
    ++m_documents[!result.status ? "error" : result.valid() ? "valid" : "invalid"];
    for (const xmldsig::SignatureResult& s : result.signatures)
        ++m_signatures[s.valid ? "valid" : "invalid"];
}

void ServeMetrics::errorAnswered(const std::string& code) {
    std::lock_guard lock(m_mutex);
    ++m_errors[code];
}

void ServeMetrics::verifyLatency(std::chrono::duration<double> seconds) {
    std::lock_guard lock(m_mutex);
    for (size_t i = 0; i < kBucketBounds.size(); ++i)
        if (seconds.count() <= kBucketBounds[i])
            ++m_buckets[i];
    ++m_latencyCount;
    m_latencySum += seconds.count();
}

std::string ServeMetrics::prometheusText(size_t waiting) const {
    std::lock_guard lock(m_mutex);
    std::ostringstream out;
    family(out, "xmldsig_http_requests_total", "counter", "HTTP requests answered, by path and status code.");
    for (const auto& [key, count] : m_requests)
        out << "xmldsig_http_requests_total{path=\"" << labelValue(key.first) << "\",code=\"" << key.second << "\"} "
            << count << '\n';
    family(out, "xmldsig_documents_total", "counter",
           "Documents verified: valid (every signature asked for), invalid, or error (not verified).");
    counters(out, "xmldsig_documents_total", "outcome", m_documents);
    family(out, "xmldsig_signatures_total", "counter", "Signatures verified, by verdict.");
    counters(out, "xmldsig_signatures_total", "verdict", m_signatures);
    family(out, "xmldsig_errors_total", "counter", "Requests answered with an error, by its code.");
    counters(out, "xmldsig_errors_total", "code", m_errors);
    family(out, "xmldsig_verify_queue_waiting", "gauge", "Documents waiting for a worker.");
    out << "xmldsig_verify_queue_waiting " << waiting << '\n';
    family(out, "xmldsig_verify_duration_seconds", "histogram",
           "Time from a verification request's arrival to its answer, reading the body included.");
    for (size_t i = 0; i < kBucketBounds.size(); ++i)
        out << "xmldsig_verify_duration_seconds_bucket{le=\"" << kBucketBounds[i] << "\"} " << m_buckets[i] << '\n';
    out << "xmldsig_verify_duration_seconds_bucket{le=\"+Inf\"} " << m_latencyCount << '\n'
        << "xmldsig_verify_duration_seconds_sum " << m_latencySum << '\n'
        << "xmldsig_verify_duration_seconds_count " << m_latencyCount << '\n';
    return out.str();
}
