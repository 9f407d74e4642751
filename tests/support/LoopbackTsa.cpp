#include "support/LoopbackTsa.h"

#include "TestSupport.h"

namespace timestamp_test {

LoopbackTsa::LoopbackTsa(TsaIdentity identity, std::filesystem::path workDir, Behaviour behaviour)
    : m_identity(std::move(identity)), m_workDir(std::move(workDir)), m_behaviour(behaviour),
      m_server([this](const std::string&, const std::string& query) { return answer(query); }) {
}

std::string LoopbackTsa::url() const {
    return m_server.baseUrl() + "/tsa";
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

std::string LoopbackTsa::answer(const std::string& query) {
    switch (m_behaviour) {
    case Behaviour::Silent:
        return {};
    case Behaviour::HttpError:
        return "HTTP/1.1 500 Internal Server Error\r\nContent-Length: 0\r\nConnection: close\r\n\r\n";
    case Behaviour::Replay:
    case Behaviour::Answer:
        break;
    }
    const std::string token = m_behaviour == Behaviour::Replay && !m_firstAnswer.empty() ? m_firstAnswer : reply(query);
    if (m_firstAnswer.empty())
        m_firstAnswer = token;
    return test_support::LoopbackHttpServer::ok("application/timestamp-reply", token);
}

} // namespace timestamp_test
