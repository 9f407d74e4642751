#include "xmldsig/DocumentInfo.h"

#include "api/LoadedDocument.h"

#include "companion/log/LogBase.h"
#include "companion/text/DataBuffer.h"
#include "companion/xml/ClsXml.h"
#include "verifier/ClsXmlDSig.h"
#include "verifier/DSigReference.h"

namespace xmldsig {

namespace {

// The Algorithm of every Transform of a Reference, in order.
std::vector<std::string> transformAlgorithms(ClsXml& reference, LogBase& log) {
    std::vector<std::string> algorithms;
    RefPtr<ClsXml> transforms(reference.getChildWithTagUtf8("*:Transforms"));
    if (!transforms)
        return algorithms;
    StringBuffer alg;
    const int n = transforms->numChildrenHavingTagUtf8("*:Transform", log);
    for (int i = 0; i < n; ++i) {
        RefPtr<ClsXml> t(transforms->getNthChildWithTagUtf8("*:Transform", i, log));
        t->getAttrValue("Algorithm", alg);
        algorithms.emplace_back(alg.view());
    }
    return algorithms;
}

ReferenceInfo referenceInfo(ClsXmlDSig& dsig, int index, LogBase& log) {
    ReferenceInfo info;
    info.index = index;
    RefPtr<ClsXml> element(dsig.getReference(index, log));
    if (!element)
        return info;
    DSigReference ref;
    ref.parseReference(*element, log);
    if (!ref.m_uriOmitted)
        info.uri = std::string(ref.m_uri.view());
    info.id = ref.m_id.view();
    info.digestMethod = ref.m_digestMethod.view();
    info.transforms = transformAlgorithms(*element, log);
    info.digestValue = ref.m_digestValue.view();
    return info;
}

SignatureInfo signatureInfo(ClsXmlDSig& dsig, int index, LogBase& log) {
    dsig.put_Selector(index);
    StringBuffer id, method, c14n, prefixes, value;
    dsig.selectedSignatureId(id);
    dsig.getSignatureMethod(method, log);
    dsig.getCanonicalizationMethod(c14n, prefixes, log);
    dsig.getSignatureValue(value, log);
    DataBuffer decoded;

    SignatureInfo info;
    info.index = index;
    info.id = id.view();
    info.elementName = dsig.selectedSignature()->tag();
    info.signatureMethod = method.view();
    info.canonicalizationMethod = c14n.view();
    info.inclusivePrefixes = prefixes.view();
    if (decoded.appendEncoded(value.view(), "base64"))
        info.signatureValueBytes = decoded.getSize();
    const int n = dsig.get_NumReferences();
    for (int i = 0; i < n; ++i)
        info.references.push_back(referenceInfo(dsig, i, log));
    return info;
}

std::vector<std::string> profileNames(const SignerProfile& f) {
    std::vector<std::string> names;
    auto add = [&names](bool on, const char* name) {
        if (on)
            names.emplace_back(name);
    };
    add(f.isSiiCl, "sii-cl");
    add(f.isSunat, "sunat");
    add(f.dupC14nSortBug, "c14n-sort-bug");
    add(f.isCsioz, "csioz");
    add(f.isCmaStp, "cma-stp");
    add(f.isDoda, "doda");
    add(f.isSignedDocSkXml, "signeddoc-sk-xml");
    add(f.noSortBugRetry, "no-sort-bug-retry");
    return names;
}

DocumentInfo describeLoaded(LoadedDocument loaded) {
    DocumentInfo info;
    info.status = loaded.status();
    if (!info.status)
        return info;
    ClsXmlDSig& dsig = loaded.engine();
    LogNull log;
    for (int i = 0; i < dsig.get_NumSignatures(); ++i)
        info.signatures.push_back(signatureInfo(dsig, i, log));
    info.profile = profileNames(dsig.profileFlags());
    return info;
}

} // namespace

DocumentInfo describe(std::string_view document) {
    return describeLoaded(LoadedDocument::fromBytes(document));
}

DocumentInfo describeFile(const std::filesystem::path& path) {
    return describeLoaded(LoadedDocument::fromFile(path));
}

} // namespace xmldsig
