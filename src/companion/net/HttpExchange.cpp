#include "companion/net/HttpExchange.h"

#include "companion/net/CurlLibrary.h"

#include <memory>

namespace {

struct CurlEasyFree {
    void operator()(CURL* p) const { CurlLibrary::get()->easy_cleanup(p); }
};
struct CurlSlistFree {
    void operator()(curl_slist* p) const { CurlLibrary::get()->slist_free_all(p); }
};
using CurlPtr = std::unique_ptr<CURL, CurlEasyFree>;
using CurlSlistPtr = std::unique_ptr<curl_slist, CurlSlistFree>;

// Where the body goes, and where it stops.
struct BodySink {
    DataBuffer& body;
    size_t limit;
    bool overLimit = false;
};

size_t appendBody(char* data, size_t size, size_t count, void* userData) {
    auto* sink = static_cast<BodySink*>(userData);
    const size_t n = size * count;
    if (sink->limit != 0 && sink->body.getSize() + n > sink->limit) {
        sink->overLimit = true;
        return 0; // libcurl stops the transfer with a write error
    }
    sink->body.append(data, n);
    return n;
}

bool configurePost(const CurlLibrary& lib, CURL* curl, const HttpRequest& request, curl_slist* headers) {
    return lib.easy_setopt(curl, CURLOPT_POST, 1L) == CURLE_OK &&
           lib.easy_setopt(curl, CURLOPT_POSTFIELDS, request.body->getData()) == CURLE_OK &&
           lib.easy_setopt(curl, CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(request.body->getSize())) ==
               CURLE_OK &&
           lib.easy_setopt(curl, CURLOPT_HTTPHEADER, headers) == CURLE_OK;
}

bool configure(const CurlLibrary& lib, CURL* curl, const HttpRequest& request, curl_slist* headers,
               const HttpSettings& settings, BodySink& sink) {
    bool ok = lib.easy_setopt(curl, CURLOPT_URL, request.url.c_str()) == CURLE_OK;
    ok = ok && (!headers || configurePost(lib, curl, request, headers));
    ok = ok && lib.easy_setopt(curl, CURLOPT_NOSIGNAL, 1L) == CURLE_OK;
    // A library call goes where its caller says; proxy variables of the
    // environment are not read.
    ok = ok && lib.easy_setopt(curl, CURLOPT_PROXY, "") == CURLE_OK;
    ok = ok && lib.easy_setopt(curl, CURLOPT_CONNECTTIMEOUT, settings.connectTimeoutSeconds) == CURLE_OK;
    ok = ok && lib.easy_setopt(curl, CURLOPT_TIMEOUT, settings.totalTimeoutSeconds) == CURLE_OK;
    ok = ok &&
         lib.easy_setopt(curl, CURLOPT_MAXFILESIZE_LARGE, static_cast<curl_off_t>(settings.maxBodyBytes)) == CURLE_OK;
    ok = ok && lib.easy_setopt(curl, CURLOPT_SSL_VERIFYPEER, 1L) == CURLE_OK;
    ok = ok && lib.easy_setopt(curl, CURLOPT_SSL_VERIFYHOST, 2L) == CURLE_OK;
    ok = ok && lib.easy_setopt(curl, CURLOPT_PROTOCOLS_STR, "http,https") == CURLE_OK;
    ok = ok && lib.easy_setopt(curl, CURLOPT_WRITEFUNCTION, appendBody) == CURLE_OK;
    ok = ok && lib.easy_setopt(curl, CURLOPT_WRITEDATA, &sink) == CURLE_OK;
    if (ok && !settings.login.isEmpty()) {
        ok = lib.easy_setopt(curl, CURLOPT_HTTPAUTH, CURLAUTH_BASIC) == CURLE_OK &&
             lib.easy_setopt(curl, CURLOPT_USERNAME, settings.login.getUtf8()) == CURLE_OK &&
             lib.easy_setopt(curl, CURLOPT_PASSWORD, settings.password.getUtf8()) == CURLE_OK;
    }
    return ok;
}

bool failed(HttpResult& result, std::string error) {
    result.error = std::move(error);
    return false;
}

} // namespace

bool httpExchange(const HttpRequest& request, const HttpSettings& settings, HttpResult& result) {
    result.status = 0;
    result.body.clear();
    result.error.clear();
    const CurlLibrary* lib = CurlLibrary::get();
    if (!lib)
        return failed(result, "libcurl (libcurl.so.4) is not installed; HTTP requests are unavailable.");
    const bool post = request.contentType && request.body;
    CurlPtr curl(lib->easy_init());
    CurlSlistPtr headers;
    if (post)
        headers.reset(lib->slist_append(nullptr, (std::string("Content-Type: ") + request.contentType).c_str()));
    BodySink sink{result.body, settings.maxBodyBytes};
    if (!curl || (post && !headers) || !configure(*lib, curl.get(), request, headers.get(), settings, sink))
        return failed(result, "Failed to set up the HTTP request.");
    char errorText[CURL_ERROR_SIZE] = {};
    lib->easy_setopt(curl.get(), CURLOPT_ERRORBUFFER, errorText);
    const CURLcode rc = lib->easy_perform(curl.get());
    const std::string what = std::string(post ? "HTTP POST to " : "HTTP GET of ") + request.url + " failed: ";
    if (sink.overLimit || rc == CURLE_FILESIZE_EXCEEDED)
        return failed(result, what + "the answer is larger than " + std::to_string(settings.maxBodyBytes) + " bytes");
    if (rc != CURLE_OK)
        return failed(result, what + (errorText[0] ? errorText : lib->easy_strerror(rc)));
    lib->easy_getinfo(curl.get(), CURLINFO_RESPONSE_CODE, &result.status);
    return true;
}
