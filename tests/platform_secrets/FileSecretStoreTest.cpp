// The file store on a real folder of the test's own. What is simulated: a careless or hostile neighbour.

#include "TarnPlatform/secrets/FileSecretStore.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <fstream>
#include <functional>

#include "support/Program.h"
#include "support/keyring/Shown.h"

namespace tarn {
namespace {

using test::shown;

const SecretKey token{"com.ostrel.tarn", "pat"};

class FileSecretStoreTest : public testing::Test {
protected:
    static unsigned modeOf(const std::filesystem::path& path) {
        struct stat status{};
        EXPECT_EQ(::lstat(path.c_str(), &status), 0) << path;
        return status.st_mode & 0777U;
    }
    void write(const std::filesystem::path& path, std::string_view text, mode_t mode) {
        std::ofstream(path) << text;
        ::chmod(path.c_str(), mode);
    }
    std::size_t filesIn(const std::filesystem::path& folder) {
        return static_cast<std::size_t>(std::distance(std::filesystem::directory_iterator(folder), {}));
    }

    const test::TemporaryFolder home_;
    const std::filesystem::path root_ = home_.path();
    std::filesystem::path folder_ = root_ / "share" / "tarn";
    FileSecretStore store_{folder_};
};

TEST_F(FileSecretStoreTest, KeepsTheLastValueAloneClosedToOthersAndForgetsItOnRemoval) {
    ::umask(0);
    EXPECT_EQ(shown(store_.get(token)), "(none)");
    EXPECT_EQ(store_.remove(token), false);
    ASSERT_TRUE(store_.replace(token, "first"));
    ASSERT_TRUE(store_.replace(token, std::string_view("se\0c\nond", 8)));
    EXPECT_EQ(shown(store_.get(token)), std::string("se\0c\nond", 8));
    EXPECT_EQ(shown(FileSecretStore(folder_).get(token)), std::string("se\0c\nond", 8));
    EXPECT_EQ(modeOf(store_.pathOf(token)), 0600U);
    EXPECT_EQ(modeOf(folder_), 0700U);
    EXPECT_EQ(filesIn(folder_), 1U) << "nothing is left beside the secret";

    const SecretKey odd{"a/../b", "é\n"};
    ASSERT_TRUE(store_.replace(odd, "odd"));
    EXPECT_EQ(shown(store_.get(odd)), "odd");
    EXPECT_EQ(store_.pathOf(odd), folder_ / "a%2F..%2Fb.%C3%A9%0A");

    EXPECT_EQ(store_.remove(token), true);
    EXPECT_EQ(shown(store_.get(token)), "(none)");
    EXPECT_EQ(shown(store_.get(odd)), "odd");
}

TEST_F(FileSecretStoreTest, RefusesToReadWhatOthersCouldHaveReadOrPlanted) {
    struct Case {
        const char* what;
        std::function<void(const std::filesystem::path&)> plant;
        const char* says;
    };
    const Case cases[] = {
        {"readable by others", [&](const auto& path) { write(path, "secret", 0644); }, "chmod 600"},
        {"readable by the group", [&](const auto& path) { write(path, "secret", 0640); }, "chmod 600"},
        {"link",
         [&](const auto& path) {
             write(root_ / "elsewhere", "secret", 0600);
             std::filesystem::create_symlink(root_ / "elsewhere", path);
         },
         "symbolic link"},
        {"pipe", [&](const auto& path) { ::mkfifo(path.c_str(), 0600); }, "not a file of this user"},
        {"too long",
         [&](const auto& path) { write(path, std::string(FileSecretStore::maxSecretBytes + 1, 'x'), 0600); },
         "too long"},
    };
    for (const auto& entry : cases) {
        SCOPED_TRACE(entry.what);
        std::filesystem::remove_all(folder_);
        std::filesystem::create_directories(folder_);
        entry.plant(store_.pathOf(token));
        const auto got = store_.get(token);
        ASSERT_FALSE(got);
        EXPECT_EQ(got.error().fault, SecretFault::refused);
        EXPECT_NE(got.error().description.find(entry.says), std::string::npos) << got.error().description;
        EXPECT_EQ(got.error().description.find("secret\n"), std::string::npos);
    }
}

TEST_F(FileSecretStoreTest, WritesOverAPlantedLinkWithoutFollowingIt) {
    std::filesystem::create_directories(folder_);
    write(root_ / "victim", "precious", 0600);
    std::filesystem::create_symlink(root_ / "victim", store_.pathOf(token));
    ASSERT_TRUE(store_.replace(token, "mine"));
    EXPECT_EQ(shown(store_.get(token)), "mine");
    EXPECT_EQ(test::readFile(root_ / "victim"), "precious");
}

TEST_F(FileSecretStoreTest, ClosesItsFolderAndRefusesOneThatIsALink) {
    std::filesystem::create_directories(folder_);
    ::chmod(folder_.c_str(), 0755);
    ASSERT_TRUE(store_.replace(token, "kept"));
    EXPECT_EQ(modeOf(folder_), 0700U);

    std::filesystem::create_directory_symlink(folder_, root_ / "link");
    FileSecretStore linked(root_ / "link");
    for (const auto& error :
         {linked.get(token).error(), linked.replace(token, "x").error(), linked.remove(token).error()}) {
        EXPECT_NE(error.description.find("symbolic link"), std::string::npos) << error.description;
    }
    EXPECT_EQ(shown(store_.get(token)), "kept");
}

TEST_F(FileSecretStoreTest, KeepsTheOldSecretWhenTheNewOneCannotBeWritten) {
    ASSERT_TRUE(store_.replace(token, "old"));
    EXPECT_FALSE(store_.replace(token, std::string(FileSecretStore::maxSecretBytes + 1, 'x')));
    EXPECT_EQ(shown(store_.get(token)), "old");
}

}  // namespace
}  // namespace tarn
