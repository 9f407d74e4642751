#include "companion/pki/_clsCades.h"

#include "companion/base/ClsJsonObject.h"
#include "companion/log/LogBase.h"
#include "companion/net/ClsHttp.h"

_clsCades::_clsCades() = default;

_clsCades::~_clsCades() = default;

bool _clsCades::parsedCmsOptions(ClsJsonObject& out, LogBase& log) const {
    StringBuffer text(m_cmsOptions.view());
    text.trim2();
    if (text.isEmpty())
        return out.load("{}", log);
    if (out.load(text.view(), log))
        return true;
    log.LogError("The CMS options are not a JSON object.");
    return false;
}

void _clsCades::setTsaHttpObj(ClsHttp& http, LogBase& log) {
    http.incRefCount();
    m_tsaHttp.reset(&http);
    log.LogInfo("The timestamp requests will use the HTTP object given.");
}
