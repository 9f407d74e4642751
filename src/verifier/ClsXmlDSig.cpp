#include "verifier/ClsXmlDSig.h"

#include "companion/crypto/ClsPublicKey.h"
#include "companion/log/LogContextExitor.h"
#include "companion/xml/ClsXml.h"

#include <new>

ClsXmlDSig* ClsXmlDSig::createNewCls() {
    try {
        return new ClsXmlDSig();
    } catch (...) {
        return nullptr;
    }
}

ClsXmlDSig::ClsXmlDSig() = default;

ClsXmlDSig::~ClsXmlDSig() {
    try {
        CritSecExitor lock(m_critSec);
        releaseDocument();
        m_document.signatures.removeAllObjects();
        m_selector = 0;
        m_publicKeys.removeAllObjects();
    } catch (...) {
    }
}

void ClsXmlDSig::releaseDocument() {
    m_document.tree.reset();
}

void ClsXmlDSig::put_Selector(int index) {
    CritSecExitor lock(m_critSec);
    const int n = m_document.signatures.getSize();
    if (index >= n)
        index = n - 1;
    m_selector = index < 0 ? 0 : index;
}

int ClsXmlDSig::get_NumSignatures() {
    CritSecExitor lock(m_critSec);
    return m_document.signatures.getSize();
}

void ClsXmlDSig::get_ExternalRefDirs(XString& out) {
    CritSecExitor lock(m_critSec);
    out.copyFromX(m_externalRefDirs);
}

void ClsXmlDSig::put_ExternalRefDirs(const XString& dirs) {
    CritSecExitor lock(m_critSec);
    m_externalRefDirs.copyFromX(dirs);
}

void ClsXmlDSig::get_VerifyOptions(XString& out) {
    CritSecExitor lock(m_critSec);
    get_CmsOptions(out);
}

void ClsXmlDSig::put_VerifyOptions(const XString& options) {
    CritSecExitor lock(m_critSec);
    put_CmsOptions(options);
    // Also read at each load and verification, where a bad value is logged.
    readPolicy();
}

bool ClsXmlDSig::checkSetZatca(LogBase& log) {
    m_profile.isZatca = m_policy.profile.zatca;
    if (m_profile.isZatca) {
        m_profile.noSortBugRetry = true;
        log.LogInfo("Will validate according to ZATCA rules...");
    }
    return m_profile.isZatca;
}

bool ClsXmlDSig::checkSetMyInvois(LogBase& log) {
    m_profile.isMyInvois = m_policy.profile.myInvois;
    if (m_profile.isMyInvois) {
        m_profile.noSortBugRetry = true;
        log.LogInfo("Will validate according to MyInvois rules...");
    }
    return m_profile.isMyInvois;
}

ClsXml* ClsXmlDSig::selectedSignature() const {
    return static_cast<ClsXml*>(m_document.signatures.elementAt(m_selector));
}
