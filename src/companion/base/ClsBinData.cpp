#include "companion/base/ClsBinData.h"

#include "companion/fs/FileSys.h"
#include "companion/log/LogContextExitor.h"

#include <fstream>
#include <string>
#include <utility>

namespace {

bool writeWholeFile(const std::string& path, std::string_view bytes) {
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    out.close();
    return !out.fail();
}

} // namespace

bool ClsBinData::LoadFile(const XString& path) {
    CritSecExitor lock(m_critSec);
    LogContextExitor ctx(*this, "LoadFile");
    m_log.LogDataX("path", path);
    std::string bytes;
    const bool ok = FileSys::readWholeFile(std::string(path.view()), bytes);
    if (ok)
        m_data.takeString(std::move(bytes));
    else
        m_log.LogError("Failed to read the file.");
    logSuccessFailure(ok);
    return ok;
}

bool ClsBinData::WriteFile(const XString& path) {
    CritSecExitor lock(m_critSec);
    LogContextExitor ctx(*this, "WriteFile");
    m_log.LogDataX("path", path);
    const bool ok = writeWholeFile(std::string(path.view()), m_data.view());
    if (!ok)
        m_log.LogError("Failed to write the file.");
    logSuccessFailure(ok);
    return ok;
}
