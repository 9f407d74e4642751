#include "companion/net/ClsHttp.h"

#include "companion/log/LogContextExitor.h"

#include <new>

ClsHttp* ClsHttp::createNewCls() {
    return new (std::nothrow) ClsHttp();
}

bool ClsHttp::postBinary(const std::string& url, const DataBuffer& body, const char* contentType,
                         const HttpSettings& settings, HttpResult& result, LogBase& log) {
    LogContextExitor ctx(log, "postBinary");
    if (!httpExchange({url, contentType, &body}, settings, result)) {
        log.LogError(result.error);
        return false;
    }
    log.LogDataLong("httpStatus", result.status);
    return true;
}
