#include "companion/crypto/Digest.h"
#include "companion/fs/FileDataSource.h"
#include "companion/log/LogContextExitor.h"
#include "companion/xml/ClsXml.h"
#include "references/DSigExternalData.h"
#include "references/DigestAttempt.h"
#include "references/ExternalFileResolution.h"
#include "references/RefFailReason.h"
#include "references/ReferenceVerifier.h"
#include "verifier/ClsXmlDSig.h"
#include "verifier/DSigReference.h"

#include <memory>

namespace {

using namespace ref_fail_reason;

// The first listed directory holding a file named by the URI, as a holder
// for the duration of one attempt.
std::unique_ptr<DSigRefExternalData> findExternalFile(const StringBuffer& uri, const ExtPtrArraySb& dirs,
                                                      uint64_t maxBytes, std::optional<uint64_t>& oversize,
                                                      LogBase& log) {
    log.LogDataSb("externalRefFileName", uri);
    std::optional<ExternalFile> file = resolveExternalFile(uri.view(), dirs, maxBytes, oversize, log);
    if (!file)
        return nullptr;
    log.LogDataStr("usingFile", file->path);
    auto found = std::make_unique<DSigRefExternalData>();
    found->m_path.setFromUtf8(file->path);
    found->m_found = std::move(file->file);
    return found;
}

} // namespace

bool ClsXmlDSig::VerifyReferenceDigest(int index) {
    CritSecExitor lock(m_critSec);
    LogContextExitor ctx(*this, "VerifyReferenceDigest");
    m_log.clearLastJsonData();
    m_log.LogDataSb("uncommonOptions", m_uncommonOptions);
    readPolicy();
    checkSetZatca(m_log);
    checkSetMyInvois(m_log);
    startWorkBudget();

    ReferenceVerifier verifier(*this, m_externalRefDirs);
    const bool ok = verifier.checkOne(index, m_log);
    logSuccessFailure(ok);
    return ok;
}

DigestAttempt ClsXmlDSig::profileAttempt(FurtherAttempt kind) const {
    DigestAttempt attempt;
    attempt.kind = kind;
    attempt.sortBugEmulation = m_profile.dupC14nSortBug || m_profile.isCsioz;
    attempt.stpDocumentOnly = m_profile.isCmaStp;
    return attempt;
}

bool ClsXmlDSig::verifyReferenceDigest(int index, ReferenceCheck& check, ReferenceRun& run, LogBase& log) {
    LogContextExitor ctx(log, "verifyReferenceDigest");
    if (verifyWithSortBugRetry(index, check, run, log))
        return true;
    if (m_refFailReason == kMismatch &&
        (verifyByStandardSelection(index, check, run, log) || verifyWithExternalTransforms(index, check, run, log) ||
         verifyWithCallerData(index, check, run, log)))
        return true;
    return verifyByFieldSignerRules(index, check, run, log);
}

// After a mismatch, or a fragment the literal reading could not find. A
// further attempt that fails leaves the literal reason standing.
bool ClsXmlDSig::verifyByFieldSignerRules(int index, ReferenceCheck& check, ReferenceRun& run, LogBase& log) {
    const int literalReason = m_refFailReason;
    if (literalReason != kMismatch && literalReason != kCanonicalizationFailed)
        return false;
    if (check.hashed)
        check.hashed->restart();
    const bool matched =
        m_profile.isSiiCl ? verifyInSiiDteOwnContext(index, check, run, log) : verifyBySignedDocRules(index, log);
    if (!matched)
        m_refFailReason = literalReason;
    else if (!m_profile.isSiiCl)
        check.matchedBy.push_back(FurtherAttempt::SignedDocRules);
    return matched;
}

bool ClsXmlDSig::verifyWithSortBugRetry(int index, ReferenceCheck& check, ReferenceRun& run, LogBase& log) {
    if (verifyReferenceDigest2(index, profileAttempt(FurtherAttempt::None), check, run, log))
        return true;
    check.literalReason = m_refFailReason;
    log.LogDataLong("invalidDigestReason", m_refFailReason);
    if (m_refFailReason != kMismatch)
        return false;

    if (m_profile.dupC14nSortBug) {
        log.LogInfo("Retry without duplication of common XML canonicalization attribute sorting bug...");
        m_profile.dupC14nSortBug = false;
        return verifyReferenceDigest2(index, profileAttempt(FurtherAttempt::SortBugDropped), check, run, log);
    }
    if (m_profile.noSortBugRetry)
        return false;
    log.LogInfo("Retry with duplication of common XML canonicalization attribute sorting bug...");
    // Left on when the retry fails too: the next reference starts with it.
    m_profile.dupC14nSortBug = true;
    if (!verifyReferenceDigest2(index, profileAttempt(FurtherAttempt::SortBugEmulated), check, run, log))
        return false;
    log.LogInfo("This signature was produced by software having the attribute sorting bug.");
    return true;
}

