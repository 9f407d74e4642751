#include "companion/pki/_clsCades.h"

#include "companion/log/LogBase.h"
#include "companion/net/ClsHttp.h"

_clsCades::_clsCades() = default;

_clsCades::~_clsCades() = default;

void _clsCades::setTsaHttpObj(ClsHttp& http, LogBase& log) {
    http.incRefCount();
    m_tsaHttp.reset(&http);
    log.LogInfo("The timestamp requests will use the HTTP object given.");
}
