#pragma once

#include "support/LoopbackHttpServer.h"

#include <filesystem>
#include <string>

namespace timestamp_test {

// What `openssl ts -reply` signs with: its configuration, key and
// certificate.
struct TsaIdentity {
    std::filesystem::path config;
    std::filesystem::path key;
    std::filesystem::path cert;
};

// A timestamp responder on 127.0.0.1 (a port the system picks): a minimal
// HTTP server that answers each POST with `openssl ts -reply` over the
// request body, on a LoopbackHttpServer.
class LoopbackTsa {
public:
    enum class Behaviour {
        Answer,    // a time-stamp response
        HttpError, // HTTP 500, no body
        Silent,    // accepts connections and never answers
        Replay,    // the first response again for every later request
    };

    LoopbackTsa(TsaIdentity identity, std::filesystem::path workDir, Behaviour behaviour = Behaviour::Answer);
    LoopbackTsa(const LoopbackTsa&) = delete;
    LoopbackTsa& operator=(const LoopbackTsa&) = delete;

    std::string url() const;
    // The header block of the last request read.
    std::string lastHeaders() const { return m_server.lastHeaders(); }

    // A loopback port that nothing listens on.
    static int closedPort() { return test_support::LoopbackHttpServer::closedPort(); }

private:
    std::string answer(const std::string& query);
    std::string reply(const std::string& query);

    TsaIdentity m_identity;
    std::filesystem::path m_workDir;
    Behaviour m_behaviour;
    int m_requestCount = 0;
    std::string m_firstAnswer;
    // Last, so that it stops before the members its handler reads go.
    test_support::LoopbackHttpServer m_server;
};

} // namespace timestamp_test
