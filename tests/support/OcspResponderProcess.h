#pragma once

#include <sys/types.h>

#include <filesystem>
#include <string>
#include <vector>

namespace test_support {

// `openssl ocsp` running as an OCSP responder on a loopback port, started in `dir` with the arguments given
// after `-port`, from construction (which waits until it listens) to destruction (which
// ends and reaps it).
class OcspResponderProcess {
public:
    OcspResponderProcess(const std::filesystem::path& dir, int port, const std::vector<std::string>& arguments);
    ~OcspResponderProcess();
    OcspResponderProcess(const OcspResponderProcess&) = delete;
    OcspResponderProcess& operator=(const OcspResponderProcess&) = delete;

    // Whether it listened within the start timeout.
    bool ready() const { return m_ready; }

private:
    pid_t m_pid = -1;
    bool m_ready = false;
};

} // namespace test_support
