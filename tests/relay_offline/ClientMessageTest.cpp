#include "TarnRelay/offline/ClientMessage.h"

#include <gmock/gmock.h>

namespace tarn::relay {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

TEST(ClientMessage, TellsTheKindsApartAndGivesTheSamplesOfAnAppendedChunk) {
    const auto message =
        parseClientMessage(R"({"event_id":"evt_a_2","type":"input_audio_buffer.append","audio":"AQD//wCA"})");
    ASSERT_TRUE(message);
    EXPECT_THAT(std::get<AudioAppend>(*message).samples, ElementsAre(1, -1, -32768));
    EXPECT_TRUE(
        std::holds_alternative<SessionUpdate>(parseClientMessage(R"({"type":"session.update"})").value()));
    EXPECT_TRUE(std::holds_alternative<OtherMessage>(parseClientMessage(R"({"type":"tomorrow"})").value()));
}

TEST(ClientMessage, SaysWhatIsWrongWithNonsense) {
    const auto append = [](const std::string& audio) {
        return R"({"type":"input_audio_buffer.append","audio":)" + audio + "}";
    };
    const std::vector<std::pair<std::string, const char*>> cases{
        {"", "not JSON"},
        {"{\"type\":", "not JSON"},
        {"\xff\xfe", "not JSON"},
        {std::string(100, '[') + std::string(100, ']'), "not JSON"},
        {R"(["session.update"])", "not an object"},
        {R"({"type":7})", "not an object"},
        {append("12"), "not base64"},
        {append("\"A*==\""), "not base64"},
        {append("\"AAAA\""), "middle of a sample"},
        {append("\"" + std::string(largestClientMessage, 'A') + "\""), "larger than 1 MiB"},
    };
    for (const auto& [text, reason] : cases) {
        const auto message = parseClientMessage(text);
        ASSERT_FALSE(message) << text.substr(0, 60);
        EXPECT_THAT(message.error(), HasSubstr(reason));
    }
}

}  // namespace
}  // namespace tarn::relay
