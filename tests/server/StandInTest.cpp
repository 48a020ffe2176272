// The search for a relay on this machine: against a server that says what a test wants, and the real program.
#include "TarnApp/server/StandIn.h"

#include <gmock/gmock.h>

#include <boost/asio/io_context.hpp>
#include <cstdlib>

#include "TarnPlatform/webserver/HttpServer.h"
#include "support/Program.h"
#include "support/RunTask.h"

namespace tarn {
namespace {

class StandInTest : public testing::Test {
protected:
    std::shared_ptr<StandIn> standIn(const std::string& origin) {
        return std::make_shared<StandIn>(
            StandIn::Parts{Url::parse(origin + "/tarn").value(), context_.get_executor(), network_, [this] {
                               ++tokensAsked_;
                               return issue_();
                           }});
    }
    std::shared_ptr<TarnServerClient> find(const std::shared_ptr<StandIn>& in,
                                           const std::string& source = "en",
                                           const std::string& target = "es") {
        return test::runTask(context_, in->find(source, target));
    }

    Task<ServerReply> answer(ServerRequest request) {
        ServerResponse response;
        if (request.target == "/healthz") {
            response.status = health_.empty() ? 404 : 200;
            response.body = health_;
        } else {
            response.status = headerValue(request.headers, "Authorization") == "Bearer " + taken_ ? 200 : 401;
        }
        ServerReply reply = std::move(response);
        co_return reply;
    }

    std::string health_;
    std::string taken_ = "secret";
    asio::io_context context_{1};
    NetworkContext network_{context_.get_executor(), Clock::system(), {}, TlsTrust::system()};
    std::function<std::optional<std::string>()> issue_ = [] { return "secret"; };
    int tokensAsked_ = 0;
};

TEST_F(StandInTest, TakesARelayThatTranslatesByItselfAndTakesItsToken) {
    const auto server =
        HttpServer::listen(network_, "127.0.0.1", 0,
                           [this](ServerRequest request) { return answer(std::move(request)); }, {})
            .value();
    const auto relay = standIn("http://127.0.0.1:" + std::to_string(server->port()));
    const std::string languages =
        R"(, "languages": {"hears": ["en"], "translates": {"en": ["es", "fr"], "es": ["pt"]}}})";
    const std::tuple<std::string, const char*, const char*, bool> rows[] = {
        {"", "en", "es", false},
        {"not JSON", "en", "es", false},
        {R"(["offline"])", "en", "es", false},
        {R"({"status": "ok"})", "en", "es", false},
        {R"({"engine": "upstream"})", "en", "es", false},
        {R"({"engine": "offline")" + languages, "en", "es", true},
        {R"({"engine": "offline")" + languages, "", "es", true},
        {R"({"engine": "offline")" + languages, "en", "pt", false},
        {R"({"engine": "offline")" + languages, "es", "pt", false},
        {R"({"engine": "script"})", "zh", "de", true},
    };
    for (const auto& [told, source, target, isFound] : rows) {
        health_ = told;
        EXPECT_EQ(find(relay, source, target) != nullptr, isFound) << told << " " << source << " " << target;
    }
    EXPECT_EQ(tokensAsked_, 1) << "it is kept";
    taken_ = "another";
    issue_ = [] { return "another"; };
    EXPECT_NE(find(relay), nullptr) << "the old one was revoked";
    EXPECT_EQ(tokensAsked_, 2);
    taken_ = "none";
    EXPECT_EQ(find(relay), nullptr);
    EXPECT_EQ(find(relay), nullptr);
    EXPECT_EQ(tokensAsked_, 3) << "a relay that takes none is not asked again";
}

TEST_F(StandInTest, SignsInAtTheRelayThatRuns) {
    const test::TemporaryFolder state;
    setenv("XDG_STATE_HOME", state.path().c_str(), 1);
    const std::string program = TARN_BIN_DIR "/tarn-relay";
    test::Program relay(
        {.arguments = {program, "--listen", "127.0.0.1:0", "--engine", "script", state.write("script", "")},
         .environment = {{"XDG_STATE_HOME", state.path()}}});
    relay.waitForOutput("\n");
    const auto line = relay.out();
    const auto origin = line.substr(line.find("http"), line.find('\n') - line.find("http"));
    issue_ = [program] { return tokenOfRelayProgram(program); };
    const auto found = find(standIn(origin));
    ASSERT_NE(found, nullptr);
    EXPECT_EQ(test::runTask(context_, found->fetchMe()).value().email, "stand-in@localhost");
    relay.signal(SIGTERM);
    relay.wait();
    EXPECT_EQ(find(standIn(origin)), nullptr);
    EXPECT_EQ(tokenOfRelayProgram("/nowhere"), std::nullopt);
    EXPECT_EQ(tokenOfRelayProgram("/bin/false"), std::nullopt);
    EXPECT_EQ(StandIn::ofThisMachine(Url::parse("http://127.0.0.1:8787/tarn").value(),
                                     context_.get_executor(), program),
              nullptr)
        << "nothing stands in for itself";
}

}  // namespace
}  // namespace tarn
