#include "CommandLine.h"
#include "Commands.h"
#include "HttpService.h"
#include "ServeOptions.h"
#include "StopSignals.h"

#include <csignal>
#include <iostream>
#include <memory>

namespace {

constexpr const char* kUsage = "usage: xmldsig serve [--listen HOST:PORT] [--threads N] [--connections N] [--queue N]\n"
                               "         [--max-body BYTES] [--read-timeout SECONDS] [--idle-timeout SECONDS]\n"
                               "         [the settings of xmldsig verify: --trust, --cert, --crl, --key, --options,\n"
                               "          --verify-options, --policy, --online, ...]\n"
                               "  verification over HTTP/1.1: POST /v1/verify (the document as the body, or multipart\n"
                               "  with the parts document and data-N; query: all, signature-id, ades, format=html),\n"
                               "  GET / (a page to upload a document), GET /healthz, GET /metrics (Prometheus);\n"
                               "  defaults: 127.0.0.1:8080, a thread per core, 32 connections, 16 documents waiting,\n"
                               "  16 MB bodies, 10 s to read a request, 5 s idle; SIGTERM stops it once requests\n"
                               "  in flight are answered";

// How long a connection may stay open between requests, in requests.
constexpr size_t kKeepAliveRequests = 100'000;

void configure(httplib::Server& server, const ServeOptions& o) {
    const unsigned connections = o.connections;
    server.new_task_queue = [connections] { return std::make_unique<httplib::ThreadPool>(connections).release(); };
    server.set_read_timeout(o.readTimeout);
    server.set_write_timeout(o.readTimeout);
    server.set_keep_alive_timeout(o.idleTimeout.count());
    server.set_keep_alive_max_count(kKeepAliveRequests);
    // httplib writes the headers and the body apart: with Nagle's algorithm the
    // body would wait for the client's delayed ACK (40 ms a request).
    server.set_tcp_nodelay(true);
}

bool bind(httplib::Server& server, ServeOptions& o) {
    if (o.port != 0)
        return server.bind_to_port(o.host, o.port);
    o.port = server.bind_to_any_port(o.host);
    return o.port > 0;
}

int serve(ServeOptions& o) {
    // Before any thread starts, so that the watcher alone receives them.
    blockStopSignals();
    std::signal(SIGPIPE, SIG_IGN);
    ServeMetrics metrics;
    VerificationPool pool(o.settings.verification, o.threads, o.queue);
    HttpService service({o.maxBody, o.readTimeout}, pool, metrics);
    httplib::Server server;
    configure(server, o);
    service.install(server);
    if (!bind(server, o)) {
        printError("cannot listen on " + o.host + ":" + std::to_string(o.port));
        return kExitUsage;
    }
    std::cerr << "xmldsig serve: listening on http://" << o.host << ':' << o.port << " with " << o.threads
              << " verifying threads" << std::endl;
    const StopSignalWatcher watcher([&server] { server.stop(); });
    const bool stopped = server.listen_after_bind();
    std::cerr << "xmldsig serve: stopped" << std::endl;
    return stopped ? kExitValid : kExitUsage;
}

} // namespace

int runServe(CommandLine& args) {
    if (args.takeFlag("--help")) {
        std::cout << kUsage << '\n';
        return kExitValid;
    }
    ServeOptions options;
    std::string error;
    bool unusableFile = false;
    if (!parseServeOptions(args, options, error, unusableFile)) {
        printError(error);
        if (!unusableFile)
            std::cerr << kUsage << '\n';
        return kExitUsage;
    }
    return serve(options);
}
