#pragma once

#include <gtest/gtest.h>

#include <boost/asio/post.hpp>
#include <functional>
#include <future>
#include <memory>
#include <string>

#include "TarnPlatform/base/NetworkThread.h"
#include "TarnRelay/stream/RelayServer.h"
#include "TarnRelay/stream/ScriptEngine.h"
#include "platform_net_server/RawPeer.h"
#include "support/ManualClock.h"
#include "support/Program.h"

namespace tarn::test {

/// An answer of the relay, and what a browser takes from it.
struct PageAnswer {
    std::string status;  ///< "200"
    std::string head;
    std::string body;

    /// What stands between `before` and `after`; empty where it does not.
    static std::string between(const std::string& text, const std::string& before, const std::string& after) {
        const auto start = text.find(before);
        const auto end = start == std::string::npos ? start : text.find(after, start + before.size());
        return end == std::string::npos ? std::string()
                                        : text.substr(start + before.size(), end - start - before.size());
    }
    std::string consent() const { return between(body, R"(name="consent" value=")", "\""); }
    std::string cookie() const { return between(head, "tarn_signin=", ";"); }
    std::string token() const { return between(body, R"(href="tarn://login?token=)", "&amp;"); }
};

/// A relay whose time passes when a test says so, and a browser that says exactly the bytes a test wants.
class LoopbackRelay : public testing::Test {
protected:
    void SetUp() override { start({}); }
    void TearDown() override {
        onNetwork([this] { server_->stop(); });
    }

    void start(relay::RelayServer::Options options) {
        options.port = 0;
        options.engineName = "script";
        options.suggestedEmail = "o'hara@localhost";
        NetworkContext network;
        network.executor = network_.executor();
        network.clock = clock_;
        onNetwork([&] {
            server_ =
                relay::RelayServer::start(network, network_.executor(), tokens_, *engine_, options).value();
        });
    }

    void onNetwork(const std::function<void()>& work) {
        std::packaged_task<void()> task(work);
        auto done = task.get_future();
        asio::post(network_.executor(), std::move(task));
        done.get();
    }

    std::string tokenFile() const { return state_.file("tarn/relay/tokens.json"); }

    /// How many tokens there are in the file.
    std::size_t tokenCount() const {
        const auto text = readFile(tokenFile());
        std::size_t count = 0;
        for (auto at = text.find("\"sha256\""); at != std::string::npos;
             at = text.find("\"sha256\"", at + 1)) {
            ++count;
        }
        return count;
    }

    RawPeer connect() const { return RawPeer(server_->port()); }

    /// Sends one request and returns the whole answer.
    std::string answerTo(const std::string& requestLine, const std::string& headers,
                         const std::string& body = {}) const {
        auto peer = connect();
        peer.send(requestLine + " HTTP/1.1\r\nConnection: close\r\n" + headers + "\r\n" + body);
        return peer.readToEnd();
    }

    PageAnswer ask(const std::string& requestLine, const std::string& headers, const std::string& body = {}) {
        const auto answer = answerTo(requestLine, headers, body);
        const auto end = answer.find("\r\n\r\n");
        if (!answer.starts_with("HTTP/1.1 ") || end == std::string::npos) {
            ADD_FAILURE() << "no answer to " << requestLine << ": " << answer;
            return {};
        }
        return {answer.substr(9, 3), answer.substr(0, end + 2), answer.substr(end + 4)};
    }

    PageAnswer form(const std::string& moreHeaders = {}) {
        return ask("GET " + page, "Host: localhost\r\n" + moreHeaders);
    }

    /// A form as the page's own browser sends it, unless the arguments say otherwise.
    PageAnswer post(const std::string& fields, const std::string& headers = goodHeaders,
                    const std::string& requestLine = "POST " + page) {
        return ask(requestLine, headers + "Content-Length: " + std::to_string(fields.size()) + "\r\n",
                   fields);
    }
    static std::string cookieLine(const std::string& cookie) {
        return "Cookie: theme=dark; tarn_signin=" + cookie + "\r\n";
    }
    PageAnswer consentTo(const PageAnswer& opened, const std::string& email = "ada@example.org") {
        return post("consent=" + opened.consent() + "&email=" + email + "&answer=allow",
                    goodHeaders + cookieLine(opened.cookie()));
    }

    inline static const std::string page = "/auth?return_to=macos";
    inline static const std::string formType = "Content-Type: application/x-www-form-urlencoded\r\n";
    inline static const std::string goodHeaders =
        "Host: localhost\r\nOrigin: http://localhost\r\nSec-Fetch-Site: same-origin\r\n"
        "Sec-Fetch-Dest: document\r\n" +
        formType;

    TemporaryFolder state_;
    relay::TokenRegistry tokens_{state_.file("tarn/relay")};
    std::shared_ptr<ManualClock> clock_ = std::make_shared<ManualClock>();
    NetworkThread network_;
    std::unique_ptr<relay::TranslationEngine> engine_ = std::make_unique<relay::ScriptEngine>(
        relay::parseScript(R"({"t":0,"raw":"x"})").value(), network_.executor(), Clock::system());
    std::unique_ptr<relay::RelayServer> server_;
};

}  // namespace tarn::test
