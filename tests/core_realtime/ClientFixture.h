#pragma once

#include <gtest/gtest.h>

#include <boost/asio/io_context.hpp>
#include <boost/json/parse.hpp>
#include <memory>
#include <string>
#include <vector>

#include "TarnCore/realtime/QwenClient.h"
#include "support/LogCapture.h"
#include "support/ManualClock.h"
#include "support/RunTask.h"
#include "support/TestService.h"

namespace tarn::test {

/// A client and the server it talks to, both on the test's own thread.
class ClientFixture : public testing::Test {
protected:
    std::shared_ptr<QwenClient> makeClient(const Url& url, const NetworkContext& with,
                                           const QwenConfig& config = {std::nullopt, "es", std::nullopt,
                                                                       "none", 500}) {
        return std::make_shared<QwenClient>(
            url, "Bearer secret", config,
            [this](std::vector<std::byte> pcm) { calls.push("audio " + std::to_string(pcm.size())); },
            [this](TranscriptKind kind, std::string text, bool isFinal) {
                calls.push((kind == TranscriptKind::source ? "source " : "translation ") + text +
                           (isFinal ? "|" : "…"));
            },
            [this](TarnServerEvent event) {
                calls.push(event.kind == TarnServerEvent::Kind::unauthorized ? "unauthorized"
                                                                             : "error " + event.message);
            },
            with);
    }
    std::shared_ptr<QwenClient> makeClient(const Url& url) { return makeClient(url, network); }

    template <typename T>
    T run(Task<T> task) {
        return runTask(context, std::move(task));
    }
    std::string nextMessage(TestService& service) { return run(service.messages.next()).value_or(""); }
    std::string nextCall() { return run(calls.next()).value_or(""); }

    static std::vector<std::byte> silence(std::size_t bytes) { return std::vector<std::byte>(bytes); }
    static std::string eventId(const std::string& message) {
        return std::string(boost::json::parse(message).as_object().at("event_id").as_string());
    }

    asio::io_context context{1};
    NetworkContext network{context.get_executor(), Clock::system(), {}, TlsTrust::system()};
    LogCapture log;
    EventQueue<std::string> calls;
};

}  // namespace tarn::test
