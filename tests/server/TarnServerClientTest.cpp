// The server client against a real HTTP server on loopback that answers what a test tells it to.

#include <gmock/gmock.h>

#include <boost/asio/io_context.hpp>

#include "TarnApp/server/RealTarnServerClient.h"
#include "TarnPlatform/webserver/HttpServer.h"
#include "support/RunTask.h"

namespace tarn {
namespace {

using PlainHttp = RealTarnServerClient::PlainHttp;

class TarnServerClientTest : public testing::Test {
protected:
    TarnServerClientTest() {
        server_ = HttpServer::listen(network_, "127.0.0.1", 0,
                                     [this](ServerRequest request) { return answer(std::move(request)); }, {})
                      .value();
    }

    Task<ServerReply> answer(ServerRequest request) {
        requests_.push_back(std::move(request));
        ServerReply reply = answer_;
        co_return reply;
    }
    std::shared_ptr<TarnServerClient> clientOf(const std::string& base,
                                               PlainHttp plainHttp = PlainHttp::onlyLoopback) {
        return std::make_shared<RealTarnServerClient>(
            Url::parse(base).value(), [this] { return fixedPat(pat_)(); }, HttpSession::make(network_),
            network_, plainHttp);
    }
    std::string base(const std::string& path = "/tarn") const {
        return "http://127.0.0.1:" + std::to_string(server_->port()) + path;
    }
    template <typename T>
    T run(Task<T> task) {
        return test::runTask(context_, std::move(task));
    }
    /// The outcome of `fetchMe`, written out.
    std::string outcome(const std::shared_ptr<TarnServerClient>& client) {
        const auto result = run(client->fetchMe());
        return result ? result->userId + " " + result->email : shown(result.error());
    }
    static std::string shown(const TarnServerError& error) {
        if (const auto* const http = error.as<TarnServerError::Http>()) {
            return "http " + std::to_string(http->status) + " " + http->body.value_or("(none)");
        }
        if (error.as<TarnServerError::Decoding>() != nullptr) {
            return "decoding";
        }
        if (error.as<TarnServerError::Transport>() != nullptr) {
            return "transport";
        }
        return "notAuthenticated";
    }

