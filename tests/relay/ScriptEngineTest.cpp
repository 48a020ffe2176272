// Scripts are read from text and played on a clock that the test drives.

#include <gmock/gmock.h>

#include <boost/asio/io_context.hpp>
#include <memory>
#include <string>
#include <vector>

#include "TarnRelay/stream/ScriptEngine.h"
#include "support/ManualClock.h"

namespace tarn::relay {
namespace {

using std::chrono::milliseconds;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;

class RecordingSink final : public EventSink {
public:
    void send(std::string json) override { events.push_back(std::move(json)); }
    void close(std::uint16_t code, std::string) override {
        events.push_back("close " + std::to_string(code));
    }
    std::vector<std::string> events;
};

class ScriptEngineTest : public testing::Test {
protected:
    std::unique_ptr<EngineStream> open(const std::string& script) {
        auto steps = parseScript(script);
        EXPECT_TRUE(steps) << steps.error().description;
        engine_ = std::make_unique<ScriptEngine>(std::move(*steps), context_.get_executor(), clock_);
        auto stream = engine_->open({}, sink_);
        EXPECT_TRUE(stream);
        return std::move(*stream);
    }

    void pass(milliseconds time) {
        clock_->advance(time);
        context_.restart();
        context_.poll();
    }

    asio::io_context context_;
    std::shared_ptr<test::ManualClock> clock_ = std::make_shared<test::ManualClock>();
    std::shared_ptr<RecordingSink> sink_ = std::make_shared<RecordingSink>();
    std::unique_ptr<ScriptEngine> engine_;
};

TEST_F(ScriptEngineTest, PlaysInOrderFromTheFirstMessageOn) {
    const auto stream = open(R"({"t":0,"event":{"type":"session.created"}}

# an answer
{"t":0.5,"raw":"not JSON"}
{"t":0.2,"event":{"late":true}}
{"t":2,"close":4001}
)");
    pass(milliseconds(5000));
    EXPECT_THAT(sink_->events, IsEmpty());
    stream->receive("anything");
    EXPECT_THAT(sink_->events, ElementsAre(R"({"type":"session.created"})"));
    stream->receive("more");
    pass(milliseconds(499));
    EXPECT_EQ(sink_->events.size(), 1U);
    pass(milliseconds(1));
    pass(milliseconds(1499));
    EXPECT_THAT(sink_->events, ElementsAre(R"({"type":"session.created"})", "not JSON", R"({"late":true})"));
    pass(milliseconds(1));
    EXPECT_EQ(sink_->events.back(), "close 4001");
}

TEST_F(ScriptEngineTest, WaitsForDecodedAudioAndIgnoresMessagesWithoutAny) {
    const auto stream = open(R"({"after_audio":3,"raw":"heard"})");
    for (const auto* const message : {R"({"type":"session.update","audio":"AAAA"})", "[[",
                                      R"({"type":"input_audio_buffer.append","audio":"?"})",
                                      R"({"type":"input_audio_buffer.append","audio":"AAA="})"}) {
        stream->receive(message);
        EXPECT_THAT(sink_->events, IsEmpty()) << message;
    }
    stream->receive(R"({"type":"input_audio_buffer.append","audio":"AA=="})");
    EXPECT_THAT(sink_->events, ElementsAre("heard"));
}

TEST_F(ScriptEngineTest, NamesTheLineOfABadScript) {
    for (const std::string bad :
         {"{", "[]", "{}", R"({"t":1})", R"({"raw":"x"})", R"({"t":"1","raw":"x"})", R"({"t":-1,"raw":"x"})",
          R"({"t":1e300,"raw":"x"})", R"({"t":1,"after_audio":2,"raw":"x"})",
          R"({"after_audio":-2,"raw":"x"})", R"({"t":1,"raw":"x","close":1000})", R"({"t":1,"event":"x"})",
          R"({"t":1,"raw":1})", R"({"t":1,"close":999})", R"({"t":1,"close":70000})",
          R"({"t":1,"raw":"x","extra":1})", "{\"t\":1,\"raw\":\"\xff\"}"}) {
        const auto steps = parseScript("# first\r\n\n" + bad + "\n");
        ASSERT_FALSE(steps) << bad;
        EXPECT_THAT(steps.error().description, StartsWith("line 3: ")) << bad;
    }
}

}  // namespace
}  // namespace tarn::relay
