#pragma once

class DataBuffer;
class EccKey;
class LogBase;

// ECDSA signature verification over a hash computed by the caller.
class EccVerifier {
public:
    // Checks sig, encoded as format says (sig_format in DsaStyleSignature.h),
    // against hash with key. Returns true when the check ran, with valid
    // telling the outcome; false when the key cannot be used. log may be
    // null.
    static bool eccVerifyHash(const EccKey& key, const DataBuffer& sig, int format, const DataBuffer& hash, bool& valid,
                              LogBase* log);
};