    asio::io_context context_{1};
    NetworkContext network_{context_.get_executor(), Clock::system(), {}, TlsTrust::system()};
    std::unique_ptr<HttpServer> server_;
    ServerResponse answer_{200, {}, R"({"user_id":"u1","email":"a@b"})"};
    std::vector<ServerRequest> requests_;
    std::optional<std::string> pat_ = "secret";
};

TEST_F(TarnServerClientTest, AsksUnderTheBasePathWithTheTokenOfTheMoment) {
    EXPECT_EQ(outcome(clientOf(base())), "u1 a@b");
    pat_ = "other";
    EXPECT_EQ(outcome(clientOf(base("/tarn/"))), "u1 a@b");
    pat_ = "";
    EXPECT_TRUE(run(clientOf(base())->logout()));
    ASSERT_EQ(requests_.size(), 3U);
    const char* const expected[][4] = {{"GET", "/tarn/api/me", "Bearer secret", ""},
                                       {"GET", "/tarn/api/me", "Bearer other", ""},
                                       {"POST", "/tarn/api/logout", "Bearer", "{}"}};
    for (std::size_t i = 0; i < requests_.size(); ++i) {
        EXPECT_EQ(requests_[i].method, expected[i][0]);
        EXPECT_EQ(requests_[i].target, expected[i][1]);
        const std::string authorization(headerValue(requests_[i].headers, "Authorization"));
        EXPECT_EQ(authorization.substr(0, authorization.find_last_not_of(' ') + 1), expected[i][2]);
        EXPECT_EQ(headerValue(requests_[i].headers, "Content-Type"), "application/json");
        EXPECT_EQ(requests_[i].body, expected[i][3]);
    }
}

TEST_F(TarnServerClientTest, SortsAnswersIntoTheirErrors) {
    struct Case {
        int status;
        std::string body;
        std::string fetched;
    };
    const auto client = clientOf(base());
    for (const auto& entry :
         {Case{200, R"({"userId":"u2","email":"c@d","more":1})", "u2 c@d"},
          Case{299, R"({"user_id":"u3","email":"e@f"})", "u3 e@f"},
          Case{200, R"({"email":"a@b"})", "decoding"}, Case{200, "<html>", "decoding"},
          Case{401, "expired", "http 401 expired"}, Case{403, "", "http 403 "},
          Case{500, "broken", "http 500 broken"}, Case{500, "\xff\xfe", "http 500 (none)"},
          Case{302, R"({"user_id":"u1","email":"a@b"})", R"(http 302 {"user_id":"u1","email":"a@b"})"}}) {
        SCOPED_TRACE(entry.body);
        answer_ = {entry.status, {}, entry.body};
        EXPECT_EQ(outcome(client), entry.fetched);
        const auto loggedOut = run(client->logout());
        EXPECT_EQ(loggedOut.has_value(), entry.status / 100 == 2)
            << "a good status is enough, whatever the body";
    }
    answer_ = {204, {}, ""};
    EXPECT_TRUE(run(client->logout()));
}

TEST_F(TarnServerClientTest, SendsNothingWithoutATokenOrWithOneThatWouldBreakOutOfItsHeader) {
    for (const char* const token : {"", "a\r\nX-Evil: 1", "a\nb", "a\rb", "\t", "a\x7f", "a\x01"}) {
        pat_ = *token == 0 ? std::nullopt : std::optional<std::string>(token);
        const auto client = clientOf(base());
        const std::string expected = pat_ ? "transport" : "notAuthenticated";
        EXPECT_EQ(outcome(client), expected);
        EXPECT_EQ(shown(run(client->logout()).error()), expected);
        EXPECT_EQ(shown(run(client->openTranslateStream({}, "de", {}, "none", {})).error()), expected);
    }
    EXPECT_EQ(requests_.size(), 0U);
}

TEST_F(TarnServerClientTest, SendsATokenUnencryptedOnlyWhereThatIsAllowed) {
    // A name that is looked up to this machine stands for a server that is not known to be it.
    network_.lookUp = [](std::string) -> Task<Result<std::vector<asio::ip::address>>> {
        std::vector<asio::ip::address> here{asio::ip::make_address("127.0.0.1")};
        co_return here;
    };
    const auto elsewhere = "http://relay.home:" + std::to_string(server_->port()) + "/tarn";
    const auto client = clientOf(elsewhere);
    const auto refused = run(client->fetchMe());
    ASSERT_FALSE(refused);
    EXPECT_THAT(diagnosis(refused.error()), testing::HasSubstr("relay.home"));
    EXPECT_EQ(shown(run(client->openTranslateStream({}, "de", {}, "none", {})).error()), "transport");
    EXPECT_EQ(requests_.size(), 0U);
    EXPECT_EQ(outcome(clientOf(elsewhere, PlainHttp::anywhere)), "u1 a@b");
}

TEST_F(TarnServerClientTest, CallsAMissingServerATransportFailure) {
    const auto client = clientOf(base());
    server_.reset();
    EXPECT_EQ(outcome(client), "transport");
}

TEST(TarnServerErrorTest, KnowsWhichFailuresASignInCures) {
    const auto transport = [](int status) {
        return TarnServerError::transport({ErrorKind::upgrade, "refused", status});
    };
    EXPECT_TRUE(TarnServerError::notAuthenticated().meansSignedOut());
    EXPECT_TRUE(TarnServerError::http(401, "x").meansSignedOut());
    EXPECT_TRUE(transport(401).meansSignedOut());
    EXPECT_FALSE(transport(403).meansSignedOut());
    EXPECT_FALSE(TarnServerError::http(500, "x").meansSignedOut());
    EXPECT_EQ(describe(transport(403)), "Refused");
    EXPECT_EQ(diagnosis(TarnServerError::http(500, "secret body")), "the server answered with status 500");
}

TEST(TarnServerErrorTest, SaysWithTheServersOwnSentenceWhatHappened) {
    for (const auto& [body, quoted] : {std::pair<std::string, std::string>{"", ""},
                                       {R"({"error":"quota\n used"})", ": quota  used"},
                                       {"\x1b[2Jused up\n", ":  [2Jused up"},
                                       {"<html>", ""},
                                       {"\xff\xfe", ""}}) {
        EXPECT_EQ(describe(TarnServerError::http(500, body)), "The server answered with status 500" + quoted);
    }
    EXPECT_EQ(explain(TarnServerError::http(0, "no response")), "no response");
}

}  // namespace
}  // namespace tarn
