#include "companion/net/CurlLibrary.h"

#include <dlfcn.h>

#include <mutex>

namespace {

constexpr const char* kLibraryNames[] = {"libcurl.so.4", "libcurl.so"};

template <class Fn> bool resolve(void* handle, const char* name, Fn& fn) {
    fn = reinterpret_cast<Fn>(dlsym(handle, name));
    return fn != nullptr;
}

bool load(CurlLibrary& lib) {
    void* handle = nullptr;
    for (const char* name : kLibraryNames)
        if ((handle = dlopen(name, RTLD_NOW | RTLD_LOCAL)) != nullptr)
            break;
    if (!handle)
        return false;
    const bool resolved = resolve(handle, "curl_global_init", lib.global_init) &&
                          resolve(handle, "curl_easy_init", lib.easy_init) &&
                          resolve(handle, "curl_easy_setopt", lib.easy_setopt) &&
                          resolve(handle, "curl_easy_perform", lib.easy_perform) &&
                          resolve(handle, "curl_easy_getinfo", lib.easy_getinfo) &&
                          resolve(handle, "curl_easy_cleanup", lib.easy_cleanup) &&
                          resolve(handle, "curl_easy_strerror", lib.easy_strerror) &&
                          resolve(handle, "curl_slist_append", lib.slist_append) &&
                          resolve(handle, "curl_slist_free_all", lib.slist_free_all);
    // libcurl's global state is set up once and never torn down: other
    // threads may still be using it at exit.
    return resolved && lib.global_init(CURL_GLOBAL_DEFAULT) == CURLE_OK;
}

} // namespace

const CurlLibrary* CurlLibrary::get() {
    static std::once_flag once;
    static CurlLibrary lib{};
    static bool ready = false;
    std::call_once(once, [] { ready = load(lib); });
    return ready ? &lib : nullptr;
}
