#pragma once

#include "companion/base/WorkBudget.h"
#include "companion/canon/CanonSink.h"

#include <string>
#include <string_view>

// The octets a reference's digest is computed over, kept for a caller that
// hashes them again (timestamps over the signed data objects). Asked for
// through ReferenceCheck; the ordinary check asks for none and copies nothing.
struct HashedOctets {
    std::string bytes;
    // The digest step that ran handed over all it hashed; the DigiDoc
    // SignedDoc rules and transformed external data do not.
    bool complete = false;
    // Charged for the copy as a canonicalization is for its output.
    WorkBudget* work = nullptr;

    void restart() {
        bytes.clear();
        complete = false;
    }
    void append(std::string_view text) {
        bytes.append(text);
        if (work)
            work->charge(text.size() / WorkBudget::kCanonicalBytesPerUnit + 1);
    }
    void assign(std::string_view text) {
        restart();
        append(text);
        complete = true;
    }
};

// Passes canonical text on to the digest and keeps a copy of it.
class CopyingSink : public CanonSink {
public:
    CopyingSink(CanonSink& digest, HashedOctets& copy) : m_digest(digest), m_copy(copy) {}

    void write(std::string_view text) override {
        m_copy.append(text);
        m_digest.write(text);
    }
    void handOver(std::string& piece) override {
        m_copy.append(piece);
        m_digest.handOver(piece);
    }

private:
    CanonSink& m_digest;
    HashedOctets& m_copy;
};
