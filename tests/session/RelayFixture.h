#pragma once

#include <boost/asio/packaged_task.hpp>
#include <boost/asio/post.hpp>
#include <boost/json/parse.hpp>
#include <functional>
#include <future>
#include <memory>
#include <string>

#include "TarnApp/server/RealTarnServerClient.h"
#include "TarnPlatform/base/NetworkThread.h"
#include "TarnRelay/stream/RelayServer.h"
#include "TarnRelay/stream/ScriptEngine.h"
#include "support/RunTask.h"

namespace tarn::test {

/// The real relay on a network thread of its own, playing a script.
class RelayFixture {
public:
    /// `folder`: for its tokens; exists.
    RelayFixture(const std::string& folder, const std::string& script)
        : tokens_(std::filesystem::path(folder) / "relay"),
          engine_(relay::parseScript(script).value(), network_.executor(), Clock::system()) {
        token = tokens_.issue("ada@example.org").value();
        relay::RelayServer::Options options;
        options.port = 0;
        options.engineName = "script";
        onNetwork([&] {
            server_ =
                relay::RelayServer::start(context(), network_.executor(), tokens_, engine_, options).value();
        });
    }
    ~RelayFixture() { end(); }
    RelayFixture(const RelayFixture&) = delete;
    RelayFixture& operator=(const RelayFixture&) = delete;

    /// As an account server that is asked to stop: a goodbye to everybody.
    void end() {
        onNetwork([this] {
            if (server_) {
                server_->stop();
            }
        });
    }
    void revoke() const { static_cast<void>(tokens_.revoke("ada@example.org")); }

    std::shared_ptr<TarnServerClient> client() {
        const auto base = Url::parse("http://127.0.0.1:" + std::to_string(port()) + "/tarn").value();
        return std::make_shared<RealTarnServerClient>(base, fixedPat(token), HttpSession::make(context()),
                                                      context());
    }
    std::uint16_t port() const { return server_->port(); }
    /// As its health report has it.
    std::int64_t openStreams() {
        asio::io_context waiting;
        HttpRequest request;
        request.url = Url::parse("http://127.0.0.1:" + std::to_string(port()) + "/healthz").value();
        const auto answer = runTask(waiting, HttpSession::make(context())->send(request));
        return boost::json::parse(answer.value().body).at("streams_open").as_int64();
    }

    std::string token;

private:
    NetworkContext context() {
        NetworkContext context;
        context.executor = network_.executor();
        context.clock = Clock::system();
        context.trust = TlsTrust::system();
        return context;
    }
    void onNetwork(const std::function<void()>& work) {
        asio::post(network_.executor(), std::packaged_task<void()>(work)).get();
    }

    NetworkThread network_;
    relay::TokenRegistry tokens_;
    relay::ScriptEngine engine_;
    std::unique_ptr<relay::RelayServer> server_;
};

}  // namespace tarn::test
