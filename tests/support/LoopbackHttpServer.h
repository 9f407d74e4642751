#pragma once

#include <atomic>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace test_support {

// A minimal HTTP server on 127.0.0.1 (a port the system picks), answering each request on its own thread
// from construction to destruction with what the handler returns: a whole HTTP response, or nothing to hold
// the connection open without an answer.
class LoopbackHttpServer {
public:
    // The request's header block (request line first) and body.
    using Handler = std::function<std::string(const std::string& headers, const std::string& body)>;

    explicit LoopbackHttpServer(Handler handler);
    ~LoopbackHttpServer();
    LoopbackHttpServer(const LoopbackHttpServer&) = delete;
    LoopbackHttpServer& operator=(const LoopbackHttpServer&) = delete;

    int port() const { return m_port; }
    std::string baseUrl() const { return "http://127.0.0.1:" + std::to_string(m_port); }
    // The header block of the last request read.
    std::string lastHeaders() const;
    int requestCount() const { return m_requests; }

    // "200 OK" with the body.
    static std::string ok(const std::string& contentType, const std::string& body);
    // A loopback port that nothing listens on.
    static int closedPort();

private:
    void serve();
    void handle(int client);

    Handler m_handler;
    int m_listener = -1;
    int m_port = 0;
    std::vector<int> m_heldOpen;
    std::atomic<bool> m_stop{false};
    std::atomic<int> m_requests{0};
    mutable std::mutex m_mutex;
    std::string m_lastHeaders;
    std::thread m_thread;
};

} // namespace test_support
