#include "companion/base/ClsBinData.h"
#include "companion/log/LogContextExitor.h"
#include "companion/text/Charset.h"
#include "companion/xml/ClsXml.h"
#include "references/DSigExternalData.h"
#include "verifier/ClsXmlDSig.h"

#include <memory>

namespace {
// Reference indexes that can receive external data: 0..100.
constexpr unsigned kMaxExternalRefIndex = 100;
} // namespace

DSigRefExternalData* ClsXmlDSig::getExtRef(int index, bool create, LogBase& log) {
    LogContextExitor ctx(log, "getExtRef");
    log.LogDataLong("index", index);
    if (static_cast<unsigned>(index) > kMaxExternalRefIndex)
        return nullptr;

    // The selected signature's container is made even by a plain lookup.
    auto* sigData = static_cast<DSigExternalData*>(m_refExternalData.elementAt(m_selector));
    if (!sigData) {
        auto made = std::make_unique<DSigExternalData>();
        sigData = made.get();
        m_refExternalData.setAt(m_selector, std::move(made));
    }
    auto* refData = static_cast<DSigRefExternalData*>(sigData->m_refs.elementAt(index));
    if (!refData && create) {
        auto made = std::make_unique<DSigRefExternalData>();
        refData = made.get();
        sigData->m_refs.setAt(index, std::move(made));
    }
    return refData;
}

// A setter's holder: made if missing, emptied of the data set before.
DSigRefExternalData* ClsXmlDSig::clearedExtRef(int index, LogBase& log) {
    DSigRefExternalData* holder = getExtRef(index, true, log);
    if (holder) {
        holder->m_path.clear();
        holder->m_data.clear();
    }
    return holder;
}

bool ClsXmlDSig::SetRefDataFile(int index, XString& path) {
    CritSecExitor lock(m_critSec);
    LogContextExitor ctx(*this, "SetRefDataFile");
    m_log.clearLastJsonData();
    DSigRefExternalData* holder = clearedExtRef(index, m_log);
    if (!holder)
        return false;
    holder->m_path.copyFromX(path);
    logSuccessFailure(true);
    return true;
}

bool ClsXmlDSig::SetRefDataSb(int index, ClsStringBuilder& text, XString& charset) {
    CritSecExitor lock(m_critSec);
    LogContextExitor ctx(*this, "SetRefDataSb");
    m_log.clearLastJsonData();
    DSigRefExternalData* holder = clearedExtRef(index, m_log);
    if (!holder)
        return false;
    Charset cs;
    bool ok = cs.setByName(charset.view());
    if (!ok)
        m_log.LogDataX("unsupportedCharset", charset);
    ok = ok && cs.fromUtf8(text.m_str.view(), holder->m_data);
    if (!ok)
        holder->m_data.clear();
    logSuccessFailure(ok);
    return ok;
}

bool ClsXmlDSig::SetRefDataBd(int index, ClsBinData& data) {
    CritSecExitor lock(m_critSec);
    LogContextExitor ctx(*this, "SetRefDataBd");
    m_log.clearLastJsonData();
    DSigRefExternalData* holder = clearedExtRef(index, m_log);
    if (!holder)
        return false;
    const bool ok = holder->m_data.append(data.m_data);
    logSuccessFailure(ok);
    return ok;
}

bool ClsXmlDSig::getReferenceUri(int index, StringBuffer& uri, LogBase& log) {
    uri.clear();
    RefPtr<ClsXml> reference(getReference(index, log));
    if (!reference)
        return false;
    reference->getAttrValue("URI", uri);
    return true;
}

bool ClsXmlDSig::ReferenceUri(int index, XString& uri) {
    CritSecExitor lock(m_critSec);
    LogContextExitor ctx(*this, "ReferenceUri");
    m_log.clearLastJsonData();
    uri.clear();
    StringBuffer text;
    if (!getReferenceUri(index, text, m_log))
        return false;
    uri.setFromSbUtf8(text);
    return true;
}

bool ClsXmlDSig::IsReferenceExternal(int index) {
    CritSecExitor lock(m_critSec);
    LogContextExitor ctx(*this, "IsReferenceExternal");
    m_log.clearLastJsonData();
    StringBuffer uri;
    // No trimming here: only what the attribute literally starts with counts.
    return getReferenceUri(index, uri, m_log) && !uri.isEmpty() && !uri.beginsWith("#");
}
