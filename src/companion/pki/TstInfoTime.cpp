#include "companion/pki/TstInfoTime.h"

#include "companion/pki/CertificateSummary.h"
#include "companion/text/DataBuffer.h"

#include <openssl/ts.h>

#include <memory>

namespace {

using TstInfoPtr = std::unique_ptr<TS_TST_INFO, decltype(&TS_TST_INFO_free)>;

} // namespace

std::string tstInfoGenTime(const DataBuffer& tstInfo) {
    const unsigned char* p = tstInfo.getData();
    TstInfoPtr info(d2i_TS_TST_INFO(nullptr, &p, static_cast<long>(tstInfo.getSize())), &TS_TST_INFO_free);
    return info ? asn1TimeText(TS_TST_INFO_get_time(info.get())) : std::string();
}
