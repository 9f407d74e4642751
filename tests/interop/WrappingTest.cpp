// Signature wrapping: the classic ways of moving a signed element and putting
// an evil one where the application reads, built at test time from a real
// SAML response and a real WS-Security message. Each signature of each
// variant must be INVALID, or VALID with its references reporting the
// element that carries the signed bytes, never the evil one.
#include "support/Signing.h"

#include <gtest/gtest.h>

#include <functional>

namespace {

using namespace test_support;

struct SignedMessage {
    std::string file;
    std::string id;         // the signed element's identifier
    std::string elementEnd; // its end tag
};

const SignedMessage kMessages[] = {
    {"saml/rubysaml-inclusive_namespaces.xml", "id8132302868541019755414121", "</saml2:Assertion>"},
    {"wss/springws-xwss-signed-soap.xml", "XWSSGID-1149203417054-305519969", "</SOAP-ENV:Body>"},
};

constexpr std::string_view kSignatureEnd = "</ds:Signature>";

struct Parts {
    std::string doc;
    size_t begin = 0; // the signed element E is doc[begin, end)
    size_t end = 0;
    std::string element() const { return doc.substr(begin, end - begin); }
    std::string before() const { return doc.substr(0, begin); }
    std::string after() const { return doc.substr(end); }
};

Parts partsOf(const std::string& doc, const SignedMessage& m) {
    Parts p{doc};
    const size_t idAt = doc.find("\"" + m.id + "\"");
    p.begin = doc.rfind('<', idAt);
    p.end = doc.find(m.elementEnd, idAt) + m.elementEnd.size();
    return p;
}

// E with content the signer never saw, and with another identifier unless
// it keeps the signed one.
std::string evil(const std::string& element, const std::string& id, bool keepId) {
    std::string out = element;
    out.insert(out.find('>') + 1, "<Injected>evil</Injected>");
    return keepId ? out : replaced(out, "\"" + id + "\"", "\"" + id + "-evil\"");
}

std::string insertedBefore(std::string doc, std::string_view marker, const std::string& text, size_t from = 0) {
    return doc.insert(doc.find(marker, from), text);
}

std::string wrappedBefore(const std::string& outer, const std::string& endTag, const std::string& inner) {
    return outer.substr(0, outer.rfind(endTag)) + inner + endTag;
}

// After the root element's start tag.
std::string insertedInRoot(std::string doc, const std::string& text) {
    size_t root = doc.find('<');
    while (doc.compare(root, 2, "<?") == 0)
        root = doc.find('<', root + 1);
    return doc.insert(doc.find('>', root) + 1, text);
}

// The signature moved out of E when E holds it, else into E.
std::string signatureMoved(const Parts& p) {
    const std::string e = p.element();
    const size_t s = e.find("<ds:Signature");
    if (s != std::string::npos) {
        const size_t se = e.find(kSignatureEnd, s) + kSignatureEnd.size();
        return p.before() + e.substr(0, s) + e.substr(se) + e.substr(s, se - s) + p.after();
    }
    const size_t s0 = p.doc.find("<ds:Signature");
    const size_t s1 = p.doc.find(kSignatureEnd, s0) + kSignatureEnd.size();
    const std::string signature = p.doc.substr(s0, s1 - s0);
    const std::string withoutSignature = p.doc.substr(0, s0) + p.doc.substr(s1);
    const Parts q{withoutSignature, p.begin - signature.size(), p.end - signature.size()};
    std::string moved = q.element();
    moved.insert(moved.find('>') + 1, signature);
    return q.before() + moved + q.after();
}

struct Variant {
    const char* name;
    bool duplicatesTheId;
    std::function<std::string(const Parts&, const std::string& id, const std::string& endTag)> build;
};

const Variant kVariants[] = {
    {"evil copy with the same Id before", true,
     [](const Parts& p, const std::string& id, const std::string&) {
         return p.before() + evil(p.element(), id, true) + p.element() + p.after();
     }},
    {"evil copy with the same Id after", true,
     [](const Parts& p, const std::string& id, const std::string&) {
         return p.before() + p.element() + evil(p.element(), id, true) + p.after();
     }},
    {"evil copy with the same Id wrapping the original", true,
     [](const Parts& p, const std::string& id, const std::string& endTag) {
         return p.before() + wrappedBefore(evil(p.element(), id, true), endTag, p.element()) + p.after();
     }},
    {"original moved into an Object of a signature", false,
     [](const Parts& p, const std::string& id, const std::string&) {
         const std::string doc = p.before() + evil(p.element(), id, false) + p.after();
         return insertedBefore(doc, kSignatureEnd, "<ds:Object>" + p.element() + "</ds:Object>");
     }},
    {"original moved into a signature", false,
     [](const Parts& p, const std::string& id, const std::string&) {
         return insertedBefore(p.before() + evil(p.element(), id, false) + p.after(), kSignatureEnd, p.element());
     }},
    {"original moved into a wrapper under the root", false,
     [](const Parts& p, const std::string& id, const std::string&) {
         return insertedInRoot(p.before() + evil(p.element(), id, false) + p.after(),
                               "<Extensions>" + p.element() + "</Extensions>");
     }},
    {"original wrapped by an evil copy", false,
     [](const Parts& p, const std::string& id, const std::string& endTag) {
         return p.before() + wrappedBefore(evil(p.element(), id, false), endTag, p.element()) + p.after();
     }},
    {"signature moved", false,
     [](const Parts& p, const std::string&, const std::string&) { return signatureMoved(p); }},
};

TEST(Wrapping, EveryVariantIsInvalidOrReportsTheSignedElement) {
    const auto dir = corpusDir() / "real";
    for (const SignedMessage& m : kMessages) {
        const Parts original = partsOf(readFile(dir / m.file), m);
        const std::string startTag = original.element().substr(0, original.element().find('>') + 1);
        {
            ClsXmlDSig dsig;
            ASSERT_TRUE(loadXml(dsig, original.doc));
            ASSERT_TRUE(dsig.VerifySignature(true)) << m.file << dsig.lastErrorText();
        }
        for (const Variant& v : kVariants) {
            SCOPED_TRACE(m.file + ": " + v.name);
            const std::string doc = v.build(original, m.id, m.elementEnd);
            ClsXmlDSig dsig;
            ASSERT_TRUE(loadXml(dsig, doc)) << doc;
            // Where the element with the signed start tag stands now.
            const size_t signedAt = doc.find(startTag);
            for (int i = 0; i < dsig.get_NumSignatures(); ++i) {
                dsig.put_Selector(i);
                const bool valid = dsig.VerifySignature(true);
                EXPECT_FALSE(valid && v.duplicatesTheId) << "signature " << i;
                if (!valid)
                    continue;
                for (const ReferenceOutcome& r : dsig.report().references) {
                    ASSERT_EQ(r.target, ReferenceOutcome::Target::Element);
                    EXPECT_EQ(r.offset, signedAt) << r.path;
                    EXPECT_EQ(doc.compare(r.offset, startTag.size(), startTag), 0) << r.path;
                }
            }
        }
    }
}

} // namespace
