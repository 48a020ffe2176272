// The client when the other side refuses, breaks the protocol, falls silent or dies.
#include <gmock/gmock.h>

#include <boost/asio/bind_cancellation_slot.hpp>
#include <boost/asio/cancellation_signal.hpp>
#include <boost/asio/co_spawn.hpp>
#include <boost/asio/detached.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/read.hpp>
#include <boost/asio/use_future.hpp>
#include <future>

#include "ClientFixture.h"
#include "support/Blackhole.h"
#include "support/RawWebSocketPeer.h"
#include "support/TlsProxy.h"

namespace tarn {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class QwenClientFault : public test::ClientFixture {
protected:
    static Url local(std::uint16_t port, const std::string& root = "ws://127.0.0.1") {
        return Url::parse(root + ":" + std::to_string(port) + "/stream").value();
    }
};

TEST_F(QwenClientFault, TellsARefusedTokenByTheStatusOfTheUpgrade) {
    for (const int status : {401, 403, 500, 301}) {
        test::TestService service(network, status);
        const auto client = makeClient(service.url());
        const auto connected = run(client->connect());
        ASSERT_FALSE(connected);
        EXPECT_EQ(connected.error().kind, ErrorKind::upgrade);
        EXPECT_EQ(connected.error().httpStatus, status);
        EXPECT_EQ(calls.tryNext(), status == 401 ? std::optional<std::string>("unauthorized") : std::nullopt);
        run(client->close());
    }
    EXPECT_THAT(log.lines("[qwen]"), IsEmpty());
}

struct RawCase {
    const char* name;
    std::string bytes;
    std::vector<std::string> calls;
    bool survives;
};

class RawFrames : public QwenClientFault, public testing::WithParamInterface<RawCase> {};

TEST_P(RawFrames, AreTakenPassedOverOrEndTheConnection) {
    const auto marker = test::serverFrame(1, R"({"type":"tarn.error","error":"end"})");
    test::RawWebSocketPeer peer(context.get_executor(), GetParam().bytes + marker,
                                test::RawWebSocketPeer::Afterwards::stay);
    const auto client = makeClient(local(peer.port()));
    ASSERT_TRUE(run(client->connect()));
    for (const auto& call : GetParam().calls) {
        EXPECT_EQ(nextCall(), call);
    }
    if (GetParam().survives) {
        EXPECT_EQ(nextCall(), "error end");
        EXPECT_TRUE(client->isAlive());
        EXPECT_THAT(log.lines(), IsEmpty());
        client->markDead();  // this peer answers no goodbye
    } else {
        run(client->waitDead());
        EXPECT_FALSE(calls.tryNext());
        EXPECT_EQ(log.lines("[qwen] recv ended: ").size(), 1U);
        run(client->close());
    }
}

std::string halfOf(std::string frame) {
    frame[1] = static_cast<char>(frame[1] + 1);  // one byte more than there is: the next frame is torn apart
    return frame;
}

const std::string hola = R"({"type":"response.audio_transcript.done","transcript":"hola"})";

INSTANTIATE_TEST_SUITE_P(
    Table, RawFrames,
    testing::Values(
        RawCase{"binaryIsReadAsText", test::serverFrame(2, hola), {"translation hola|"}, true},
        RawCase{"binaryNonsenseIsPassedOver", test::serverFrame(2, "\xff\xfe{}"), {}, true},
        RawCase{"notAnObjectIsPassedOver", test::serverFrame(1, "[1,2]"), {}, true},
        RawCase{"deepNestingIsPassedOver", test::serverFrame(1, std::string(70000, '[')), {}, true},
        RawCase{"pingIsAnswered", test::serverFrame(9, "x"), {}, true},
        RawCase{"textThatIsNotUtf8Ends", test::serverFrame(1, "{\"type\":\"\xc3\x28\"}"), {}, false},
        RawCase{"reservedOpcodeEnds", test::serverFrame(5, "x"), {}, false},
        RawCase{"tornFrameEnds", halfOf(test::serverFrame(1, hola)), {}, false},
        RawCase{"announced17MiBEnds", std::string("\x81\x7f\0\0\0\0\x01\x10\0\0", 10), {}, false}),
    [](const auto& test) { return std::string(test.param.name); });

TEST_F(QwenClientFault, NoticesACutInTheMiddleOfAFrame) {
    const auto frame = test::serverFrame(1, hola);
    test::RawWebSocketPeer peer(context.get_executor(), frame.substr(0, frame.size() / 2),
                                test::RawWebSocketPeer::Afterwards::close);
    const auto client = makeClient(local(peer.port()));
    ASSERT_TRUE(run(client->connect()));
    EXPECT_THAT(run(client->waitDead()), HasSubstr("cut"));
    EXPECT_EQ(log.lines("[qwen] recv ended: ").size(), 1U);
    EXPECT_FALSE(calls.tryNext());
}

TEST_F(QwenClientFault, GivesUpOnAPeerThatTakesNothingAndSaysSoOnce) {
    const auto clock = std::make_shared<test::ManualClock>();
    network.clock = clock;
    test::RawWebSocketPeer peer(context.get_executor(), "", test::RawWebSocketPeer::Afterwards::stay);
    const auto client = makeClient(local(peer.port()));
    ASSERT_TRUE(run(client->connect()));
    // More than any socket buffer holds, so that the sending stops half way.
    for (int i = 0; i < 2; ++i) {
        asio::co_spawn(context, client->sendAudio(silence(24U * 1024 * 1024)), asio::detached);
    }
    while (context.poll() != 0) {
        context.restart();
    }
    context.restart();
    EXPECT_TRUE(client->isAlive());
    clock->advance(WebSocketTask::sendLimit);
    EXPECT_THAT(run(client->waitDead()), HasSubstr("20 s"));
    run(client->sendAudio(silence(1600)));
    // Reading or sending may notice first; only the first of them says so.
    EXPECT_THAT(log.lines("[qwen]"), ElementsAre(HasSubstr("sound is left out"),
                                                 HasSubstr("the server has taken nothing for 20 s")));
}

TEST_F(QwenClientFault, SaysWhenThePeerStopsAnsweringAndWhenItAnswersAgain) {
    const auto clock = std::make_shared<test::ManualClock>();
    network.clock = clock;
    using State = ConnectionHealth::State;
    std::vector<State> told;
    const auto connectTo = [&](const Url& url) {
        const auto client = makeClient(url);
        client->onHealth = [&told](const ConnectionHealth& health) { told.push_back(health.state); };
        EXPECT_TRUE(run(client->connect()));
        return client;
    };
    const auto pass = [&](std::chrono::milliseconds time) {
        for (auto gone = 0ms; gone < time; gone += WebSocketTask::pingEvery / 2) {
            clock->advance(WebSocketTask::pingEvery / 2);
            context.restart();
            context.run_for(5ms);  // for what the sockets bring
        }
    };
    test::TestService service(network);
    const auto answered = connectTo(service.url());
    pass(5s);
    EXPECT_THAT(told, IsEmpty());
    run(answered->close());

    test::RawWebSocketPeer mute(context.get_executor(), "", test::RawWebSocketPeer::Afterwards::stay);
    const auto unanswered = connectTo(local(mute.port()));
    pass(WebSocketTask::pingEvery + WebSocketTask::pongLimit + WebSocketTask::pingEvery / 2);
    EXPECT_THAT(told, ElementsAre(State::stalled));
    EXPECT_TRUE(unanswered->isAlive());
    constexpr int pong = 10;
    mute.send(test::serverFrame(pong, ""));
    pass(WebSocketTask::pingEvery);
    EXPECT_THAT(told, ElementsAre(State::stalled, State::answering));
    pass(5s);
    EXPECT_THAT(told, ElementsAre(State::stalled, State::answering, State::stalled));
    asio::co_spawn(context, unanswered->close(), asio::detached);
    pass(WebSocketTask::closeLimit);
}

TEST_F(QwenClientFault, ConnectingEndsAtItsLimitWhateverItWaitsFor) {
    const auto clock = std::make_shared<test::ManualClock>();
    network.clock = clock;
    const test::Blackhole dead("127.0.0.1");
    asio::ip::tcp::acceptor mute(context, {asio::ip::address_v4::loopback(), 0});
    NetworkContext lost = network;
    lost.lookUp = [](std::string) -> Task<Result<std::vector<asio::ip::address>>> {
        asio::steady_timer never(co_await asio::this_coro::executor, asio::steady_timer::time_point::max());
        co_await never.async_wait(asValue);
        co_return failure(ErrorKind::resolution, "");
    };
    const auto silent = mute.local_endpoint().port();
    const std::tuple<const char*, Url, NetworkContext> cases[] = {
        {"no address answers", local(dead.port()), network},
        {"the upgrade is not answered", local(silent), network},
        {"TLS is not answered", local(silent, "wss://127.0.0.1"), network},
        {"the name is not found", local(1, "ws://nowhere.test"), lost},
    };
    const auto settle = [&] {
        for (int i = 0; i < 50; ++i) {
            context.restart();
            context.run_for(1ms);
        }
    };
    for (const auto& [name, url, itsNetwork] : cases) {
        SCOPED_TRACE(name);
        const auto client = makeClient(url, itsNetwork);
        std::optional<Result<void>> result;
        asio::co_spawn(context, client->connect(),
                       [&](const std::exception_ptr&, Result<void> value) { result = std::move(value); });
        settle();
        clock->advance(59999ms);
        settle();
        EXPECT_FALSE(result);
        clock->advance(1ms);
        for (int i = 0; i < 2000 && !result; ++i) {
            context.restart();
            context.run_one_for(5ms);
        }
        ASSERT_TRUE(result);
        ASSERT_FALSE(*result);
        EXPECT_EQ(result->error().kind, ErrorKind::timeout);
    }
}

TEST_F(QwenClientFault, ACancelledCallerEndsTheAttemptToConnect) {
    asio::ip::tcp::acceptor mute(context, {asio::ip::address_v4::loopback(), 0});
    const auto client = makeClient(local(mute.local_endpoint().port()));
    asio::cancellation_signal signal;
    std::exception_ptr ended;
    asio::co_spawn(
        context, client->connect(),
        asio::bind_cancellation_slot(
            signal.slot(), [&](std::exception_ptr error, const Result<void>&) { ended = std::move(error); }));
    auto accepted = mute.async_accept(asio::use_future);
    while (accepted.wait_for(std::chrono::seconds(0)) != std::future_status::ready) {
        context.run_one();
    }
    auto socket = accepted.get();
    signal.emit(asio::cancellation_type::terminal);
    std::string request;
    const auto end =
        run([](asio::ip::tcp::socket& peer, std::string& text) -> Task<boost::system::error_code> {
            const auto [error, size] = co_await asio::async_read(peer, asio::dynamic_buffer(text), asValue);
            co_return error;
        }(socket, request));
    EXPECT_EQ(end, asio::error::eof);
    EXPECT_TRUE(ended);
}

TEST_F(QwenClientFault, MeetsOnlyTheRightServerOverTls) {
    const test::TestCertificates certificates;
    network.trust = TlsTrust::fromFile(certificates.authorityFile()).value();
    test::TestService service(network);
    const test::TlsProxy right(context.get_executor(), certificates.issue("DNS:localhost"), service.port());
    const test::TlsProxy wrong(context.get_executor(), certificates.issue("DNS:other.test"), service.port());
    const auto secure = [](std::uint16_t port) { return local(port, "wss://localhost"); };
    const auto client = makeClient(secure(right.port()));
    const auto connected = run(client->connect());
    ASSERT_TRUE(connected) << connected.error().description;
    EXPECT_EQ(eventId(nextMessage(service)), "evt_init_1");
    (*run(service.clients.next()))->send(hola);
    EXPECT_EQ(nextCall(), "translation hola|");
    run(client->close());
    const auto refused = run(makeClient(secure(wrong.port()))->connect());
    ASSERT_FALSE(refused);
    EXPECT_EQ(refused.error().kind, ErrorKind::tls);
}

TEST_F(QwenClientFault, ADeadAddressDoesNotHoldUpALivingOne) {
    const auto clock = std::make_shared<test::ManualClock>();
    network.clock = clock;
    test::TestService service(network);
    const test::Blackhole dead("127.0.0.2", service.port());
    network.lookUp = [](std::string) -> Task<Result<std::vector<asio::ip::address>>> {
        co_return std::vector{asio::ip::make_address("127.0.0.2"), asio::ip::make_address("127.0.0.1")};
    };
    const auto client = makeClient(local(service.port(), "ws://two.test"));
    bool connected = false;
    asio::co_spawn(context, client->connect(), [&](const std::exception_ptr&, const Result<void>& result) {
        connected = result.has_value();
    });
    for (int i = 0; i < 20; ++i) {
        context.restart();
        context.run_for(std::chrono::milliseconds(1));
    }
    EXPECT_FALSE(connected);
    clock->advance(std::chrono::milliseconds(250));
    EXPECT_EQ(eventId(nextMessage(service)), "evt_init_1");
    run(client->close());

    // One that refuses does not even take that time.
    network.lookUp = [](std::string) -> Task<Result<std::vector<asio::ip::address>>> {
        co_return std::vector{asio::ip::make_address("::1"), asio::ip::make_address("127.0.0.3"),
                              asio::ip::make_address("127.0.0.1")};
    };
    const auto next = makeClient(local(service.port(), "ws://three.test"));
    EXPECT_TRUE(run(next->connect()));
    run(next->close());
}

TEST_F(QwenClientFault, NamesWhatIsWrongWithAnAddressThatCannotBeReached) {
    std::uint16_t closedPort = 0;
    {
        const asio::ip::tcp::acceptor gone(context, {asio::ip::address_v4::loopback(), 0});
        closedPort = gone.local_endpoint().port();
    }
    const auto refused = run(makeClient(local(closedPort))->connect());
    ASSERT_FALSE(refused);
    EXPECT_EQ(refused.error().kind, ErrorKind::connection);
    EXPECT_THAT(refused.error().description, HasSubstr("connection refused"));

    const auto unknown = run(makeClient(local(80, "ws://no-such-host.invalid"))->connect());
    ASSERT_FALSE(unknown);
    EXPECT_EQ(unknown.error().kind, ErrorKind::resolution);
    EXPECT_THAT(unknown.error().description, HasSubstr("no-such-host.invalid"));
}

}  // namespace
}  // namespace tarn
