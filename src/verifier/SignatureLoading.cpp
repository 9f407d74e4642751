#include "companion/log/LogContextExitor.h"
#include "companion/xml/ClsXml.h"
#include "verifier/ClsXmlDSig.h"

bool ClsXmlDSig::LoadSignature(XString& xml) {
    CritSecExitor lock(m_critSec);
    LogContextExitor ctx(*this, "LoadSignature");
    xml.checkFixUtf8Windows1252(m_log);
    m_log.clearLastJsonData();
    const bool ok = loadSignature(xml, m_log);
    logSuccessFailure(ok);
    return ok;
}

bool ClsXmlDSig::LoadSignatureSb(ClsStringBuilder& sb) {
    CritSecExitor lock(m_critSec);
    LogContextExitor ctx(*this, "LoadSignatureSb");
    m_log.clearLastJsonData();
    XString xml;
    xml.setFromSbUtf8(sb.m_str);
    const bool ok = loadSignature(xml, m_log);
    logSuccessFailure(ok);
    return ok;
}

bool ClsXmlDSig::LoadSignatureBd(ClsBinData& bd) {
    CritSecExitor lock(m_critSec);
    LogContextExitor ctx(*this, "LoadSignatureBd");
    m_log.clearLastJsonData();
    DataBuffer bytes(bd.m_data);
    const bool ok = loadSignatureBd(bytes, m_log);
    logSuccessFailure(ok);
    return ok;
}

void ClsXmlDSig::resetLoadedDocument() {
    m_selector = 0;
    m_locateMemo = LocateMemo{};
    releaseDocument();
    m_signatures.removeAllObjects();
}

bool ClsXmlDSig::loadSignature(XString& xml, LogBase& log) {
    resetLoadedDocument();
    checkSetZatca(log);
    checkSetMyInvois(log);
    m_sigXml.setString(xml.view());
    return parseLoadedText(log);
}

bool ClsXmlDSig::loadSignatureBd(DataBuffer& bytes, LogBase& log) {
    resetLoadedDocument();
    // Unlike the string loads, the profile options are not evaluated here:
    // they keep the values of the last load or verification.
    if (!bytes.convertXmlToUtf8(log))
        return false;
    m_sigXml.takeFromDb(bytes);
    return parseLoadedText(log);
}

bool ClsXmlDSig::parseLoadedText(LogBase& log) {
    detectSpecial(m_sigXml, log);
    m_xml = ClsXml::createNewCls();
    if (!m_xml)
        return false;
    if (!m_xml->loadXml(m_sigXml, false, log))
        return false;
    return m_xml->findSignatures(m_signatures, log);
}
