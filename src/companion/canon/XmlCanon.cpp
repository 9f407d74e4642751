#include "companion/canon/XmlCanon.h"

#include "companion/base/WorkBudget.h"
#include "companion/canon/CanonPass.h"
#include "companion/canon/CanonTarget.h"
#include "companion/log/LogBase.h"
#include "companion/log/LogContextExitor.h"
#include "companion/text/StringBuffer.h"

#include <string>
#include <vector>

namespace {

constexpr std::string_view kDefaultNamespaceToken = "#default";

} // namespace

CanonOptions XmlCanon::passOptions(std::vector<std::string_view>& prefixes) const {
    if (m_mode == Mode::Exclusive) {
        for (int i = 0; i < m_inclusivePrefixes.getSize(); ++i) {
            const std::string_view prefix = m_inclusivePrefixes.sbAt(i)->view();
            prefixes.push_back(prefix == kDefaultNamespaceToken ? std::string_view{} : prefix);
        }
    }
    CanonOptions options;
    options.exclusive = m_mode == Mode::Exclusive;
    options.c14n11 = m_mode == Mode::Inclusive11;
    options.withComments = m_withComments;
    options.sortBugEmulation = m_sortBugEmulation;
    options.inheritAncestorContext = m_inheritAncestorContext;
    options.inclusivePrefixes = prefixes;
    if (m_excludedLength > 0) {
        options.excludedBegin = m_excludedStart;
        options.excludedEnd = m_excludedStart + m_excludedLength;
    }
    return options;
}

bool XmlCanon::xmlCanonicalize(const StringBuffer& in, const char* fragmentUri, unsigned startOffset, StringBuffer& out,
                               LogBase& log) {
    LogContextExitor context(log, "xmlCanonicalize");
    const std::string_view uri = fragmentUri ? std::string_view(fragmentUri) : std::string_view{};
    m_missedTarget = false;
    CanonTarget target;
    if (m_ebicsMode) {
        target.kind = CanonTarget::Kind::Authenticated;
    } else if (!CanonTarget::fromUri(uri, startOffset, target)) {
        log.LogError("Unsupported fragment URI: " + std::string(uri));
        m_missedTarget = true;
        return false;
    }

    if (m_work && m_work->spent()) {
        log.LogError("Canonicalization not started: the work budget is spent.");
        return false;
    }
    std::vector<std::string_view> prefixes;
    const CanonOptions options = passOptions(prefixes);

    // Writing into the text being read would move it under the scanner; a
    // sink takes the output through a scratch buffer of its own.
    StringBuffer separate;
    StringBuffer& destination = (&in == &out || m_sink) ? separate : out;
    std::string& text = destination.raw();
    const size_t mark = text.size();
    CanonPass pass(in.view(), m_parsed, options, target, m_fragmentCounter, m_authenticatedOrdinal, text);
    pass.setSink(m_sink);
    const bool ok = pass.run(log);
    if (m_work) {
        // A sink's output is not counted here: it is about as long as the input.
        const size_t written = m_sink ? in.getSize() : text.size() - mark;
        m_work->charge((in.getSize() + written) / WorkBudget::kCanonicalBytesPerUnit);
    }
    if (!ok) {
        m_missedTarget = pass.missedTarget();
        text.resize(mark);
        return false;
    }
    if (&destination == &separate && !m_sink)
        out.append(separate);
    return true;
}
