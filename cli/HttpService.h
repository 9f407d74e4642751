#pragma once

#include "HttpError.h"
#include "ServeMetrics.h"
#include "VerificationPool.h"

#include <httplib.h>

#include <chrono>

struct RequestFields;

// The routes of `xmldsig serve`: POST /v1/verify (the JSON of `verify
// --json`, or the report page), GET / (the upload page), GET /healthz, GET
// /metrics; and what every answer shares: a JSON error for each failure,
// bodies over the limit refused before they are read, the metrics.
class HttpService {
public:
    struct Bounds {
        size_t maxBody;
        std::chrono::seconds readTimeout;
    };
    HttpService(Bounds bounds, VerificationPool& pool, ServeMetrics& metrics)
        : m_bounds(bounds), m_pool(pool), m_metrics(metrics) {}

    void install(httplib::Server& server);

private:
    void verify(const httplib::Request& request, httplib::Response& response, const httplib::ContentReader& reader);
    void answer(httplib::Response& response, const RequestFields& fields, const xmldsig::Result& result);
    void fail(httplib::Response& response, const HttpError& error, bool html);
    httplib::Server::HandlerResponse refuseLargeBody(const httplib::Request& request, httplib::Response& response);

    Bounds m_bounds;
    VerificationPool& m_pool;
    ServeMetrics& m_metrics;
};
