#pragma once

#include "xmldsig/Result.h"

#include <array>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <map>
#include <mutex>
#include <string>
#include <utility>

// What the server has done since it started, rendered in the Prometheus text
// exposition format: requests by path and status, documents by outcome,
// signatures by verdict, errors by code, and a histogram of the time from a
// verification request's arrival to its answer.
class ServeMetrics {
public:
    void requestAnswered(const std::string& path, int status);
    void documentVerified(const xmldsig::Result& result);
    void errorAnswered(const std::string& code);
    void verifyLatency(std::chrono::duration<double> seconds);

    std::string prometheusText(size_t waiting) const;

private:
    static constexpr std::array<double, 13> kBucketBounds{0.001, 0.0025, 0.005, 0.01, 0.025, 0.05, 0.1,
                                                          0.25,  0.5,    1,     2.5,  5,     10};
    mutable std::mutex m_mutex;
    std::map<std::pair<std::string, int>, std::uint64_t> m_requests;
    std::map<std::string, std::uint64_t> m_documents;
    std::map<std::string, std::uint64_t> m_signatures;
    std::map<std::string, std::uint64_t> m_errors;
    std::array<std::uint64_t, kBucketBounds.size()> m_buckets{};
    std::uint64_t m_latencyCount = 0;
    double m_latencySum = 0;
};
