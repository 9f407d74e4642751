#include "CommandLine.h"
#include "Commands.h"

#include "companion/text/DataBuffer.h"
#include "verifier/ClsXmlDSig.h"

#include <cstdio>
#include <fstream>
#include <memory>
#include <sstream>

namespace {

constexpr const char* kUsage =
    "usage: xmldsig c14n [--exclusive | --c14n11] [--with-comments] [--prefixes \"a b\"] [--fragment ID] FILE";

// Reads a document and converts it to UTF-8 text.
bool readDocument(const std::string& path, XString& text, std::string& error) {
    std::ifstream in(path, std::ios::binary);
    if (!in) {
        error = path + ": cannot open";
        return false;
    }
    std::ostringstream bytes;
    bytes << in.rdbuf();
    DataBuffer db;
    db.takeString(std::move(bytes).str());
    LogBase log;
    log.enterContext("readDocument");
    if (!db.convertXmlToUtf8(log)) {
        error = path + ": " + log.firstError();
        return false;
    }
    text.getUtf8Sb_rw().takeFromDb(db);
    return true;
}

} // namespace

int runC14n(CommandLine& args) {
    const bool exclusive = args.takeFlag("--exclusive");
    const bool c14n11 = args.takeFlag("--c14n11");
    const bool withComments = args.takeFlag("--with-comments");
    std::string prefixes, fragment;
    args.takeValue("--prefixes", prefixes);
    args.takeValue("--fragment", fragment);
    const std::vector<std::string> files = args.operands();
    if (!args.error().empty() || files.size() != 1 || (exclusive && c14n11)) {
        printError(args.error().empty() ? kUsage : args.error());
        return kExitUsage;
    }

    XString xml;
    std::string error;
    if (!readDocument(files[0], xml, error)) {
        printError(error);
        return kExitUsage;
    }
    std::unique_ptr<ClsXmlDSig> dsig(ClsXmlDSig::createNewCls());
    XString fragmentId(fragment),
        version(exclusive ? "excl_c14n"
                : c14n11  ? "c14n_11"
                          : "c14n"),
        prefixList(prefixes), out;
    if (!dsig->CanonicalizeFragment(xml, fragmentId, version, prefixList, withComments, out)) {
        const std::string reason = dsig->m_log.firstError();
        printError(files[0] + ": " + (reason.empty() ? "cannot be canonicalized" : reason));
        return kExitUsage;
    }
    std::fwrite(out.getUtf8(), 1, out.getSizeUtf8(), stdout);
    return kExitValid;
}
