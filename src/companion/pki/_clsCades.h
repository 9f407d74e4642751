#pragma once

#include "companion/text/RefCountedObject.h"
#include "companion/text/XString.h"

#include <string_view>

class ClsHttp;
class ClsJsonObject;
class LogBase;

// The CMS settings that a signature verifier shares with the CAdES signer:
// the options text (JSON) that steers CMS and timestamp verification, and the
// HTTP object that timestamp requests go through.
class _clsCades {
public:
    _clsCades();
    virtual ~_clsCades();
    _clsCades(const _clsCades&) = delete;
    _clsCades& operator=(const _clsCades&) = delete;

    void get_CmsOptions(XString& out) const { out.copyFromX(m_cmsOptions); }
    void put_CmsOptions(const XString& options) { m_cmsOptions.copyFromX(options); }
    // Keeps a reference to the HTTP object for timestamp requests.
    void setTsaHttpObj(ClsHttp& http, LogBase& log);
    // The HTTP object set, or null.
    ClsHttp* tsaHttpObj() const { return m_tsaHttp.get(); }

protected:
    XString m_cmsOptions;

private:
    RefPtr<ClsHttp> m_tsaHttp;
};
