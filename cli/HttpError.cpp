#include "HttpError.h"

#include "ServePages.h"
#include "report/HtmlText.h"

#include <nlohmann/json.hpp>

void answerJsonError(httplib::Response& response, const HttpError& error) {
    response.status = error.status;
    const nlohmann::json body = {{"error", {{"code", error.code}, {"message", error.message}}}};
    response.set_content(body.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace) + "\n",
                         "application/json");
}

void answerHtmlError(httplib::Response& response, const HttpError& error) {
    response.status = error.status;
    response.set_header("Content-Security-Policy", std::string(reportPagePolicy()));
    response.set_content(errorPage(error.message), "text/html; charset=utf-8");
}

// httplib 0.11 closes a kept-alive connection only when the request asked
// for it or a write fails; a provider that writes the whole body and then
// reports failure is the one way a handler has to end it.
void closeAfter(httplib::Response& response) {
    std::string body = std::move(response.body);
    const size_t length = body.size();
    const std::string type = response.get_header_value("Content-Type");
    response.body.clear();
    response.headers.erase("Content-Type");
    response.set_header("Connection", "close");
    response.set_content_provider(length, type,
                                  [body = std::move(body)](size_t offset, size_t size, httplib::DataSink& sink) {
                                      sink.write(body.data() + offset, size);
                                      return false;
                                  });
}

HttpError errorForStatus(int status) {
    switch (status) {
    case 404:
        return {status, "not_found", "no such path: the service answers /, /v1/verify, /healthz and /metrics"};
    case 405:
        return {status, "method_not_allowed", "this path does not take that method"};
    case 408:
        return {status, "timeout", "the request did not arrive within the read timeout"};
    case 413:
        return {status, "body_too_large", "the request body is over the server's limit"};
    case 414:
        return {status, "uri_too_long", "the request URI is too long"};
    default:
        break;
    }
    if (status >= 500)
        return {status, "internal", "the server could not answer this request"};
    return {status, "bad_request", "the request is not well-formed HTTP/1.1"};
}
