#include "CommandLine.h"
#include "Commands.h"
#include "DocumentLoader.h"

#include "companion/base/ClsStringArray.h"
#include "companion/pki/CertPem.h"
#include "companion/text/ContentCoding.h"
#include "verifier/ClsXmlDSig.h"

#include <iostream>
#include <memory>

namespace {

constexpr const char* kUsage = "usage: xmldsig certs FILE [--selector N]";

} // namespace

int runCerts(CommandLine& args) {
    std::string selectorText;
    int selector = 0;
    const bool hasSelector = args.takeValue("--selector", selectorText);
    const std::vector<std::string> files = args.operands();
    if (!args.error().empty() || files.size() != 1 || (hasSelector && !parseIndex(selectorText, selector))) {
        printError(args.error().empty() ? kUsage : args.error());
        return kExitUsage;
    }
    std::unique_ptr<ClsXmlDSig> dsig(ClsXmlDSig::createNewCls());
    std::string error;
    if (!loadDocumentFile(*dsig, files[0], error)) {
        printError(error);
        return kExitUsage;
    }
    if (selector >= dsig->get_NumSignatures()) {
        printError(files[0] + ": no signature at index " + std::to_string(selector));
        return kExitUsage;
    }
    dsig->put_Selector(selector);
    ClsStringArray certs;
    if (!dsig->GetCerts(certs)) {
        printError(files[0] + ": " + dsig->m_log.firstError());
        return kExitInvalid;
    }
    LogBase log;
    for (int i = 0; i < certs.get_Count(); ++i) {
        XString text;
        certs.GetString(i, text);
        DataBuffer der;
        StringBuffer pem;
        if (ContentCoding::decodeBase64ToDb(text.view(), der) && CertPem::derToPem(der, pem, log))
            std::cout << pem.view();
    }
    return kExitValid;
}
