#pragma once

// Why the last reference-digest check failed (the RefFailReason property).
namespace ref_fail_reason {
constexpr int kMatched = 0;
constexpr int kMismatch = 1;
constexpr int kExternalDataMissing = 2;
constexpr int kNoReference = 3;
constexpr int kCanonicalizationFailed = 5;
// A same-document reference names an identifier that several elements carry.
constexpr int kIdentifierNotUnique = 6;
// An XSLT transform: stylesheets are never run here, by policy.
constexpr int kXsltNotExecuted = 7;
constexpr int kOther = 99;
} // namespace ref_fail_reason
