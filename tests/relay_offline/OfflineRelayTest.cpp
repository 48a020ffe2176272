// The real program with the offline engine, whose parts are commands.

#include <gmock/gmock.h>
#include <signal.h>
#include <sys/stat.h>

#include <boost/json.hpp>
#include <fstream>
#include <optional>

#include "SpokenText.h"
#include "TarnCore/realtime/EventNames.h"
#include "TarnPlatform/net/Base64.h"
#include "platform_net_server/RawPeer.h"
#include "relay/RelayProgram.h"

namespace tarn::test {
namespace {

namespace json = boost::json;

using testing::IsEmpty;
using testing::StartsWith;

/// Takes sound at a hundred times its pace and hears one utterance in every 5 s.
constexpr auto recogniser = R"py(
import sys, time
steps = 0
while len(sys.stdin.buffer.read(3200)) == 3200:
    time.sleep(0.001)
    steps += 1
    if steps % 50 == 0: print('{"text":"%d","final":true}' % (steps // 50), flush=True)
)py";
const std::string synthesiser = R"(while read -r line; do echo '{"rate":16000,"bytes":0}'; done)";

class OfflineRelay : public testing::Test {
protected:
    /// A client's stream of the program, with a translator.
    void open(const std::string& translator) {
        const auto script = state_.write("hear.py", recogniser);
        program_ = startRelay(state_, {"--listen", "127.0.0.1:0", "--recogniser", "python3 " + script,
                                       "--translator", translator, "--synthesiser", synthesiser});
        const auto line = program_->readUntil('\n', 200, soon()).value_or(":0");
        auto token = runRelay(state_, {"issue-token", "ada@example.org"}).output;
        token.resize(43);
        peer_.emplace(static_cast<std::uint16_t>(std::stoi(line.substr(line.rfind(':') + 1))));
        ASSERT_THAT(peer_->upgrade("/tarn/ws/translate-stream?target=es&source=en",
                                   "Authorization: Bearer " + token + "\r\n"),
                    StartsWith("HTTP/1.1 101"));
    }

    TemporaryFolder state_;
    std::unique_ptr<ChildProcess> program_;
    std::optional<RawPeer> peer_;
};

TEST_F(OfflineRelay, HearsAllOfALongRecordingThatIsSentAtOnce) {
    open("cat");
    const auto sound = relay::silence(0.05);
    const auto message = json::serialize(json::object{
        {"type", events::audioAppend}, {"audio", base64Encode(std::as_bytes(std::span(sound)))}});
    for (int piece = 0; piece < 100 * 20; ++piece) {
        ASSERT_TRUE(peer_->sendFrame(textFrame, message));
    }
    std::vector<std::string> complaints;
    int heard = 0;
    while (heard < 20) {
        const auto frame = peer_->readFrame();
        ASSERT_EQ(frame.opcode, textFrame) << heard;
        const auto event = json::parse(frame.payload).as_object();
        const auto type = std::string_view(event.at("type").as_string());
        if (type == events::tarnError) {
            complaints.emplace_back(event.at("error").as_string());
        }
        heard += type == events::translationDone ? 1 : 0;
    }
    EXPECT_THAT(complaints, IsEmpty());
}

TEST_F(OfflineRelay, EndsAtOnceThoughItsTranslatorHangs) {
    const auto started = state_.file("started");
    ASSERT_EQ(::mkfifo(started.c_str(), 0600), 0);
    open("read -r line; echo asked > " + started + "; exec sleep 1000");
    std::string asked;
    std::ifstream(started) >> asked;
    ASSERT_EQ(asked, "asked");
    ::kill(program_->id(), SIGTERM);
    auto frame = peer_->readFrame();
    while (frame.opcode == textFrame) {
        frame = peer_->readFrame();
    }
    EXPECT_EQ(RawPeer::closeCode(frame), 1001);
    peer_->sendFrame(closeFrame, "\x03\xe9");
    EXPECT_EQ(program_->ending(soon()), "ended with status 0");
}

}  // namespace
}  // namespace tarn::test
