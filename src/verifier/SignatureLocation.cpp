#include "companion/xml/ClsXml.h"
#include "companion/xml/XmlSigLocate.h"
#include "verifier/ClsXmlDSig.h"

bool ClsXmlDSig::isLoadedText(std::string_view text) const {
    return text.data() == m_sigXml.view().data() && text.size() == m_sigXml.getSize();
}

const XmlDocument* ClsXmlDSig::loadedTree() const {
    return m_xml ? m_xml->parsedDocument() : nullptr;
}

bool ClsXmlDSig::locateSelectedSignature(std::string_view text, const StringBuffer& sigId,
                                         const StringBuffer& digestValue, XmlSigPositions& out, LogBase& log) {
    const bool byId = !sigId.isEmpty();
    const std::string_view key = byId ? sigId.view() : digestValue.view();
    // Only the loaded text is remembered: it stays put until the next load,
    // while other texts may come and go at the same address.
    const bool loadedText = isLoadedText(text);
    if (loadedText && m_locateMemo.valid && m_locateMemo.byId == byId && m_locateMemo.key == key) {
        out = m_locateMemo.positions;
        return m_locateMemo.found;
    }
    XmlSigLocate locate;
    locate.setParsedDocument(loadedTree());
    _tvXmlDtd dtd;
    const bool found =
        byId ? locate.FindXmlSigById(key, text, dtd, log) : locate.FindXmlSigByRefDigest(key, text, dtd, log);
    out = locate;
    if (loadedText)
        m_locateMemo = LocateMemo{true, byId, found, std::string(key), out};
    return found;
}
