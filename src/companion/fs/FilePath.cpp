#include "companion/fs/FilePath.h"

#include "companion/text/XString.h"

namespace {
constexpr char kSeparator = '/';
} // namespace

void FilePath::CombineDirAndFilepath(const XString& dir, const XString& file, XString& out) {
    std::string_view d = dir.view();
    std::string_view f = file.view();
    std::string joined;
    if (d.empty() || f.starts_with(kSeparator)) {
        joined = f;
    } else {
        while (d.size() > 1 && d.back() == kSeparator)
            d.remove_suffix(1);
        joined.reserve(d.size() + 1 + f.size());
        joined.append(d);
        if (d.back() != kSeparator)
            joined.push_back(kSeparator);
        joined.append(f);
    }
    out.setFromUtf8(joined);
}
