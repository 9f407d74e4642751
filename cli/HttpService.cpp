#include "HttpService.h"

#include "RequestBody.h"
#include "RequestFields.h"
#include "ServePages.h"
#include "VerdictReport.h"
#include "report/DocumentText.h"
#include "report/HtmlReport.h"
#include "report/ReportPage.h"

#include <charconv>
#include <sstream>

namespace {

using Clock = std::chrono::steady_clock;

constexpr const char* kRetryAfterSeconds = "1";

// The paths metrics are kept for; any other is counted as "other", so that
// a scan of random paths cannot grow the metrics.
std::string routeLabel(const std::string& path) {
    for (const char* route : {"/", "/v1/verify", "/healthz", "/metrics"})
        if (path == route)
            return path;
    return "other";
}

// What a client sent wrong is named as the API names it; what the server
// could not do for it is "not_verified".
const char* errcName(const std::error_code& code) {
    const auto errc = static_cast<xmldsig::Errc>(code.value());
    switch (errc) {
    case xmldsig::Errc::file_unreadable:
        return "data_unreadable";
    case xmldsig::Errc::not_xml:
    case xmldsig::Errc::no_signature:
    case xmldsig::Errc::no_such_signature:
    case xmldsig::Errc::bad_option:
    case xmldsig::Errc::unresolved_key_info:
        return xmldsig::errcName(errc);
    default:
        break;
    }
    return "not_verified";
}

HttpError bodyError(RequestBody::Failure failure) {
    switch (failure) {
    case RequestBody::Failure::TooLarge:
        return {413, "body_too_large", "the request body is over the server's limit"};
    case RequestBody::Failure::TimedOut:
        return {408, "timeout", "the request body did not arrive within the read timeout"};
    case RequestBody::Failure::Broken:
    case RequestBody::Failure::None:
        break;
    }
    return {400, "bad_body", "the request body ended early or is not well-formed"};
}

// The JSON of `xmldsig verify --json`, for one document; `ades=full` gives
// each signature's whole AdES validation, as `report --format json` does.
std::string verdictJson(const RequestFields& fields, const xmldsig::Result& result) {
    std::ostringstream out;
    if (fields.job.choices.ades != VerifyChoices::Ades::Full) {
        printVerdictJson({{fields.documentName, result}}, out);
        return out.str();
    }
    const nlohmann::json files = nlohmann::json::array({reportJson(fields.documentName, result)});
    return nlohmann::json{{"files", files}}.dump(2, ' ', false, nlohmann::json::error_handler_t::replace) + "\n";
}

bool wantsHtml(const httplib::Request& request) {
    return request.get_param_value("format") == "html";
}

} // namespace

void HttpService::fail(httplib::Response& response, const HttpError& error, bool html) {
    m_metrics.errorAnswered(error.code);
    if (html)
        answerHtmlError(response, error);
    else
        answerJsonError(response, error);
    // What is left of a refused body is not read: the connection ends here.
    if (error.status == 413 || error.status == 408 || error.code == "bad_body")
        closeAfter(response);
}

// A declared length over the limit is refused before any of the body is read.
httplib::Server::HandlerResponse HttpService::refuseLargeBody(const httplib::Request& request,
                                                              httplib::Response& response) {
    const std::string length = request.get_header_value("Content-Length");
    std::uint64_t declared = 0;
    const auto [end, ec] = std::from_chars(length.data(), length.data() + length.size(), declared);
    if (length.empty() || ec != std::errc() || end != length.data() + length.size() || declared <= m_bounds.maxBody)
        return httplib::Server::HandlerResponse::Unhandled;
    fail(response, bodyError(RequestBody::Failure::TooLarge), wantsHtml(request));
    return httplib::Server::HandlerResponse::Handled;
}

void HttpService::verify(const httplib::Request& request, httplib::Response& response,
                         const httplib::ContentReader& reader) {
    const Clock::time_point start = Clock::now();
    const bool html = wantsHtml(request);
    RequestBody body(m_bounds.maxBody, start + m_bounds.readTimeout);
    if (!body.read(request, reader))
        return fail(response, bodyError(body.failure()), html);
    RequestFields fields;
    std::string error;
    if (!readRequestFields(request.params, body.takeParts(), fields, error))
        return fail(response, {400, "bad_request", error}, html);
    // Only the report page reads the document again.
    VerifyJob job = fields.format == AnswerFormat::Html ? fields.job : std::move(fields.job);
    std::optional<std::future<xmldsig::Result>> pending = m_pool.submit(std::move(job));
    if (!pending) {
        response.set_header("Retry-After", kRetryAfterSeconds);
        return fail(response, {503, "busy", "every worker is busy and the queue is full; try again shortly"}, html);
    }
    const xmldsig::Result result = pending->get();
    m_metrics.documentVerified(result);
    m_metrics.verifyLatency(Clock::now() - start);
    if (!result.status) {
        const bool notXml = result.status.code == xmldsig::Errc::not_xml;
        return fail(response, {notXml ? 400 : 422, errcName(result.status.code), result.status.message}, html);
    }
    answer(response, fields, result);
}

// For JSON, `fields.job` has been handed to the pool: only its choices are read.
void HttpService::answer(httplib::Response& response, const RequestFields& fields, const xmldsig::Result& result) {
    response.status = 200;
    if (fields.format == AnswerFormat::Json) {
        response.set_content(verdictJson(fields, result), "application/json");
        return;
    }
    std::ostringstream page;
    writeHtmlReport(fields.documentName, result, DocumentText::ofBytes(fields.job.document), page);
    response.set_header("Content-Security-Policy", std::string(reportPagePolicy()));
    response.set_content(page.str(), "text/html; charset=utf-8");
}

void HttpService::install(httplib::Server& server) {
    server.set_payload_max_length(m_bounds.maxBody);
    server.set_pre_routing_handler([this](const httplib::Request& request, httplib::Response& response) {
        return refuseLargeBody(request, response);
    });
    server.Post("/v1/verify", [this](const httplib::Request& request, httplib::Response& response,
                                     const httplib::ContentReader& reader) { verify(request, response, reader); });
    server.Get("/", [](const httplib::Request&, httplib::Response& response) {
        response.set_header("Content-Security-Policy", std::string(uploadPagePolicy()));
        response.set_content(std::string(uploadPage()), "text/html; charset=utf-8");
    });
    server.Get("/healthz", [](const httplib::Request&, httplib::Response& response) {
        response.set_content("{\"status\": \"ok\"}\n", "application/json");
    });
    server.Get("/metrics", [this](const httplib::Request&, httplib::Response& response) {
        response.set_content(m_metrics.prometheusText(m_pool.waiting()), "text/plain; version=0.0.4");
    });
    // Statuses httplib sets on its own (malformed HTTP, no such route) get
    // the same JSON error as the service's.
    server.set_error_handler([this](const httplib::Request&, httplib::Response& response) {
        if (!response.has_header("Content-Type"))
            fail(response, errorForStatus(response.status), false);
    });
    server.set_logger([this](const httplib::Request& request, const httplib::Response& response) {
        m_metrics.requestAnswered(routeLabel(request.path), response.status);
    });
}
