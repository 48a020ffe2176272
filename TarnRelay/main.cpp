#include <pwd.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <array>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/address.hpp>
#include <boost/asio/signal_set.hpp>
#include <boost/asio/thread_pool.hpp>
#include <charconv>
#include <csignal>
#include <cstdio>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "EngineChoice.h"
#include "TarnPlatform/base/Log.h"
#include "TarnPlatform/base/Text.h"
#include "TarnPlatform/process/OwnProcess.h"
#include "TarnPlatform/webserver/PassedSocket.h"
#include "TarnRelay/account/EmailAddress.h"
#include "TarnRelay/account/RequestCheck.h"
#include "TarnRelay/account/TokenRegistry.h"
#include "TarnRelay/stream/RelayServer.h"

namespace {

using namespace tarn;
using namespace tarn::relay;

constexpr int exitOk = 0;
constexpr int exitFailed = 1;
constexpr int exitUsage = 2;

struct Endpoint {
    std::string address;
    std::uint16_t port = 0;
};

int fail(int status, const std::string& message) {
    std::fprintf(stderr, "tarn-relay: %s\n", message.c_str());
    return status;
}

/// Wrong options end with the status for wrong usage, every other failure with that for failures.
int fail(const Error& error) {
    return fail(error.kind == ErrorKind::invalidInput ? exitUsage : exitFailed, error.description);
}

/// "ADDRESS:PORT" with a numeric address, an IPv6 address in brackets; "localhost" stands for 127.0.0.1.
std::optional<Endpoint> parseEndpoint(std::string_view text) {
    const auto colon = text.rfind(':');
    if (colon == std::string_view::npos) {
        return std::nullopt;
    }
    auto address = text.substr(0, colon);
    const auto port = text.substr(colon + 1);
    Endpoint endpoint;
    const auto [rest, error] = std::from_chars(port.data(), port.data() + port.size(), endpoint.port);
    if (error != std::errc() || rest != port.data() + port.size()) {
        return std::nullopt;
    }
    if (address.starts_with('[') && address.ends_with(']')) {
        address = address.substr(1, address.size() - 2);
    } else if (address.empty() || address.find(':') != std::string_view::npos) {
        return std::nullopt;
    }
    endpoint.address = address == "localhost" ? "127.0.0.1" : address;
    boost::system::error_code notNumeric;
    asio::ip::make_address(endpoint.address, notNumeric);
    return notNumeric ? std::nullopt : std::optional(endpoint);
}

int issueToken(const TokenRegistry& tokens, const std::string& email) {
    const auto token = tokens.issue(email);
    if (!token) {
        return fail(token.error());
    }
    std::printf("%s\n", token->c_str());
    return std::fflush(stdout) == 0 ? exitOk : fail(exitFailed, "the token could not be written");
}

int revokeToken(const TokenRegistry& tokens, const std::string& email) {
    const auto ended = tokens.revoke(email);
    if (!ended) {
        return fail(ended.error());
    }
    if (*ended == 0) {
        return fail(exitFailed, "there is no token of " + email);
    }
    std::fprintf(stderr, "%zu ended\n", *ended);
    return exitOk;
}

int listTokens(const TokenRegistry& tokens) {
    const auto issued = tokens.list();
    if (!issued) {
        return fail(issued.error());
    }
    for (const auto& [email, time] : *issued) {
        std::printf("%s\t%s\n", printable(email).c_str(), printable(time).c_str());
    }
    return std::fflush(stdout) == 0 ? exitOk : fail(exitFailed, "the list could not be written");
}

/// The address that the sign-in page suggests to the user who runs this: "USER@localhost", or an empty text
/// where the user's name makes none.
std::string ownAddress() {
    const auto* const user = ::getpwuid(::geteuid());
    const auto address = user == nullptr ? std::string() : std::string(user->pw_name) + "@localhost";
    return isEmailAddress(address) ? address : std::string();
}

int serve(const TokenRegistry& tokens, const std::string& listen, const EngineChoice& choice) {
    const auto endpoint = parseEndpoint(listen);
    if (!endpoint) {
        return fail(exitUsage, "--listen takes ADDRESS:PORT, not \"" + listen + "\"");
    }
    auto passed = PassedSocket::take();
    if (!passed) {
        return fail(passed.error());
    }
    // One thread serves all connections; engines that wait have threads of their own.
    asio::io_context context(1);
    NetworkContext network;
    network.executor = context.get_executor();
    network.clock = Clock::system();
    network.proxy = ProxySettings::fromEnvironment();
    network.trust = TlsTrust::system();
    const auto chosen = makeEngine(choice, network);
    if (!chosen) {
        return fail(chosen.error());
    }
    RelayServer::Options options;
    options.address = endpoint->address;
    options.port = endpoint->port;
    if (*passed) {
        // The socket was bound by whoever started this program, and `--listen` does not move it.
        options.address = (*passed)->address;
        options.passed = std::make_shared<PassedSocket>(std::move(**passed));
    }
    options.maxStreams = chosen->maxStreams;
    options.engineName = choice.name;
    options.suggestedEmail = ownAddress();
    asio::thread_pool files(1);
    auto server = RelayServer::start(network, files.get_executor(), tokens, *chosen->engine, options);
    if (!server) {
        return fail(exitFailed, server.error().description);
    }
    if (!RequestCheck(options.address).onLoopback()) {
        logLine("[relay] " + options.address +
                " is not an address of this machine alone: tokens and speech travel there unencrypted");
    }
    asio::signal_set signals(context, SIGINT, SIGTERM);
    signals.async_wait([&server, &signals](const boost::system::error_code& error, int) {
        if (!error) {
            signals.clear();  // a second one ends the process at once
            (*server)->stop();
        }
    });
    std::printf("listening on %s\n", (*server)->url().c_str());
    if (std::fflush(stdout) != 0) {
        return fail(exitFailed, "the address could not be written to standard output");
    }
    context.run();
    return exitOk;
}

int run(int argc, char** argv) {
    CLI::App app("Account server and translation relay for one machine or one household.", "tarn-relay");
    std::string listen = "127.0.0.1:8787";
    EngineChoice choice;
    app.add_option("--listen", listen, "ADDRESS:PORT to answer at; port 0 picks one")->capture_default_str();
    app.add_option("--engine", choice.name, "What translates")
        ->check(CLI::IsMember({"offline", "upstream", "script"}))
        ->capture_default_str();
    app.add_option("FILE,--script", choice.script, "Script to play (--engine script)");
    app.add_option(
        "--service-host", choice.serviceHost,
        "Host of the translation service (--engine upstream); its key is read from TARN_SERVICE_KEY");
    app.add_option("--recogniser", choice.recogniser,
                   "Command line that recognises speech (--engine offline)");
    app.add_option("--translator", choice.translator, "Command line that translates (--engine offline)");
    app.add_option("--synthesiser", choice.synthesiser, "Command line that speaks (--engine offline)");
    app.add_option("--max-streams", choice.maxStreams,
                   "Streams open at once; by default what this machine does in real time, or 64 passed on")
        ->check(CLI::Range(std::size_t{1}, std::size_t{200}));
    app.require_subcommand(0, 1);
    std::string email;
    auto* issue = app.add_subcommand("issue-token", "Prints a new access token for an e-mail address");
    issue->add_option("EMAIL", email)->required();
    auto* revoke = app.add_subcommand("revoke-token", "Ends every access token of an e-mail address");
    revoke->add_option("EMAIL", email)->required();
    auto* list = app.add_subcommand("list-tokens", "Prints address and time of issue of every access token");
    app.set_version_flag("--version", std::string("tarn-relay 0.1.0"));
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? exitOk : exitUsage;
    }
    // A command of the user's own that has ended must cost an error and not this process.
    std::signal(SIGPIPE, SIG_IGN);
    const TokenRegistry tokens(TokenRegistry::defaultFolder());
    if (issue->parsed()) {
        return issueToken(tokens, email);
    }
    if (revoke->parsed()) {
        return revokeToken(tokens, email);
    }
    if (list->parsed()) {
        return listTokens(tokens);
    }
    return serve(tokens, listen, choice);
}

}  // namespace

int main(int argc, char** argv) {
    tarn::holdStandardDescriptors();
    tarn::mapLargeBlocks();
    try {
        return run(argc, argv);
    } catch (const std::exception& error) {
        return fail(exitFailed, error.what());
    }
}
