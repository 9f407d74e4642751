#include "TestSupport.h"

#include "companion/log/LogBase.h"
#include "companion/text/DataBuffer.h"
#include "companion/text/ExtPtrArray.h"
#include "companion/text/StringBuffer.h"
#include "companion/xml/ClsXml.h"
#include "companion/xml/XmlSigLocate.h"
#include "companion/xml/XmlSigRemoval.h"
#include "companion/xml/_tvXmlDtd.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <set>
#include <string>
#include <string_view>

// The signed documents of the real and peer corpora, checked against the
// tree that ClsXml builds from the same text: the signatures it lists must be
// located and removed at the byte offsets it reports for them.
namespace {

namespace fs = std::filesystem;

const ClsXml& signatureAt(const ExtPtrArrayRc& signatures, int i) {
    return *static_cast<const ClsXml*>(signatures.elementAt(i));
}

void checkLocatedById(std::string_view text, const ExtPtrArrayRc& signatures, const fs::path& path, int& located) {
    std::set<std::string> seen; // the first signature with an Id is the one found
    for (int i = 0; i < signatures.getSize(); ++i) {
        const ClsXml& sig = signatureAt(signatures, i);
        StringBuffer id;
        if (!sig.getAttrValue("Id", id) || !seen.insert(std::string(id.view())).second)
            continue;
        XmlSigLocate at;
        _tvXmlDtd dtd;
        LogNull log;
        ASSERT_TRUE(at.FindXmlSigById(id.view(), text, dtd, log)) << path << " " << id.view();
        const std::string_view found = text.substr(at.m_signatureLoc, at.m_signatureLen);
        const std::string endTag = std::string("</").append(sig.tag()).append(">");
        EXPECT_TRUE(found.starts_with('<') && (found.ends_with(endTag) || found.ends_with("/>"))) << path;
        EXPECT_EQ(at.m_signatureLoc, sig.startTagBegin()) << path << " " << id.view();
        EXPECT_EQ(at.m_signatureLoc + at.m_signatureLen, sig.endTagEnd()) << path << " " << id.view();
        RefPtr<ClsXml> signedInfo(sig.findChild("*:SignedInfo"));
        if (signedInfo) {
            EXPECT_EQ(at.m_signedInfoLoc + at.m_signedInfoLen, signedInfo->endTagEnd()) << path << " " << id.view();
        }
        ++located;
    }
}

// The text without the outermost of the tree's signatures.
std::string withoutSignatures(std::string_view text, const ExtPtrArrayRc& signatures) {
    std::string out;
    uint32_t from = 0;
    for (int i = 0; i < signatures.getSize(); ++i) {
        const ClsXml& sig = signatureAt(signatures, i);
        if (sig.startTagBegin() < from)
            continue;
        out.append(text.substr(from, sig.startTagBegin() - from));
        from = sig.endTagEnd();
    }
    return out.append(text.substr(from));
}

void checkRemoved(std::string_view text, const ExtPtrArrayRc& signatures, const fs::path& path, int& cleaned) {
    XmlSigRemoval removal;
    _tvXmlDtd dtd;
    StringBuffer out;
    LogNull log;
    ASSERT_TRUE(removal.removeSignatures(text, dtd, out, log)) << path;
    EXPECT_EQ(out.view(), withoutSignatures(text, signatures)) << path;
    if (!RefPtr<ClsXml>(signatureAt(signatures, 0).getParent()))
        return; // the root was a signature
    RefPtr<ClsXml> rest(ClsXml::createNewCls());
    ASSERT_TRUE(rest->loadXml(out.view(), false, log)) << path;
    ExtPtrArrayRc left;
    rest->findSignatures(left, log);
    EXPECT_EQ(left.getSize(), 0) << path;
    ++cleaned;
}

TEST(XmlSigCorpus, SignaturesAreLocatedAndRemovedWhereTheTreeHasThem) {
    int located = 0;
    int cleaned = 0;
    for (const fs::path& path : test_support::corpusXmlFiles()) {
        const std::string family = fs::relative(path, test_support::corpusDir()).begin()->string();
        DataBuffer db;
        db.append(test_support::readFile(path));
        LogNull log;
        if ((family != "real" && family != "peers") || !db.convertXmlToUtf8(log))
            continue;
        const std::string text = db.takeString();
        RefPtr<ClsXml> root(ClsXml::createNewCls());
        ExtPtrArrayRc signatures;
        if (!root->loadXml(text, false, log) || !root->findSignatures(signatures, log) || signatures.getSize() == 0)
            continue;
        checkLocatedById(text, signatures, path, located);
        checkRemoved(text, signatures, path, cleaned);
    }
    EXPECT_GT(located, 50);
    EXPECT_GT(cleaned, 50);
}

} // namespace
