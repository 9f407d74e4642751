#pragma once

#include "VerifySettings.h"

#include <chrono>
#include <string>

class CommandLine;

// What `xmldsig serve` was asked to do: where to listen, how many threads
// verify and how many connections are served at once, the bounds on a
// request, and the verification settings every request shares.
struct ServeOptions {
    std::string host = "127.0.0.1";
    int port = 8080; // 0: any free port, printed at start
    unsigned threads = 1;
    unsigned connections = 32;
    size_t queue = 16;
    size_t maxBody = 16u << 20;
    std::chrono::seconds readTimeout{10};
    std::chrono::seconds idleTimeout{5};
    VerifySettings settings;
};

// Reads the options; false with `error` set on a usage error, and
// `unusableFile` set when a key, certificate or CRL file cannot be used.
bool parseServeOptions(CommandLine& args, ServeOptions& options, std::string& error, bool& unusableFile);
