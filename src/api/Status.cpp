#include "xmldsig/Status.h"
#include "xmldsig/Result.h"

namespace xmldsig {

namespace {

class Category : public std::error_category {
public:
    const char* name() const noexcept override { return "xmldsig"; }
    std::string message(int value) const override {
        switch (static_cast<Errc>(value)) {
        case Errc::ok:
            return "success";
        case Errc::file_unreadable:
            return "file cannot be read";
        case Errc::not_xml:
            return "document cannot be loaded as XML";
        case Errc::no_signature:
            return "no signature in the document";
        case Errc::no_such_signature:
            return "no such signature";
        case Errc::bad_key:
            return "not a usable key";
        case Errc::bad_certificate:
            return "no certificate could be read";
        case Errc::bad_crl:
            return "no CRL could be read";
        case Errc::bad_option:
            return "malformed option";
        case Errc::unresolved_key_info:
            return "KeyInfo refers to a token that is not there";
        case Errc::timestamp_failed:
            return "no timestamp could be added";
        case Errc::no_such_element:
            return "no such element";
        }
        return "unknown error";
    }
};

} // namespace

const std::error_category& error_category() noexcept {
    static const Category category;
    return category;
}

std::error_code make_error_code(Errc e) noexcept {
    return {static_cast<int>(e), error_category()};
}

const char* errcName(Errc e) noexcept {
    switch (e) {
    case Errc::ok:
        return "ok";
    case Errc::file_unreadable:
        return "file_unreadable";
    case Errc::not_xml:
        return "not_xml";
    case Errc::no_signature:
        return "no_signature";
    case Errc::no_such_signature:
        return "no_such_signature";
    case Errc::bad_key:
        return "bad_key";
    case Errc::bad_certificate:
        return "bad_certificate";
    case Errc::bad_crl:
        return "bad_crl";
    case Errc::bad_option:
        return "bad_option";
    case Errc::unresolved_key_info:
        return "unresolved_key_info";
    case Errc::timestamp_failed:
        return "timestamp_failed";
    case Errc::no_such_element:
        return "no_such_element";
    }
    return "unknown";
}

bool Result::valid() const noexcept {
    if (!status.ok() || signatures.empty())
        return false;
    for (const SignatureResult& s : signatures)
        if (!s.valid)
            return false;
    return true;
}

} // namespace xmldsig
