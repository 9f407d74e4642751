#include "CommandLine.h"
#include "Commands.h"

#include "xmldsig/DocumentInfo.h"

#include <nlohmann/json.hpp>

#include <iostream>

namespace {

using nlohmann::json;

json referenceJson(const xmldsig::ReferenceInfo& ref) {
    return {{"index", ref.index},
            {"uri", ref.uri ? json(*ref.uri) : json(nullptr)},
            {"id", ref.id},
            {"digestMethod", ref.digestMethod},
            {"transforms", ref.transforms},
            {"digestValue", ref.digestValue}};
}

json signatureJson(const xmldsig::SignatureInfo& sig) {
    json out = {{"index", sig.index},
                {"id", sig.id},
                {"tag", sig.elementName},
                {"signatureMethod", sig.signatureMethod},
                {"canonicalizationMethod", sig.canonicalizationMethod},
                {"prefixList", sig.inclusivePrefixes},
                {"signatureValueBytes", sig.signatureValueBytes ? json(*sig.signatureValueBytes) : json(nullptr)}};
    json refs = json::array();
    for (const xmldsig::ReferenceInfo& ref : sig.references)
        refs.push_back(referenceJson(ref));
    out["references"] = std::move(refs);
    return out;
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
    const xmldsig::DocumentInfo info = xmldsig::describeFile(files[0]);
    if (!info.status) {
        printError(info.status.message);
        return kExitUsage;
    }
    json doc = {{"file", files[0]}, {"signatures", json::array()}, {"profile", info.profile}};
    for (const xmldsig::SignatureInfo& sig : info.signatures)
        doc["signatures"].push_back(signatureJson(sig));

    if (asJson)
        std::cout << doc.dump(2, ' ', false, json::error_handler_t::replace) << '\n';
    else
        printText(files[0], doc);
    return kExitValid;
}
