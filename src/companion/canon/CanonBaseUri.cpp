#include "companion/canon/CanonBaseUri.h"

#include <algorithm>
#include <vector>

namespace {

constexpr std::string_view kParent = "..";
constexpr std::string_view kCurrent = ".";

// The parts of a URI reference (RFC 3986 appendix B); a part that is absent
// differs from one that is present and empty.
struct UriParts {
    std::string_view scheme, authority, path, query;
    bool hasScheme = false, hasAuthority = false, hasQuery = false;
};

UriParts split(std::string_view uri) {
    UriParts parts;
    uri = uri.substr(0, uri.find('#'));
    if (const size_t colon = uri.find_first_of(":/?");
        colon != std::string_view::npos && colon > 0 && uri[colon] == ':') {
        parts.scheme = uri.substr(0, colon);
        parts.hasScheme = true;
        uri.remove_prefix(colon + 1);
    }
    if (uri.starts_with("//")) {
        uri.remove_prefix(2);
        const size_t end = std::min(uri.find_first_of("/?"), uri.size());
        parts.authority = uri.substr(0, end);
        parts.hasAuthority = true;
        uri.remove_prefix(end);
    }
    if (const size_t question = uri.find('?'); question != std::string_view::npos) {
        parts.query = uri.substr(question + 1);
        parts.hasQuery = true;
        uri = uri.substr(0, question);
    }
    parts.path = uri;
    return parts;
}

std::string compose(const UriParts& parts, std::string_view path) {
    std::string out;
    if (parts.hasScheme)
        out.append(parts.scheme).push_back(':');
    if (parts.hasAuthority)
        out.append("//").append(parts.authority);
    out.append(path);
    if (parts.hasQuery)
        out.append("?").append(parts.query);
    return out;
}

// The reference's path appended to all but the last segment of the base's.
std::string merge(const UriParts& base, std::string_view referencePath) {
    if (base.hasAuthority && base.path.empty())
        return "/" + std::string(referencePath);
    std::string basePath(base.path);
    if (basePath == kParent || basePath.ends_with("/.."))
        basePath.push_back('/');
    const size_t slash = basePath.rfind('/');
    return (slash == std::string::npos ? std::string() : basePath.substr(0, slash + 1)) + std::string(referencePath);
}

} // namespace

namespace canon_base_uri {

std::string removeDotSegments(std::string_view path) {
    const bool absolute = path.starts_with('/');
    std::vector<std::string_view> kept;
    size_t leadingParents = 0;
    bool trailingSlash = false;
    while (!path.empty()) {
        const size_t slash = path.find('/');
        const std::string_view segment = path.substr(0, slash);
        path.remove_prefix(slash == std::string_view::npos ? path.size() : slash + 1);
        if (segment.empty())
            continue;
        // A path that ends in a dot segment names a directory.
        trailingSlash = slash != std::string_view::npos || segment == kCurrent || segment == kParent;
        if (segment == kCurrent)
            continue;
        if (segment != kParent)
            kept.push_back(segment);
        else if (!kept.empty())
            kept.pop_back();
        else if (!absolute)
            ++leadingParents;
    }
    std::string out = absolute ? "/" : "";
    for (size_t i = 0; i < leadingParents; ++i)
        out.append("../");
    for (size_t i = 0; i < kept.size(); ++i) {
        out.append(kept[i]);
        if (i + 1 < kept.size() || trailingSlash)
            out.push_back('/');
    }
    return out;
}

std::string join(std::string_view base, std::string_view reference) {
    const UriParts b = split(base);
    UriParts r = split(reference);
    if (r.hasScheme)
        return compose(r, removeDotSegments(r.path));
    r.scheme = b.scheme;
    r.hasScheme = b.hasScheme;
    if (r.hasAuthority)
        return compose(r, removeDotSegments(r.path));
    r.authority = b.authority;
    r.hasAuthority = b.hasAuthority;
    if (r.path.empty()) {
        if (!r.hasQuery) {
            r.query = b.query;
            r.hasQuery = b.hasQuery;
        }
        return compose(r, b.path);
    }
    return compose(r, removeDotSegments(r.path.starts_with('/') ? std::string(r.path) : merge(b, r.path)));
}

} // namespace canon_base_uri
