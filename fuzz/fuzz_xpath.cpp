// Runs the XPath recognition over arbitrary input, split at its first two
// line feeds into the expression, the Transform element (its XPath children
// carry the Filter 2.0 operations) and the document text. Each expression is
// applied as XPath 1.0 and as Filter 2.0, with and without the MyInvois
// profile. The recognised forms only cut text, so the text never grows, and
// an expression that is not recognised leaves it as it was.
#include "FuzzRequire.h"

#include "companion/log/LogBase.h"
#include "companion/text/StringBuffer.h"
#include "companion/xml/ClsXml.h"
#include "verifier/ClsXmlDSig.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace {

constexpr const char* kXPath1 = "http://www.w3.org/TR/1999/REC-xpath-19991116";
constexpr const char* kFilter2 = "http://www.w3.org/2002/06/xmldsig-filter2";
constexpr std::string_view kUnhandled = "unhandledXPath";

class Verifier : public ClsXmlDSig {
public:
    void setMyInvois(bool on) { m_profile.isMyInvois = on; }
};

struct Input {
    std::string_view expression;
    std::string_view transform;
    std::string_view document;
};

// The text up to the next line feed, consumed with it.
std::string_view takeLine(std::string_view& rest) {
    const size_t end = std::min(rest.find('\n'), rest.size());
    const std::string_view line = rest.substr(0, end);
    rest.remove_prefix(std::min(end + 1, rest.size()));
    return line;
}

Input split(std::string_view bytes) {
    Input in;
    in.expression = takeLine(bytes);
    in.transform = takeLine(bytes);
    in.document = bytes;
    return in;
}

bool loggedUnhandled(const LogBase& log) {
    return std::any_of(log.entries().begin(), log.entries().end(),
                       [](const LogBase::Entry& e) { return e.kind == LogBase::Kind::Data && e.tag == kUnhandled; });
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const Input in = split(std::string_view(reinterpret_cast<const char*>(data), size));
    RefPtr<ClsXml> transform(ClsXml::createNewCls());
    LogNull quiet;
    if (!transform->loadXml(in.transform, false, quiet))
        transform.reset();
    for (const char* algorithmUri : {kXPath1, kFilter2}) {
        for (bool myInvois : {false, true}) {
            Verifier verifier;
            verifier.setMyInvois(myInvois);
            StringBuffer text(in.document), algorithm(algorithmUri), expression(in.expression);
            LogBase log;
            verifier.transformXPath(transform.get(), text, algorithm, expression, log);
            require(text.getSize() <= in.document.size());
            require(!loggedUnhandled(log) || text.equals(in.document));
        }
    }
    return 0;
}
