#include "support/LoopbackHttpServer.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cctype>
#include <stdexcept>

namespace test_support {

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

bool readRequest(int client, std::string& headers, std::string& body) {
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

} // namespace

LoopbackHttpServer::LoopbackHttpServer(Handler handler) : m_handler(std::move(handler)) {
    m_listener = listenOnLoopback(m_port);
    m_thread = std::thread([this] { serve(); });
}

LoopbackHttpServer::~LoopbackHttpServer() {
    m_stop = true;
    m_thread.join();
    for (int fd : m_heldOpen)
        ::close(fd);
    ::close(m_listener);
}

std::string LoopbackHttpServer::ok(const std::string& contentType, const std::string& body) {
    return "HTTP/1.1 200 OK\r\nContent-Type: " + contentType + "\r\nContent-Length: " + std::to_string(body.size()) +
           "\r\nConnection: close\r\n\r\n" + body;
}

int LoopbackHttpServer::closedPort() {
    int port = 0;
    ::close(listenOnLoopback(port));
    return port;
}

std::string LoopbackHttpServer::lastHeaders() const {
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_lastHeaders;
}

void LoopbackHttpServer::serve() {
    while (!m_stop) {
        pollfd p{m_listener, POLLIN, 0};
        if (::poll(&p, 1, kPollMillis) <= 0)
            continue;
        const int client = ::accept(m_listener, nullptr, nullptr);
        if (client >= 0)
            handle(client);
    }
}

void LoopbackHttpServer::handle(int client) {
    std::string headers, body;
    if (!readRequest(client, headers, body)) {
        ::close(client);
        return;
    }
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_lastHeaders = headers;
    }
    ++m_requests;
    const std::string answer = m_handler(headers, body);
    if (answer.empty()) {
        m_heldOpen.push_back(client);
        return;
    }
    sendAll(client, answer);
    ::close(client);
}

} // namespace test_support
