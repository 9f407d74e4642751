#pragma once

#include <atomic>
#include <filesystem>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

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
// request body. It runs on its own thread from construction to destruction.
class LoopbackTsa {
public:
    enum class Behaviour {
        Answer,    // a time-stamp response
        HttpError, // HTTP 500, no body
        Silent,    // accepts connections and never answers
        Replay,    // the first response again for every later request
    };

    LoopbackTsa(TsaIdentity identity, std::filesystem::path workDir, Behaviour behaviour = Behaviour::Answer);
    ~LoopbackTsa();
    LoopbackTsa(const LoopbackTsa&) = delete;
    LoopbackTsa& operator=(const LoopbackTsa&) = delete;

    std::string url() const;
    // The header block of the last request read.
    std::string lastHeaders() const;

    // A loopback port that nothing listens on.
    static int closedPort();

private:
    void serve();
    void handle(int client);
    bool readRequest(int client, std::string& headers, std::string& body);
    std::string reply(const std::string& query);

    TsaIdentity m_identity;
    std::filesystem::path m_workDir;
    Behaviour m_behaviour;
    int m_listener = -1;
    int m_port = 0;
    std::vector<int> m_heldOpen;
    std::atomic<bool> m_stop{false};
    int m_requestCount = 0;
    std::string m_firstAnswer;
    mutable std::mutex m_mutex;
    std::string m_lastHeaders;
    std::thread m_thread;
};

} // namespace timestamp_test
