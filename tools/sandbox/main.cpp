// quillmark-sandbox: the sandbox account service as a program.
//
// Prints its base URL on the first line when it is ready, then a line for each exchange, and ends cleanly on
// SIGINT or SIGTERM. Exit codes: 0 ended by a signal, 1 could not start, 2 wrong usage.

#include <charconv>
#include <csignal>
#include <cstdio>
#include <fstream>
#include <iostream>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

#include "tools/sandbox/SandboxServer.h"

namespace {

constexpr const char* kUsage =
    "usage: quillmark-sandbox [--port N] [--https] [--seed FILE] [--ca-out FILE]\n"
    "                         [--token-lifetime SECONDS] [--port-file FILE]\n"
    "\n"
    "  --port N                  listen on 127.0.0.1:N; without it, any free port\n"
    "  --https                   serve HTTPS with a certificate made for this run\n"
    "  --seed FILE               the accounts; without it, those of the source tree\n"
    "  --ca-out FILE             write the certificate to trust here (PEM, for SSL_CERT_FILE)\n"
    "  --token-lifetime SECONDS  how long an access token is good\n"
    "  --port-file FILE          write the port here when requests are served\n";

class UsageError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

struct Arguments {
    sandbox::ServerOptions server;
    std::string seedFile = sandbox::defaultSeedFile();
    std::string caFile;
    std::string portFile;
    std::optional<std::int64_t> tokenLifetimeSeconds;
    bool help = false;
};

std::int64_t readNumber(std::string_view option, std::string_view text, std::int64_t least,
                        std::int64_t most) {
    std::int64_t number = 0;
    const auto read = std::from_chars(text.data(), text.data() + text.size(), number);
    if (read.ec != std::errc() || read.ptr != text.data() + text.size() || number < least || number > most)
        throw UsageError(std::string(option) + " takes a number from " + std::to_string(least) + " to " +
                         std::to_string(most));
    return number;
}

void takeValue(Arguments& arguments, std::string_view option, std::string_view value) {
    if (option == "--port")
        arguments.server.port = static_cast<int>(readNumber(option, value, 0, 65535));
    else if (option == "--seed")
        arguments.seedFile = value;
    else if (option == "--ca-out")
        arguments.caFile = value;
    else if (option == "--token-lifetime")
        arguments.tokenLifetimeSeconds = readNumber(option, value, 1, 1'000'000'000);
    else if (option == "--port-file")
        arguments.portFile = value;
    else
        throw UsageError("unknown option " + std::string(option));
}

Arguments readArguments(int count, char** texts) {
    Arguments arguments;
    for (int at = 1; at < count; ++at) {
        const std::string_view option = texts[at];
        if (option == "--help") {
            arguments.help = true;
        } else if (option == "--https") {
            arguments.server.https = true;
        } else {
            const bool hasValue = at + 1 < count;
            takeValue(arguments, option, hasValue ? texts[at + 1] : "");
            if (!hasValue)
                throw UsageError(std::string(option) + " takes a value");
            ++at;
        }
    }
    if (!arguments.caFile.empty() && !arguments.server.https)
        throw UsageError("--ca-out needs --https");
    return arguments;
}

// In one step, so that whoever waits for the file never sees half of it.
void writeFile(const std::string& path, const std::string& text) {
    if (path.empty())
        return;
    const std::string part = path + ".part";
    std::ofstream file(part, std::ios::binary | std::ios::trunc);
    file << text;
    file.close();
    if (!file || std::rename(part.c_str(), path.c_str()) != 0)
        throw std::runtime_error(path + " cannot be written");
}

// Blocked before the first thread is made, so that only the wait below takes them.
sigset_t blockEndSignals() {
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGINT);
    sigaddset(&signals, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    return signals;
}

void run(const Arguments& arguments) {
    const sigset_t signals = blockEndSignals();
    sandbox::Seed seed = sandbox::readSeedFile(arguments.seedFile);
    if (arguments.tokenLifetimeSeconds)
        seed.rules.tokenLifetimeSeconds = *arguments.tokenLifetimeSeconds;
    sandbox::AccountService service(std::move(seed));
    sandbox::SandboxServer server(service, arguments.server);
    server.log().setListener([](const sandbox::ExchangeRecord& record) {
        std::cout << sandbox::exchangeLine(record) << std::endl;
    });
    writeFile(arguments.caFile, server.authorityPem());
    server.start();
    writeFile(arguments.portFile, std::to_string(server.port()) + "\n");
    std::cout << server.baseUrl() << std::endl;
    int taken = 0;
    sigwait(&signals, &taken);
    server.stop();
}

}  // namespace

int main(int count, char** texts) {
    try {
        const Arguments arguments = readArguments(count, texts);
        if (arguments.help)
            std::cout << kUsage;
        else
            run(arguments);
        return 0;
    } catch (const UsageError& error) {
        std::cerr << "quillmark-sandbox: " << error.what() << "\n\n" << kUsage;
        return 2;
    } catch (const std::exception& error) {
        std::cerr << "quillmark-sandbox: " << error.what() << "\n";
        return 1;
    }
}
