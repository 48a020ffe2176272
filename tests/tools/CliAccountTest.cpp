// Arguments, sign-in and exit statuses of the command line.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <pty.h>
#include <termios.h>
#include <unistd.h>

#include <array>
#include <filesystem>
#include <utility>

#include "CliFixture.h"
#include "support/Blackhole.h"

namespace tarn {
namespace {

using testing::HasSubstr;

class CliAccount : public test::CliFixture {};

TEST_F(CliAccount, RefusesArgumentsThatMakeNoSense) {
    std::vector<std::vector<std::string>> wrong = {{},
                                                   {"logout", "--source", "mic"},
                                                   {"dance"},
                                                   {"--input", "a.wav", "--resume", "--no-resume"},
                                                   {"--source", "mic", "--turn-others-down", "7"},
                                                   {"--source", "mic", "--no-resume", "--give-up", "60"}};
    const std::pair<const char*, const char*> options[] = {
        {"--source", "mic"}, {"--clone", "sometimes"}, {"--rate", "3"},
        {"--format", "xml"}, {"--drain", "nan"},       {"--duration", "1e30"},
        {"--to", ""},        {"--server", "ftp://x"},  {"--server", "http://far.example.org/tarn"},
        {"--give-up", "-1"}, {"--give-up", "nan"},     {"--give-up", "60"}};
    for (const auto& [option, value] : options) {
        wrong.push_back({"--input", "a.wav", option, value});
    }
    for (const auto& arguments : wrong) {
        const auto cli = start(arguments);
        EXPECT_EQ(cli->wait(), 2) << testing::PrintToString(arguments);
        EXPECT_FALSE(cli->err().empty());
    }
    const auto help = start({"--help"});
    EXPECT_EQ(help->wait(), 0);
    EXPECT_THAT(help->out(), HasSubstr("--silence-ms"));
}

TEST_F(CliAccount, SignsInShowsItAndSignsOut) {
    startRelay("");
    const auto issued = world.write("token", token + "\n");
    token.clear();  // from here on only what was stored counts
    const auto before = start({"status"});
    EXPECT_EQ(before->wait(), 3);
    EXPECT_THAT(before->out(), HasSubstr("not signed in"));

    const auto login = start({"login", "--token-stdin"}, issued);
    EXPECT_EQ(login->wait(), 0) << login->err();
    EXPECT_EQ(login->out(), "signed in as me@example.org\n");

    const auto status = start({"status"});
    EXPECT_EQ(status->wait(), 0) << status->err();
    EXPECT_THAT(status->out(), HasSubstr("signed in as me@example.org"));

    const auto logout = start({"logout"});
    EXPECT_EQ(logout->wait(), 0);
    EXPECT_EQ(start({"status"})->wait(), 3);
    // The server has forgotten the token as well.
    const auto again = start({"login", "--token-stdin"}, issued);
    EXPECT_EQ(again->wait(), 3);
    EXPECT_THAT(again->err(), HasSubstr("refused"));
}

TEST_F(CliAccount, SendsATokenToNoOtherServerAndSignsOutThereNobody) {
    startRelay("");
    const auto issued = world.write("token", token + "\n");
    token.clear();
    ASSERT_EQ(start({"login", "--token-stdin"}, issued)->wait(), 0);
    const test::Blackhole other("127.0.0.1");  // a request to it would wait
    const auto own = std::exchange(server, "http://127.0.0.1:" + std::to_string(other.port()) + "/tarn");
    const auto status = start({"status"});
    EXPECT_EQ(status->wait(), 3);
    EXPECT_THAT(status->out(), HasSubstr("not signed in here, but at " + own.substr(0, own.rfind('/'))));
    const auto logout = start({"logout"});
    EXPECT_EQ(logout->wait(), 0);
    EXPECT_THAT(logout->err(), HasSubstr("is kept"));
    server = own;
    EXPECT_EQ(start({"status"})->wait(), 0);
    relay.reset();
    const auto untold = start({"logout"});
    EXPECT_EQ(untold->wait(), 0);
    EXPECT_THAT(untold->err(), HasSubstr("could not be told"));
    EXPECT_EQ(untold->out(), "signed out\n");
    EXPECT_EQ(start({"status"})->wait(), 3);
}

TEST_F(CliAccount, ShowsNothingOfATokenThatIsTyped) {
    int terminal = -1;
    std::array<char, 64> name{};
    int typed = -1;
    ASSERT_EQ(::openpty(&typed, &terminal, name.data(), nullptr, nullptr), 0);
    const auto login = start({"login", "--token-stdin"}, name.data());
    login->waitForError("access token: ");
    ASSERT_EQ(::write(typed, "se cret\n", 8), 8);
    EXPECT_EQ(login->wait(), 1);
    ::fcntl(typed, F_SETFL, O_NONBLOCK);
    std::string echoed(100, '\0');
    const auto size = ::read(typed, echoed.data(), echoed.size());
    EXPECT_LE(size, 0) << echoed;
    termios now{};
    ASSERT_EQ(::tcgetattr(terminal, &now), 0);
    EXPECT_NE(now.c_lflag & ECHO, 0U) << "as it was before";
    ::close(terminal);
    ::close(typed);
}

TEST_F(CliAccount, TakesNoTokenThatCannotBeOne) {
    const std::string texts[] = {"\n", "two words\n", std::string("ze\0ro\n", 6), std::string(10000, 'a')};
    for (const auto& text : texts) {
        const auto cli = start({"login", "--token-stdin"}, world.write("token", text));
        EXPECT_EQ(cli->wait(), 1);
        EXPECT_THAT(cli->err(), HasSubstr("holds no access token"));
    }
    EXPECT_FALSE(std::filesystem::exists(world.file("data/tarn")));
}

TEST_F(CliAccount, TellsARefusedTokenFromAServerThatIsNotThere) {
    startRelay("");
    const auto input = world.write("in.raw", std::string(3200, '\0'));
    const auto valid = token;
    token = "wrong";
    const auto refused = start({"--input", "-", "--to", "es"}, input);
    EXPECT_EQ(refused->wait(), 3);
    EXPECT_THAT(refused->err(), HasSubstr("401"));
    token.clear();
    EXPECT_EQ(start({"--input", "-", "--to", "es"}, input)->wait(), 3);
    token = valid;
    relay.reset();
    const auto gone = start({"--input", "-", "--to", "es"}, input);
    EXPECT_EQ(gone->wait(), 1);
    EXPECT_THAT(gone->err(), HasSubstr("connection refused"));
    EXPECT_EQ(start({"status"})->wait(), 1);
}

}  // namespace
}  // namespace tarn
