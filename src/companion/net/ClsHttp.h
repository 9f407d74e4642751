#pragma once

#include "companion/base/ClsBase.h"
#include "companion/net/HttpExchange.h"
#include "companion/text/DataBuffer.h"
#include "companion/text/RefCountedObject.h"
#include "companion/text/XString.h"

#include <string>

class LogBase;

// An HTTP client over libcurl. Reference-counted: createNewCls returns it
// with one reference, and objects it is handed to keep their own.
class ClsHttp : public RefCountedObject, public ClsBase {
public:
    static ClsHttp* createNewCls();

    // Properties: the defaults of every request.
    long get_ConnectTimeout() const { return m_settings.connectTimeoutSeconds; }
    void put_ConnectTimeout(long seconds) { m_settings.connectTimeoutSeconds = seconds; }
    long get_ReadTimeout() const { return m_settings.totalTimeoutSeconds; }
    void put_ReadTimeout(long seconds) { m_settings.totalTimeoutSeconds = seconds; }
    void put_Login(const XString& login) { m_settings.login.copyFromX(login); }
    void put_Password(const XString& password) { m_settings.password.setSecureX(password); }
    const HttpSettings& settings() const { return m_settings; }

    // POSTs the body with the content type and waits for the whole answer.
    // True when an HTTP answer arrived, whatever its status; false, with one
    // error line naming the URL and the reason, when none did.
    bool postBinary(const std::string& url, const DataBuffer& body, const char* contentType,
                    const HttpSettings& settings, HttpResult& result, LogBase& log);

private:
    ClsHttp() = default;
    ~ClsHttp() override = default;

    HttpSettings m_settings;
};
