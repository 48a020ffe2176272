// Files replaced in one step, where the system refuses. What the plain case does, the settings, the secrets
// and the relay's tokens show.

#include "TarnPlatform/base/AtomicFile.h"

#include <gmock/gmock.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <csignal>
#include <future>
#include <iterator>

#include "TarnPlatform/base/FileLock.h"
#include "support/Program.h"

namespace tarn {
namespace {

using testing::HasSubstr;

TEST(AtomicFile, KeepsTheOldFileAndNothingElseWhereTheNewOneDoesNotFit) {
    const test::TemporaryFolder folder;
    const std::filesystem::path path = folder.write("file", "old");
    std::signal(SIGXFSZ, SIG_IGN);
    rlimit before{};
    ::getrlimit(RLIMIT_FSIZE, &before);
    const rlimit tiny{10, before.rlim_max};
    ::setrlimit(RLIMIT_FSIZE, &tiny);
    const auto replaced = replaceFile(path, "longer than ten bytes");
    ::setrlimit(RLIMIT_FSIZE, &before);
    ASSERT_FALSE(replaced);
    EXPECT_EQ(replaced.error().description, "cannot write " + path.string() + ": File too large");
    EXPECT_EQ(test::readFile(path), "old");
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder.path()), {}), 1);
}

TEST(AtomicFile, SaysWhichFolderCannotBeMadeAndLeavesThoseThatAreThere) {
    const test::TemporaryFolder folder;
    const std::filesystem::path root = folder.path();
    std::filesystem::create_directory(root / "open");
    ::chmod((root / "open").c_str(), 0755);
    ASSERT_TRUE(makePrivateFolder(root / "open" / "a" / "b"));
    using std::filesystem::perms;
    EXPECT_EQ(std::filesystem::status(root / "open").permissions(), perms(0755));
    EXPECT_EQ(std::filesystem::status(root / "open" / "a").permissions(), perms(0700));

    folder.write("plain", "");
    const auto made = makePrivateFolder(root / "plain" / "c");
    ASSERT_FALSE(made);
    EXPECT_THAT(made.error().description, HasSubstr((root / "plain").string()));
    EXPECT_THAT(replaceFile(root / "none" / "file", "x").error().description,
                HasSubstr((root / "none" / "file").string()));
}

TEST(FileLock, WaitsForItsHolderNoLongerThanItsLimit) {
    const test::TemporaryFolder folder;
    const std::filesystem::path path = folder.file("lock");
    auto held = lockFile(path, std::chrono::seconds(1));
    ASSERT_TRUE(held);
    EXPECT_EQ(lockFile(path, std::chrono::milliseconds(50)).error().kind, ErrorKind::timeout);
    auto waiting =
        std::async(std::launch::async, [&path] { return lockFile(path, std::chrono::seconds(20)); });
    held->reset();
    EXPECT_TRUE(waiting.get());
}

}  // namespace
}  // namespace tarn
