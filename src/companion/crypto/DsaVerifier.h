#pragma once

class DataBuffer;
class DsaKey;
class LogBase;

// DSA signature verification over a hash computed by the caller.
class DsaVerifier {
public:
    // Checks sig, encoded as format says (sig_format in DsaStyleSignature.h),
    // against hash with key. Returns true when the check ran, with valid
    // telling the outcome; false when the key cannot be used. log may be
    // null.
    static bool dsaVerifyHash(const DsaKey& key, const DataBuffer& sig, int format, const DataBuffer& hash, bool& valid,
                              LogBase* log);
};
