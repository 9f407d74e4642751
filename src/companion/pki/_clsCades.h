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
//
// Option members read from the CMS options:
//   "ValidateTsaChain" (bool, default false): a timestamp token's signer
//   certificate must chain to a certificate of the store and be fit for
//   time stamping; without it only the token's signature is checked.
class _clsCades {
public:
    static constexpr std::string_view kValidateTsaChain = "ValidateTsaChain";

    _clsCades();
    virtual ~_clsCades();
    _clsCades(const _clsCades&) = delete;
    _clsCades& operator=(const _clsCades&) = delete;

    void get_CmsOptions(XString& out) const { out.copyFromX(m_cmsOptions); }
    void put_CmsOptions(const XString& options) { m_cmsOptions.copyFromX(options); }
    // The options parsed; empty options are an empty object. False, with an
    // error line, when the text is not a JSON object.
    bool parsedCmsOptions(ClsJsonObject& out, LogBase& log) const;

    // Keeps a reference to the HTTP object for timestamp requests.
    void setTsaHttpObj(ClsHttp& http, LogBase& log);
    // The HTTP object set, or null.
    ClsHttp* tsaHttpObj() const { return m_tsaHttp.get(); }

protected:
    XString m_cmsOptions;

private:
    RefPtr<ClsHttp> m_tsaHttp;
};
