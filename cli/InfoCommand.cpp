#include "CommandLine.h"
#include "Commands.h"
#include "DocumentLoader.h"

#include "companion/text/DataBuffer.h"
#include "companion/xml/ClsXml.h"
#include "verifier/ClsXmlDSig.h"
#include "verifier/DSigReference.h"

#include <nlohmann/json.hpp>

#include <iostream>
#include <memory>

namespace {

using nlohmann::json;

// The Algorithm of every Transform of a Reference, in order.
json transformAlgorithms(ClsXml& reference, LogBase& log) {
    json algorithms = json::array();
    RefPtr<ClsXml> transforms(reference.getChildWithTagUtf8("*:Transforms"));
    if (!transforms)
        return algorithms;
    StringBuffer alg;
    const int n = transforms->numChildrenHavingTagUtf8("*:Transform", log);
    for (int i = 0; i < n; ++i) {
        RefPtr<ClsXml> t(transforms->getNthChildWithTagUtf8("*:Transform", i, log));
        t->getAttrValue("Algorithm", alg);
        algorithms.push_back(std::string(alg.view()));
    }
    return algorithms;
}

json describeReference(ClsXmlDSig& dsig, int index, LogBase& log) {
    RefPtr<ClsXml> element(dsig.getReference(index, log));
    if (!element)
        return json::object();
    DSigReference ref;
    ref.parseReference(*element, log);
    json out = {{"index", index},
                {"uri", ref.m_uriOmitted ? json(nullptr) : json(std::string(ref.m_uri.view()))},
                {"id", std::string(ref.m_id.view())},
                {"digestMethod", std::string(ref.m_digestMethod.view())},
                {"transforms", transformAlgorithms(*element, log)},
                {"digestValue", std::string(ref.m_digestValue.view())}};
    return out;
}

json describeSignature(ClsXmlDSig& dsig, int index, LogBase& log) {
    dsig.put_Selector(index);
    StringBuffer id, method, c14n, prefixes, value;
    dsig.selectedSignatureId(id, log);
    dsig.getSignatureMethod(method, log);
    dsig.getCanonicalizationMethod(c14n, prefixes, log);
    dsig.getSignatureValue(value, log);
    DataBuffer decoded;
    const bool valueDecodes = decoded.appendEncoded(value.view(), "base64");

    json out = {{"index", index},
                {"id", std::string(id.view())},
                {"tag", std::string(dsig.selectedSignature()->tag())},
                {"signatureMethod", std::string(method.view())},
                {"canonicalizationMethod", std::string(c14n.view())},
                {"prefixList", std::string(prefixes.view())},
                {"signatureValueBytes", valueDecodes ? json(decoded.getSize()) : json(nullptr)}};
    json refs = json::array();
    const int n = dsig.get_NumReferences();
    for (int i = 0; i < n; ++i)
        refs.push_back(describeReference(dsig, i, log));
    out["references"] = std::move(refs);
    return out;
}

json profileFlags(const ClsXmlDSig& dsig) {
    const ClsXmlDSig::ProfileFlags f = dsig.profileFlags();
    json flags = json::array();
    auto add = [&flags](bool on, const char* name) {
        if (on)
            flags.push_back(name);
    };
    add(f.isSiiCl, "sii-cl");
    add(f.isSunat, "sunat");
    add(f.dupC14nSortBug, "c14n-sort-bug");
    add(f.isCsioz, "csioz");
    add(f.isCmaStp, "cma-stp");
    add(f.isDoda, "doda");
    add(f.isSignedDocSkXml, "signeddoc-sk-xml");
    add(f.noSortBugRetry, "no-sort-bug-retry");
    return flags;
}

std::string text(const json& v) {
    return v.is_null() ? "(none)" : v.get<std::string>();
}

std::string quoted(const json& v) {
    std::string out(1, '"');
    out.append(text(v)).push_back('"');
    return out;
}

void printText(const std::string& path, const json& doc) {
    std::cout << path << ": " << doc["signatures"].size() << " signature(s)\n";
    for (const json& sig : doc["signatures"]) {
        std::cout << "signature " << sig["index"].get<int>() << "  <" << text(sig["tag"]) << '>';
        if (!sig["id"].get<std::string>().empty())
            std::cout << "  Id=" << quoted(sig["id"]);
        std::cout << '\n';
        std::cout << "  SignatureMethod:        " << text(sig["signatureMethod"]) << '\n';
        std::cout << "  CanonicalizationMethod: " << text(sig["canonicalizationMethod"]);
        if (!sig["prefixList"].get<std::string>().empty())
            std::cout << "  PrefixList=" << quoted(sig["prefixList"]);
        std::cout << '\n';
        const json& bytes = sig["signatureValueBytes"];
        std::cout << "  SignatureValue:         "
                  << (bytes.is_null() ? std::string("not valid base64")
                                      : std::to_string(bytes.get<unsigned>()) + " bytes")
                  << '\n';
        for (const json& ref : sig["references"]) {
            std::cout << "  reference " << ref["index"].get<int>()
                      << "  URI=" << (ref["uri"].is_null() ? std::string("(omitted)") : quoted(ref["uri"]));
            if (!ref["id"].get<std::string>().empty())
                std::cout << "  Id=" << quoted(ref["id"]);
            std::cout << "\n    DigestMethod: " << text(ref["digestMethod"]) << '\n';
            for (const json& t : ref["transforms"])
                std::cout << "    Transform:    " << t.get<std::string>() << '\n';
            std::cout << "    DigestValue:  " << text(ref["digestValue"]) << '\n';
        }
    }
    std::cout << "profile:";
    if (doc["profile"].empty())
        std::cout << " (none)";
    for (const json& flag : doc["profile"])
        std::cout << ' ' << flag.get<std::string>();
    std::cout << '\n';
}

} // namespace

int runInfo(CommandLine& args) {
    const bool asJson = args.takeFlag("--json");
    const std::vector<std::string> files = args.operands();
    if (!args.error().empty() || files.size() != 1) {
        printError(args.error().empty() ? "usage: xmldsig info FILE [--json]" : args.error());
        return kExitUsage;
    }
    std::unique_ptr<ClsXmlDSig> dsig(ClsXmlDSig::createNewCls());
    std::string error;
    if (!dsig || !loadDocumentFile(*dsig, files[0], error)) {
        printError(error);
        return kExitUsage;
    }
    LogNull log;
    json doc = {{"file", files[0]}, {"signatures", json::array()}};
    for (int i = 0; i < dsig->get_NumSignatures(); ++i)
        doc["signatures"].push_back(describeSignature(*dsig, i, log));
    doc["profile"] = profileFlags(*dsig);

    if (asJson)
        std::cout << doc.dump(2, ' ', false, json::error_handler_t::replace) << '\n';
    else
        printText(files[0], doc);
    return kExitValid;
}
