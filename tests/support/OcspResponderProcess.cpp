#include "support/OcspResponderProcess.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <fstream>
#include <sstream>
#include <thread>

namespace test_support {

namespace {

constexpr auto kStartTimeout = std::chrono::seconds(10);
constexpr auto kRetryDelay = std::chrono::milliseconds(20);
// TCP_LISTEN in /proc/net/tcp's "st" column.
constexpr const char* kListenState = "0A";

// Whether a socket listens on the port, read from the kernel's tables rather than by connecting: the
// responder serves one connection at a time and would wait on a probe that sends nothing.
bool listening(int port) {
    char hexPort[8];
    std::snprintf(hexPort, sizeof hexPort, ":%04X", static_cast<unsigned>(port));
    for (const char* table : {"/proc/net/tcp", "/proc/net/tcp6"}) {
        std::ifstream in(table);
        std::string line;
        while (std::getline(in, line)) {
            std::istringstream fields(line);
            std::string slot, local, remote, state;
            fields >> slot >> local >> remote >> state;
            if (local.ends_with(hexPort) && state == kListenState)
                return true;
        }
    }
    return false;
}

} // namespace

OcspResponderProcess::OcspResponderProcess(const std::filesystem::path& dir, int port,
                                           const std::vector<std::string>& arguments) {
    std::vector<std::string> args = {"openssl", "ocsp", "-port", std::to_string(port)};
    args.insert(args.end(), arguments.begin(), arguments.end());
    std::vector<char*> argv;
    for (std::string& arg : args)
        argv.push_back(arg.data());
    argv.push_back(nullptr);
    const std::string workDir = dir.string();
    m_pid = ::fork();
    if (m_pid == 0) {
        const int devNull = ::open("/dev/null", O_WRONLY);
        if (::chdir(workDir.c_str()) != 0 || devNull < 0 || ::dup2(devNull, STDOUT_FILENO) < 0 ||
            ::dup2(devNull, STDERR_FILENO) < 0)
            ::_exit(127);
        ::execvp(argv[0], argv.data());
        ::_exit(127);
    }
    const auto deadline = std::chrono::steady_clock::now() + kStartTimeout;
    while (m_pid > 0 && !(m_ready = listening(port)) && std::chrono::steady_clock::now() < deadline)
        std::this_thread::sleep_for(kRetryDelay);
}

OcspResponderProcess::~OcspResponderProcess() {
    if (m_pid <= 0)
        return;
    ::kill(m_pid, SIGTERM);
    int status = 0;
    ::waitpid(m_pid, &status, 0);
}

} // namespace test_support
