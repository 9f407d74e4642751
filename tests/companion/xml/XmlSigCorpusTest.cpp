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

#include <algorithm>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

// Every signed document of the real and peer corpora, checked against the
// tree that ClsXml builds from the same text: the signatures it lists are
// the ones located and removed, at the same byte offsets.
namespace {

namespace fs = std::filesystem;

struct Document {
    fs::path path;
    std::string text; // UTF-8
};

std::vector<Document> signedCorpusDocuments() {
    std::vector<Document> docs;
    for (const fs::path& path : test_support::corpusXmlFiles()) {
        const std::string parent = fs::relative(path, test_support::corpusDir()).begin()->string();
        if (parent != "real" && parent != "peers")
            continue;
        DataBuffer db;
        db.append(test_support::readFile(path));
        LogNull log;
        if (db.convertXmlToUtf8(log))
            docs.push_back(Document{path, db.takeString()});
    }
    return docs;
}

struct Span {
    uint32_t begin;
    uint32_t end;
};

Span spanOf(const ClsXml& e) {
    return Span{e.startTagBegin(), e.endTagEnd()};
}

std::string attr(const ClsXml& e, const char* name) {
    StringBuffer sb;
    e.getAttrValue(name, sb);
    return std::string(sb.view());
}

// The text without the outermost signatures that the tree lists.
std::string withoutSignatures(std::string_view text, const std::vector<Span>& signatures) {
    std::string out;
    uint32_t from = 0;
    for (const Span& s : signatures) {
        if (s.begin < from)
            continue;
        out.append(text.substr(from, s.begin - from));
        from = s.end;
    }
    out.append(text.substr(from));
    return out;
}

// Read once for both tests.
const std::vector<Document>& corpus() {
    static const std::vector<Document> docs = signedCorpusDocuments();
    return docs;
}

TEST(XmlSigCorpus, SignaturesFoundByIdSliceToTheTreesElement) {
    int located = 0;
    for (const Document& doc : corpus()) {
        RefPtr<ClsXml> root(ClsXml::createNewCls());
        LogNull log;
        if (!root->loadXml(doc.text, false, log))
            continue;
        ExtPtrArrayRc signatures;
        root->findSignatures(signatures, log);
        std::vector<std::string> seen;
        for (int i = 0; i < signatures.getSize(); ++i) {
            const auto* sig = static_cast<const ClsXml*>(signatures.elementAt(i));
            const std::string id = attr(*sig, "Id");
            if (id.empty() || std::find(seen.begin(), seen.end(), id) != seen.end())
                continue;
            seen.push_back(id);
            XmlSigLocate locate;
            _tvXmlDtd dtd;
            ASSERT_TRUE(locate.FindXmlSigById(id, doc.text, dtd, log)) << doc.path << " " << id;
            const std::string_view found =
                std::string_view(doc.text).substr(locate.m_signatureLoc, locate.m_signatureLen);
            const std::string endTag = std::string("</").append(sig->tag()).append(">");
            EXPECT_TRUE(found.starts_with('<') && found.substr(1).starts_with(sig->tag()) &&
                        (found.ends_with(endTag) || found.ends_with("/>")))
                << doc.path << " " << id;
            EXPECT_EQ(locate.m_signatureLoc, sig->startTagBegin()) << doc.path << " " << id;
            EXPECT_EQ(locate.m_signatureLoc + locate.m_signatureLen, sig->endTagEnd()) << doc.path << " " << id;
            RefPtr<ClsXml> signedInfo(sig->findChild("*:SignedInfo"));
            if (signedInfo) {
                EXPECT_EQ(locate.m_signedInfoLoc, signedInfo->startTagBegin()) << doc.path << " " << id;
                EXPECT_EQ(locate.m_signedInfoLoc + locate.m_signedInfoLen, signedInfo->endTagEnd()) << doc.path;
            }
            ++located;
        }
    }
    EXPECT_GT(located, 50);
}

TEST(XmlSigCorpus, RemovalLeavesWellFormedTextWithoutSignatures) {
    int cleaned = 0;
    for (const Document& doc : corpus()) {
        RefPtr<ClsXml> root(ClsXml::createNewCls());
        LogNull log;
        const bool loaded = root->loadXml(doc.text, false, log);
        XmlSigRemoval removal;
        _tvXmlDtd dtd;
        StringBuffer out;
        ASSERT_EQ(removal.removeSignatures(doc.text, dtd, out, log), loaded) << doc.path;
        if (!loaded) {
            EXPECT_EQ(out.view(), doc.text) << doc.path;
            continue;
        }
        ExtPtrArrayRc signatures;
        root->findSignatures(signatures, log);
        if (signatures.getSize() == 0)
            continue;
        std::vector<Span> spans;
        for (int i = 0; i < signatures.getSize(); ++i)
            spans.push_back(spanOf(*static_cast<const ClsXml*>(signatures.elementAt(i))));
        EXPECT_EQ(out.view(), withoutSignatures(doc.text, spans)) << doc.path;
        if (spans.front().begin == root->startTagBegin())
            continue; // the root was the signature
        RefPtr<ClsXml> rest(ClsXml::createNewCls());
        ASSERT_TRUE(rest->loadXml(out.view(), false, log)) << doc.path;
        ExtPtrArrayRc left;
        rest->findSignatures(left, log);
        EXPECT_EQ(left.getSize(), 0) << doc.path;
        ++cleaned;
    }
    EXPECT_GT(cleaned, 50);
}

} // namespace
