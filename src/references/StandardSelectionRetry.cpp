#include "companion/log/LogContextExitor.h"
#include "companion/xml/ClsXml.h"
#include "references/DigestAttempt.h"
#include "references/RefFailReason.h"
#include "verifier/ClsXmlDSig.h"
#include "verifier/DSigReference.h"

namespace {

constexpr std::string_view kWithComments = "WithComments";
constexpr std::string_view kXPointer = "#xpointer(";

// A URI of "" or "#id" selects its node-set without comments, whatever the
// canonicalization that follows; only the XPointer forms keep them.
bool selectsWithoutComments(const StringBuffer& uri) {
    return uri.isEmpty() || (uri.beginsWith("#") && !uri.beginsWith(kXPointer));
}

} // namespace

// The W3C reading where the literal one mismatched: a WithComments
// canonicalization of a bare same-document reference still leaves the
// comments out.
bool ClsXmlDSig::verifyByStandardSelection(int index, ReferenceCheck& check, ReferenceRun& run, LogBase& log) {
    DSigReference ref;
    StringBuffer uri;
    if (!parsedReference(index, ref, uri, log))
        return false;
    if (!selectsWithoutComments(uri) || !ref.m_transformsXml.containsSubstringNoCase(kWithComments))
        return false;

    LogContextExitor ctx(log, "standardNodeSetSelection");
    log.LogInfo("Retry with comments left out of the same-document reference, as XML-DSig selects them...");
    DigestAttempt attempt = profileAttempt(FurtherAttempt::CommentsLeftOut);
    attempt.commentsLeftOut = true;
    const bool matched = verifyReferenceDigest2(index, attempt, check, run, log);
    if (matched)
        log.LogInfo("The reference matched with its comments left out.");
    return matched;
}
