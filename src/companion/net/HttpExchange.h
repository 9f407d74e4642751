#pragma once

#include "companion/text/DataBuffer.h"
#include "companion/text/XString.h"

#include <cstddef>
#include <string>

// How a request is sent: timeouts in seconds (0: none), the largest body
// taken (0: any) and optional basic authentication. TLS peers are always
// verified; requests go directly to the host, never through a proxy named
// in the environment.
struct HttpSettings {
    long connectTimeoutSeconds = 10;
    long totalTimeoutSeconds = 30;
    size_t maxBodyBytes = 0;
    XString login;
    XString password;
};

// One HTTP exchange's outcome: the status line's code and the body, or why
// no answer came.
struct HttpResult {
    long status = 0;
    DataBuffer body;
    std::string error; // "HTTP GET of URL failed: ..."; empty when an answer arrived
};

// One request: a POST of `body` with its content type, or a GET when there
// is no content type.
struct HttpRequest {
    std::string url;
    const char* contentType = nullptr;
    const DataBuffer* body = nullptr;
};

// Sends the request through libcurl and waits for the whole answer. True
// when an HTTP answer arrived within the settings' limits, whatever its
// status; false with `result.error` otherwise.
bool httpExchange(const HttpRequest& request, const HttpSettings& settings, HttpResult& result);
