#include "VerifySettings.h"

#include "CommandLine.h"

#include <iostream>

namespace {

constexpr unsigned kMaxJobs = 256;

// "INDEX=FILE"
bool parseRefData(const std::string& text, int& index, std::string& file) {
    const size_t eq = text.find('=');
    if (eq == std::string::npos || eq + 1 == text.size())
        return false;
    file = text.substr(eq + 1);
    return parseIndex(text.substr(0, eq), index);
}

// "[IDENTIFIER=]FILE": an identifier is a URI or OID, so the last '=' before
// the file ends it only when something follows; a file name may hold none.
void parsePolicy(const std::string& text, std::string& identifier, std::string& file) {
    const size_t eq = text.rfind('=');
    if (eq == std::string::npos || eq == 0 || eq + 1 == text.size()) {
        file = text;
        return;
    }
    identifier = text.substr(0, eq);
    file = text.substr(eq + 1);
}

// Reads the options group by group; the first failure ends the reading.
class OptionReader {
public:
    OptionReader(CommandLine& args, VerifySettings& v, std::string& error, FileOperands operands)
        : m_args(args), m_v(v), m_s(v.verification), m_error(error), m_operands(operands) {}

    ParseOutcome read() {
        if (!selection() || !keys() || !trust() || !references() || !ades() || !output())
            return m_outcome;
        m_v.files = m_args.operands();
        if (!m_args.error().empty())
            return usage(m_args.error());
        if (m_operands == FileOperands::None && !m_v.files.empty())
            return usage("unexpected argument " + m_v.files.front());
        if (m_operands == FileOperands::Required && m_v.files.empty())
            return usage("verify needs at least one FILE");
        return ParseOutcome::Ok;
    }

private:
    bool fail(ParseOutcome outcome, std::string message) {
        m_outcome = outcome;
        m_error = std::move(message);
        return false;
    }
    ParseOutcome usage(std::string message) {
        fail(ParseOutcome::UsageError, std::move(message));
        return m_outcome;
    }
    // A file the settings could not use; `message` replaces the settings'
    // own when the option's name says more.
    bool accepted(const xmldsig::Status& status, std::string message = {}) {
        return status.ok() || fail(ParseOutcome::UnusableFile, message.empty() ? status.message : message);
    }

    bool selection() {
        std::string selector, id;
        const bool hasSelector = m_args.takeValue("--selector", selector);
        const bool hasId = m_args.takeValue("--signature-id", id);
        const bool all = m_args.takeFlag("--all");
        if (int(hasSelector) + int(hasId) + int(all) > 1)
            return fail(ParseOutcome::UsageError, "--selector, --signature-id and --all exclude each other");
        int index = 0;
        if (hasSelector && !parseIndex(selector, index))
            return fail(ParseOutcome::UsageError, "--selector needs a signature index (0, 1, ...)");
        if (all)
            m_s.selectAll();
        else if (hasId)
            m_s.selectId(id);
        else
            m_s.selectIndex(index);
        return true;
    }

    bool keys() {
        std::string hmacKey, encoding = "ascii";
        for (const std::string& path : m_args.takeValues("--key"))
            if (!accepted(m_s.addKeyFile(path)))
                return false;
        for (const std::string& path : m_args.takeValues("--cert"))
            if (!accepted(m_s.addCertificates(path)))
                return false;
        const bool hasHmacKey = m_args.takeValue("--hmac-key", hmacKey);
        if (m_args.takeValue("--hmac-encoding", encoding) && encoding != "ascii" && encoding != "hex" &&
            encoding != "base64")
            return fail(ParseOutcome::UsageError, "--hmac-encoding must be ascii, hex or base64");
        return !hasHmacKey || accepted(m_s.setHmacKey(hmacKey, encoding), "--hmac-key is not valid " + encoding);
    }

    bool trust() {
        for (const std::string& path : m_args.takeValues("--trust"))
            if (!accepted(m_s.addTrustAnchors(path)))
                return false;
        for (const std::string& path : m_args.takeValues("--crl"))
            if (!accepted(m_s.addCrls(path)))
                return false;
        std::string at;
        if (m_args.takeValue("--at", at) && !m_s.setVerificationTime(at))
            return fail(ParseOutcome::UsageError, "--at needs a time such as 2024-05-01T12:00:00Z, got " + at);
        return true;
    }

    bool references() {
        m_s.setCheckReferences(!m_args.takeFlag("--no-refs"));
        std::string dirs;
        if (m_args.takeValue("--ext-dir", dirs))
            m_s.addExternalRefDir(dirs);
        for (const std::string& item : m_args.takeValues("--ref-data")) {
            int index = 0;
            std::string file;
            if (!parseRefData(item, index, file))
                return fail(ParseOutcome::UsageError, "--ref-data needs INDEX=FILE, got " + item);
            m_s.setRefDataFile(index, file);
        }
        m_s.setIgnoreExternalRefs(m_args.takeFlag("--ignore-external-refs"));
        std::string options, verifyOptions;
        if (m_args.takeValue("--options", options))
            m_s.setOptions(options);
        if (m_args.takeValue("--verify-options", verifyOptions))
            if (const xmldsig::Status status = m_s.setVerifyOptions(verifyOptions); !status)
                return fail(ParseOutcome::UsageError, "--verify-options: " + status.message);
        return true;
    }

    bool ades() {
        m_v.ades = m_args.takeFlag("--ades");
        m_s.setOnline(m_args.takeFlag("--online"));
        for (const std::string& item : m_args.takeValues("--policy")) {
            std::string identifier, file;
            parsePolicy(item, identifier, file);
            if (!accepted(m_s.addPolicyDocument(file, identifier)))
                return false;
        }
        return true;
    }

    bool output() {
        const bool log = m_args.takeFlag("--log");
        const bool verbose = m_args.takeFlag("--verbose");
        m_v.json = m_args.takeFlag("--json");
        m_v.printLog = log || verbose;
        m_s.setVerboseLog(verbose);
        m_s.setLogText(m_v.printLog);
        m_s.setLogJson(m_v.json);
        m_s.setAdesValidation(m_v.ades || m_v.json);
        std::string jobs;
        int n = 0;
        if (m_args.takeValue("-j", jobs) && (!parseIndex(jobs, n) || n < 1 || static_cast<unsigned>(n) > kMaxJobs))
            return fail(ParseOutcome::UsageError, "-j needs a thread count from 1 to " + std::to_string(kMaxJobs));
        if (n > 0)
            m_v.jobs = static_cast<unsigned>(n);
        return true;
    }

    CommandLine& m_args;
    VerifySettings& m_v;
    xmldsig::Settings& m_s;
    std::string& m_error;
    FileOperands m_operands;
    ParseOutcome m_outcome = ParseOutcome::Ok;
};

} // namespace

ParseOutcome parseVerifySettings(CommandLine& args, VerifySettings& v, std::string& error, FileOperands operands) {
    return OptionReader(args, v, error, operands).read();
}

bool takeVerifySettings(CommandLine& args, VerifySettings& settings, const char* usage) {
    std::string error;
    const ParseOutcome outcome = parseVerifySettings(args, settings, error);
    if (outcome == ParseOutcome::Ok)
        return true;
    printError(error);
    if (outcome == ParseOutcome::UsageError)
        std::cerr << usage << '\n';
    return false;
}
