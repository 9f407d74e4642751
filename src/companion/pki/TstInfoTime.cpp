#include "companion/pki/TstInfoTime.h"

#include "companion/text/DataBuffer.h"

#include <openssl/ts.h>

#include <ctime>
#include <memory>

namespace {

using TstInfoPtr = std::unique_ptr<TS_TST_INFO, decltype(&TS_TST_INFO_free)>;

} // namespace

std::string tstInfoGenTime(const DataBuffer& tstInfo) {
    const unsigned char* p = tstInfo.getData();
    TstInfoPtr info(d2i_TS_TST_INFO(nullptr, &p, static_cast<long>(tstInfo.getSize())), &TS_TST_INFO_free);
    if (!info)
        return {};
    struct tm t {};
    if (ASN1_TIME_to_tm(TS_TST_INFO_get_time(info.get()), &t) != 1)
        return {};
    char text[32];
    const size_t length = std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%SZ", &t);
    return std::string(text, length);
}
