#include "xmldsig/Timestamp.h"

#include "api/LoadedDocument.h"

#include "companion/base/ClsJsonObject.h"
#include "companion/base/ClsStringBuilder.h"
#include "companion/log/FirstErrorLog.h"
#include "verifier/ClsXmlDSig.h"

namespace xmldsig {

namespace {

// The options are read before the document, so that a malformed request is
// reported whatever the document.
template <typename Load> Status timestampLoaded(Load load, const TimestampRequest& request, std::string& out) {
    out.clear();
    ClsJsonObject options;
    LogNull quiet;
    FirstErrorLog optionsErrors(quiet);
    if (!options.load(request.tsaOptions, optionsErrors))
        return {make_error_code(Errc::bad_option), optionsErrors.firstErrorLine()};
    options.updateString("TsaUrl", request.tsaUrl);

    LoadedDocument loaded = load();
    if (!loaded.status())
        return loaded.status();
    if (Status selected = loaded.select(request.signatureIndex); !selected)
        return selected;
    ClsXmlDSig& dsig = loaded.engine();
    ClsStringBuilder stamped;
    if (!dsig.AddEncapsulatedTimeStamp(options, stamped))
        return loaded.failure(Errc::timestamp_failed, dsig.lastFailure());
    // The call succeeds even when the authority gave no token.
    if (const std::string& tsaError = dsig.timestampRequestError(); !tsaError.empty())
        return {make_error_code(Errc::timestamp_failed), "timestamp authority: " + tsaError};
    out.assign(stamped.m_str.view());
    return {};
}

} // namespace

Status timestamp(std::string_view document, const TimestampRequest& request, std::string& out) {
    return timestampLoaded([document] { return LoadedDocument::fromBytes(document); }, request, out);
}

Status timestampFile(const std::filesystem::path& path, const TimestampRequest& request, std::string& out) {
    return timestampLoaded([&path] { return LoadedDocument::fromFile(path); }, request, out);
}

} // namespace xmldsig
