#pragma once

#include "companion/text/XString.h"

// The CMS settings that a signature verifier shares with the CAdES signer:
// the options text (JSON) that steers CMS and timestamp verification.
class _clsCades {
public:
    virtual ~_clsCades() = default;

    void get_CmsOptions(XString& out) const { out.copyFromX(m_cmsOptions); }
    void put_CmsOptions(const XString& options) { m_cmsOptions.copyFromX(options); }

protected:
    XString m_cmsOptions;
};
