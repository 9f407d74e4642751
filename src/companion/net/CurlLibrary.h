#pragma once

#include <curl/curl.h>

// libcurl, loaded on first use rather than at program start: verifying never
// makes a request, and loading libcurl with the libraries it depends on
// would cost every run of a short-lived process more than the verification.
struct CurlLibrary {
    CURLcode (*global_init)(long flags);
    CURL* (*easy_init)();
    CURLcode (*easy_setopt)(CURL* curl, CURLoption option, ...);
    CURLcode (*easy_perform)(CURL* curl);
    CURLcode (*easy_getinfo)(CURL* curl, CURLINFO info, ...);
    void (*easy_cleanup)(CURL* curl);
    const char* (*easy_strerror)(CURLcode code);
    curl_slist* (*slist_append)(curl_slist* list, const char* text);
    void (*slist_free_all)(curl_slist* list);

    // The loaded and initialised library, or null when it is not installed;
    // loaded once per process and never unloaded.
    static const CurlLibrary* get();
};
