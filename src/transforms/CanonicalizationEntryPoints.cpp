#include "companion/canon/XmlCanon.h"
#include "companion/log/FirstErrorLog.h"
#include "companion/log/LogContextExitor.h"
#include "verifier/ClsXmlDSig.h"

namespace {

// "excl_c14n" (any case, surrounding blanks allowed) selects exclusive
// canonicalization, "c14n_11" Canonical XML 1.1; anything else is inclusive
// C14N 1.0.
XmlCanon::Mode modeOf(const XString& version) {
    StringBuffer v(version.view());
    v.trim2();
    v.toLowerCase();
    if (v.equals("excl_c14n"))
        return XmlCanon::Mode::Exclusive;
    return v.equals("c14n_11") ? XmlCanon::Mode::Inclusive11 : XmlCanon::Mode::Inclusive;
}

} // namespace

bool ClsXmlDSig::CanonicalizeFragment(XString& xml, XString& fragmentId, XString& version, XString& prefixList,
                                      bool withComments, XString& outXml) {
    CritSecExitor lock(m_critSec);
    LogContextExitor ctx(*this, "CanonicalizeFragment");
    m_log.clearLastJsonData();
    m_log.LogDataX("fragmentId", fragmentId);
    m_log.LogDataX("canonicalization", version);
    m_log.LogDataX("prefixList", prefixList);

    outXml.clear();
    XmlCanon canon;
    canon.setWithComments(withComments);
    canon.setMode(modeOf(version));
    if (canon.mode() == XmlCanon::Mode::Exclusive)
        prefixList.getUtf8Sb().split(canon.inclusivePrefixes(), ' ', false, false);
    FirstErrorLog errors(m_log);
    return noteFailure(canon.xmlCanonicalize(xml.getUtf8Sb(), fragmentId.getUtf8(), 0, outXml.getUtf8Sb_rw(), errors),
                       errors);
}

bool ClsXmlDSig::CanonicalizeXml(XString& xml, XString& version, bool withComments, XString& outXml) {
    CritSecExitor lock(m_critSec);
    LogContextExitor ctx(*this, "CanonicalizeXml");
    m_log.clearLastJsonData();

    outXml.clear();
    XmlCanon canon;
    canon.setWithComments(withComments);
    canon.setMode(modeOf(version));
    FirstErrorLog errors(m_log);
    return noteFailure(canon.xmlCanonicalize(xml.getUtf8Sb(), nullptr, 0, outXml.getUtf8Sb_rw(), errors), errors);
}