bool ClsXmlDSig::verifyReferenceDigest2(int index, const DigestAttempt& attempt, ReferenceCheck& check,
                                        ReferenceRun& run, LogBase& log) {
    LogContextExitor ctx(log, "verifyReferenceDigest_inner");
    m_refFailReason = kOther;
    check.externalDataMissing = false;
    check.matchedBy.clear();

    StringBuffer sigId;
    if (ClsXml* sig = selectedSignature())
        sig->getAttrValue("Id", sigId);
    log.LogDataSb("selectedSignatureId", sigId);
    log.LogDataLong("index", index);

    RefPtr<ClsXml> element(getReference(index, log));
    if (!element) {
        log.LogError("No Reference at index");
        m_refFailReason = kNoReference;
        return false;
    }
    DSigReference ref;
    ref.parseReference(*element, log);
    StringBuffer uri(ref.m_uri);
    uri.trim2();

    check.externalFile.clear();
    check.selection.reset();
    if (check.hashed)
        check.hashed->restart();
    const bool matched = uri.beginsWith("#") || uri.isEmpty()
                             ? verifyNamedSameDocumentReference(index, uri, ref, attempt, check, run, log)
                             : verifyExternalReference(index, uri, ref, attempt, check, run, log);
    if (matched && attempt.kind != FurtherAttempt::None)
        check.matchedBy.push_back(attempt.kind);
    return matched;
}

bool ClsXmlDSig::verifyNamedSameDocumentReference(int index, StringBuffer& uri, DSigReference& ref,
                                                  const DigestAttempt& attempt, ReferenceCheck& check,
                                                  ReferenceRun& run, LogBase& log) {
    if (uri.beginsWith("#")) {
        if (!identifierIsUnique(uri.view(), log)) {
            m_refFailReason = kIdentifierNotUnique;
            return false;
        }
        uri.removeChunk(0, 1);
        log.LogDataSb("sameDocumentUri", uri);
    } else if (!attempt.stpDocumentOnly) {
        log.LogInfo("URI is the entire XML document.");
    }
    return verifySameDocumentReference(index, uri, ref, attempt, check, run, log);
}

bool ClsXmlDSig::verifyExternalReference(int index, const StringBuffer& uri, DSigReference& ref,
                                         const DigestAttempt& attempt, ReferenceCheck& check, ReferenceRun& run,
                                         LogBase& log) {
    log.LogDataSb("externalUri", uri);
    DSigRefExternalData* data = getExtRef(index, false, log);
    std::unique_ptr<DSigRefExternalData> foundFile;
    if (!data && run.externalRefDirs.getSize() > 0) {
        foundFile = findExternalFile(uri, run.externalRefDirs, m_policy.limits.maxExternalFileBytes,
                                     check.externalFileOversize, log);
        data = foundFile.get();
    }
    if (data)
        check.externalFile = data->m_path.getUtf8();
    if (!data) {
        log.LogError("No external data defined for this reference.");
        log.LogInfo("Hint 1: Set the IgnoreExternalRefs property to verify without checking digests for external "
                    "file references.");
        log.LogInfo("Hint 2: Set the ExternalRefDirs property to specify a set of directories to look for the "
                    "referenced file.");
        m_refFailReason = kExternalDataMissing;
        check.externalDataMissing = true;
        return false;
    }

    const int hashAlg = ref.getHashAlg();
    DataBuffer digest;
    StringBuffer whole;
    if (attempt.transformsOnExternalData) {
        if (!digestTransformedExternalData(*data, ref, attempt, digest, check.recognisedXPathOnExternalData, log))
            return false;
    } else if (check.hashed) {
        // Read whole only when its octets are asked for.
        if (!readExternalData(*data, whole, log)) {
            m_refFailReason = kExternalDataMissing;
            return false;
        }
        check.hashed->assign(whole.view());
        Digest::doHash(whole.getString(), whole.getSize(), hashAlg, digest);
    } else if (!data->m_data.isEmpty()) {
        Digest::doHash(data->m_data.getData(), data->m_data.getSize(), hashAlg, digest);
    } else {
        // Streamed: an external file is never held in memory whole.
        FileDataSource source;
        if (!data->openFile(source, log))
            return false;
        if (!Digest::hashDataSource(source, hashAlg, nullptr, digest, nullptr, log)) {
            log.LogError("Failed to hash the external file data.");
            m_refFailReason = kExternalDataMissing;
            return false;
        }
    }

    StringBuffer calculated;
    digest.encodeDB("base64", calculated);
    log.LogDataSb("calculatedDigest", calculated);
    log.LogDataSb("storedRefDigest", ref.m_digestValue);
    const bool matched = calculated.equals(ref.m_digestValue.view());
    m_refFailReason = matched ? kMatched : kMismatch;
    return matched;
}

bool ClsXmlDSig::verifySameDocumentReference(int index, StringBuffer& uri, DSigReference& ref,
                                             const DigestAttempt& attempt, ReferenceCheck& check, ReferenceRun& run,
                                             LogBase& log) {
    if (!run.digests)
        return verifyInternalReference(uri, ref, attempt, check, log);
    if (const ReferenceDigestMemo::Outcome* earlier = run.digests->find(ref, attempt, m_profile.isZatca)) {
        log.LogDataLong("sameAsReference", earlier->index);
        m_refFailReason = earlier->failReason;
        check.matchedBy = earlier->matchedBy;
        check.selection = earlier->selection;
        return earlier->matched;
    }
    const bool zatcaRules = m_profile.isZatca;
    const bool matched = verifyInternalReference(uri, ref, attempt, check, log);
    run.digests->remember(ref, attempt, zatcaRules,
                          {index, matched, m_refFailReason, check.matchedBy, check.selection});
    return matched;
}
