#include "companion/net/ClsHttp.h"

#include "companion/log/LogContextExitor.h"
#include "companion/net/CurlLibrary.h"

#include <memory>
#include <new>

namespace {

struct CurlEasyFree {
    void operator()(CURL* p) const { CurlLibrary::get()->easy_cleanup(p); }
};
struct CurlSlistFree {
    void operator()(curl_slist* p) const { CurlLibrary::get()->slist_free_all(p); }
};
using CurlPtr = std::unique_ptr<CURL, CurlEasyFree>;
using CurlSlistPtr = std::unique_ptr<curl_slist, CurlSlistFree>;

size_t appendBody(char* data, size_t size, size_t count, void* userData) {
    static_cast<DataBuffer*>(userData)->append(data, size * count);
    return size * count;
}

bool configure(const CurlLibrary& lib, CURL* curl, const std::string& url, const DataBuffer& body, curl_slist* headers,
               const HttpSettings& settings, HttpResult& result) {
    bool ok = lib.easy_setopt(curl, CURLOPT_URL, url.c_str()) == CURLE_OK;
    ok = ok && lib.easy_setopt(curl, CURLOPT_POST, 1L) == CURLE_OK;
    ok = ok && lib.easy_setopt(curl, CURLOPT_POSTFIELDS, body.getData()) == CURLE_OK;
    ok = ok && lib.easy_setopt(curl, CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(body.getSize())) == CURLE_OK;
    ok = ok && lib.easy_setopt(curl, CURLOPT_HTTPHEADER, headers) == CURLE_OK;
    ok = ok && lib.easy_setopt(curl, CURLOPT_NOSIGNAL, 1L) == CURLE_OK;
    // A library call goes where its caller says; proxy variables of the
    // environment are not read.
    ok = ok && lib.easy_setopt(curl, CURLOPT_PROXY, "") == CURLE_OK;
    ok = ok && lib.easy_setopt(curl, CURLOPT_CONNECTTIMEOUT, settings.connectTimeoutSeconds) == CURLE_OK;
    ok = ok && lib.easy_setopt(curl, CURLOPT_TIMEOUT, settings.totalTimeoutSeconds) == CURLE_OK;
    ok = ok && lib.easy_setopt(curl, CURLOPT_SSL_VERIFYPEER, 1L) == CURLE_OK;
    ok = ok && lib.easy_setopt(curl, CURLOPT_SSL_VERIFYHOST, 2L) == CURLE_OK;
    ok = ok && lib.easy_setopt(curl, CURLOPT_PROTOCOLS_STR, "http,https") == CURLE_OK;
    ok = ok && lib.easy_setopt(curl, CURLOPT_WRITEFUNCTION, appendBody) == CURLE_OK;
    ok = ok && lib.easy_setopt(curl, CURLOPT_WRITEDATA, &result.body) == CURLE_OK;
    if (ok && !settings.login.isEmpty()) {
        ok = lib.easy_setopt(curl, CURLOPT_HTTPAUTH, CURLAUTH_BASIC) == CURLE_OK &&
             lib.easy_setopt(curl, CURLOPT_USERNAME, settings.login.getUtf8()) == CURLE_OK &&
             lib.easy_setopt(curl, CURLOPT_PASSWORD, settings.password.getUtf8()) == CURLE_OK;
    }
    return ok;
}

} // namespace

ClsHttp* ClsHttp::createNewCls() {
    return new (std::nothrow) ClsHttp();
}

bool ClsHttp::postBinary(const std::string& url, const DataBuffer& body, const char* contentType,
                         const HttpSettings& settings, HttpResult& result, LogBase& log) {
    LogContextExitor ctx(log, "postBinary");
    result.status = 0;
    result.body.clear();
    const CurlLibrary* lib = CurlLibrary::get();
    if (!lib) {
        log.LogError("libcurl (libcurl.so.4) is not installed; HTTP requests are unavailable.");
        return false;
    }
    CurlPtr curl(lib->easy_init());
    const std::string contentTypeHeader = std::string("Content-Type: ") + contentType;
    CurlSlistPtr headers(lib->slist_append(nullptr, contentTypeHeader.c_str()));
    if (!curl || !headers || !configure(*lib, curl.get(), url, body, headers.get(), settings, result)) {
        log.LogError("Failed to set up the HTTP request.");
        return false;
    }
    char errorText[CURL_ERROR_SIZE] = {};
    lib->easy_setopt(curl.get(), CURLOPT_ERRORBUFFER, errorText);
    const CURLcode rc = lib->easy_perform(curl.get());
    if (rc != CURLE_OK) {
        log.LogError("HTTP POST to " + url + " failed: " + (errorText[0] ? errorText : lib->easy_strerror(rc)));
        return false;
    }
    lib->easy_getinfo(curl.get(), CURLINFO_RESPONSE_CODE, &result.status);
    log.LogDataLong("httpStatus", result.status);
    return true;
}
