// The subtitles in a file, on a real bus and on the page, as sessions show them and the user wants them.
#include "TarnApp/elsewhere/SubtitlesElsewhere.h"

#include <gmock/gmock.h>
#include <sys/stat.h>

#include <QCoreApplication>
#include <filesystem>

#include "TarnPlatform/bus/BusConnection.h"
#include "platform_net_server/RawPeer.h"
#include "support/Program.h"
#include "support/keyring/PrivateKeyring.h"
#include "support/views/ViewWorld.h"

namespace tarn::test {
namespace {

using testing::HasSubstr;

class SubtitlesElsewhereTest : public testing::Test {
protected:
    SubtitlesElsewhereTest() {
        world_.renew(true);
        world_.vm()->startAll();
        world_.settle();
        elsewhere_ = make();
    }
    ~SubtitlesElsewhereTest() override { elsewhere_.reset(); }

    std::unique_ptr<SubtitlesElsewhere> make() {
        return std::make_unique<SubtitlesElsewhere>(*world_.vm(), bus_);
    }
    template <typename Condition>
    bool until(Condition holds) {
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
        while (!holds() && std::chrono::steady_clock::now() < deadline) {
            world_.pass(10);
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        return holds();
    }
    void say(const QString& original, const QString& translation) {
        world_.hear(0, original);
        world_.translate(0, translation);
        world_.settle();
    }

    const PrivateKeyring session_{PrivateKeyring::Mode::absent};
    const TemporaryFolder folder_;
    ViewWorld world_;
    BusThread bus_;
    std::unique_ptr<SubtitlesElsewhere> elsewhere_;
};

TEST_F(SubtitlesElsewhereTest, NothingIsAnywhereUntilTheUserWantsIt) {
    say("hello", "hola");
    EXPECT_FALSE(elsewhere_->page() || elsewhere_->bus() || elsewhere_->file());
    EXPECT_EQ(elsewhere_->pageAddress(), "");
    EXPECT_FALSE(std::filesystem::exists(elsewhere_->filePath().toStdString()));
}

TEST_F(SubtitlesElsewhereTest, AFileHasTheLatestLinesAndIsEmptyInTheEnd) {
    const std::string path = folder_.file("subtitles.txt");
    elsewhere_->setFilePath("relative.txt");
    elsewhere_->setFilePath(QString::fromStdString(path));
    elsewhere_->setFile(true);
    say("hello", "");
    EXPECT_TRUE(until([&] { return readFile(path) == "hello\n"; }));
    say("hello", "hola\u202e\nahí");
    EXPECT_TRUE(until([&] { return readFile(path) == "hola ahí\n"; }));
    struct stat mode{};
    ASSERT_EQ(::stat(path.c_str(), &mode), 0);
    EXPECT_EQ(mode.st_mode & 0777U, 0600U);

    elsewhere_.reset();
    elsewhere_ = make();  // the next start
    EXPECT_EQ(elsewhere_->filePath().toStdString(), path);
    EXPECT_TRUE(until([&] { return readFile(path) == "hola ahí\n"; }));
    world_.vm()->stopAll();
    world_.pass(2000);
    EXPECT_TRUE(until([&] { return readFile(path).empty(); }));

    elsewhere_->setFilePath(QString::fromStdString(folder_.file("gone/subtitles.txt")));
    EXPECT_TRUE(until([&] { return elsewhere_->failure().contains("gone/subtitles.txt"); }));
    std::filesystem::create_directory(folder_.file("gone"));
    world_.vm()->startAll();
    world_.settle();
    say("again", "");
    EXPECT_TRUE(until([&] { return elsewhere_->failure().isEmpty(); }));
}

TEST_F(SubtitlesElsewhereTest, ScriptsHearThemOnTheBus) {
    std::string name;
    ASSERT_TRUE(until([&] {
        bus_.run([&](BusConnection& connection) {
            name = connection.get() != nullptr ? g_dbus_connection_get_unique_name(connection.get()) : "";
        });
        return !name.empty();
    }));
    Program monitor({{"gdbus", "monitor", "--session", "--dest", name},
                     {{"DBUS_SESSION_BUS_ADDRESS", std::getenv("DBUS_SESSION_BUS_ADDRESS")}}});
    monitor.waitForOutput("is owned by");
    say("hello", "hola");
    elsewhere_->setBus(true);
    say("hello there", "hola");
    monitor.waitForOutput("hello there");
    EXPECT_THAT(monitor.out(), HasSubstr("/com/ostrel/tarn/Subtitles: com.ostrel.tarn.Subtitles.Changed (1, "
                                         "'System Audio', 'hello there', 'hola')\n"));
}

TEST_F(SubtitlesElsewhereTest, ThePageKeepsItsAddressUntilItIsRenewed) {
    elsewhere_->setPage(true);
    const QString address = elsewhere_->pageAddress();
    EXPECT_THAT(address.toStdString(),
                testing::MatchesRegex("http://127.0.0.1:[0-9]+/overlay\\?key=[0-9a-f]{32}"));
    const auto second = make();
    EXPECT_TRUE(second->hasOtherPort());
    EXPECT_NE(second->pageAddress(), address);
    EXPECT_EQ(second->pageAddress().section('=', 1), address.section('=', 1));
    elsewhere_->setPage(false);
    EXPECT_EQ(elsewhere_->pageAddress(), "");
    elsewhere_->setPage(true);
    EXPECT_EQ(elsewhere_->pageAddress().section('=', 1), address.section('=', 1));
    elsewhere_->renewKey();
    EXPECT_NE(elsewhere_->pageAddress().section('=', 1), address.section('=', 1));
}

}  // namespace
}  // namespace tarn::test
