#include "support/LoopbackTsa.h"

#include "TestSupport.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cctype>
#include <stdexcept>

namespace timestamp_test {

namespace {

constexpr int kPollMillis = 50;
// A client that stops sending mid-request is dropped after this long.
constexpr int kReadTimeoutMillis = 5000;

int listenOnLoopback(int& port) {
    const int fd = ::socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in addr{};
    addr.sin_family = AF_INET;
    addr.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t len = sizeof addr;
    if (fd < 0 || ::bind(fd, reinterpret_cast<sockaddr*>(&addr), sizeof addr) != 0 || ::listen(fd, 16) != 0 ||
        ::getsockname(fd, reinterpret_cast<sockaddr*>(&addr), &len) != 0) {
        if (fd >= 0)
            ::close(fd);
        throw std::runtime_error("cannot listen on 127.0.0.1");
    }
    port = ntohs(addr.sin_port);
    return fd;
}

bool sendAll(int fd, const std::string& bytes) {
    size_t sent = 0;
    while (sent < bytes.size()) {
        const ssize_t n = ::send(fd, bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL);
        if (n <= 0)
            return false;
        sent += static_cast<size_t>(n);
    }
    return true;
}

size_t contentLength(const std::string& headers) {
    std::string lower = headers;
    for (char& c : lower)
        c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    const size_t at = lower.find("content-length:");
    return at == std::string::npos ? 0 : std::stoul(lower.substr(at + 15));
}

} // namespace

LoopbackTsa::LoopbackTsa(TsaIdentity identity, std::filesystem::path workDir, Behaviour behaviour)
    : m_identity(std::move(identity)), m_workDir(std::move(workDir)), m_behaviour(behaviour) {
    m_listener = listenOnLoopback(m_port);
    m_thread = std::thread([this] { serve(); });
}

LoopbackTsa::~LoopbackTsa() {
    m_stop = true;
    m_thread.join();
    for (int fd : m_heldOpen)
        ::close(fd);
    ::close(m_listener);
}

std::string LoopbackTsa::url() const {
    return "http://127.0.0.1:" + std::to_string(m_port) + "/tsa";
}

int LoopbackTsa::closedPort() {
    int port = 0;
    ::close(listenOnLoopback(port));
    return port;
}

void LoopbackTsa::serve() {
    while (!m_stop) {
        pollfd p{m_listener, POLLIN, 0};
        if (::poll(&p, 1, kPollMillis) <= 0)
            continue;
        const int client = ::accept(m_listener, nullptr, nullptr);
        if (client < 0)
            continue;
        if (m_behaviour == Behaviour::Silent) {
            m_heldOpen.push_back(client);
            continue;
        }
        handle(client);
        ::close(client);
    }
}

std::string LoopbackTsa::lastHeaders() const {
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_lastHeaders;
}

bool LoopbackTsa::readRequest(int client, std::string& headers, std::string& body) {
    std::string data;
    size_t headerEnd = std::string::npos;
    char buf[4096];
    for (;;) {
        if (headerEnd != std::string::npos && data.size() >= headerEnd + 4 + contentLength(data.substr(0, headerEnd)))
            break;
        pollfd p{client, POLLIN, 0};
        if (::poll(&p, 1, kReadTimeoutMillis) <= 0)
            return false;
        const ssize_t n = ::recv(client, buf, sizeof buf, 0);
        if (n <= 0)
            return false;
        data.append(buf, static_cast<size_t>(n));
        headerEnd = data.find("\r\n\r\n");
    }
    headers = data.substr(0, headerEnd);
    body = data.substr(headerEnd + 4);
    return true;
}

std::string LoopbackTsa::reply(const std::string& query) {
    const std::string n = std::to_string(++m_requestCount);
    const auto queryFile = m_workDir / ("query-" + n + ".tsq");
    const auto replyFile = m_workDir / ("reply-" + n + ".tsr");
    test_support::writeFile(queryFile, query);
    using test_support::shellQuote;
    test_support::runProcess("openssl ts -reply -config " + shellQuote(m_identity.config.string()) + " -queryfile " +
                             shellQuote(queryFile.string()) + " -inkey " + shellQuote(m_identity.key.string()) +
                             " -signer " + shellQuote(m_identity.cert.string()) + " -out " +
                             shellQuote(replyFile.string()));
    return test_support::readFile(replyFile);
}

void LoopbackTsa::handle(int client) {
    std::string headers, query;
    if (!readRequest(client, headers, query))
        return;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_lastHeaders = headers;
    }
    if (m_behaviour == Behaviour::HttpError) {
        sendAll(client, "HTTP/1.1 500 Internal Server Error\r\nContent-Length: 0\r\nConnection: close\r\n\r\n");
        return;
    }
    const std::string answer =
        m_behaviour == Behaviour::Replay && !m_firstAnswer.empty() ? m_firstAnswer : reply(query);
    if (m_firstAnswer.empty())
        m_firstAnswer = answer;
    sendAll(client, "HTTP/1.1 200 OK\r\nContent-Type: application/timestamp-reply\r\nContent-Length: " +
                        std::to_string(answer.size()) + "\r\nConnection: close\r\n\r\n" + answer);
}

} // namespace timestamp_test
