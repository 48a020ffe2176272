#include "TarnCore/record/TranscriptFile.h"

#include <gmock/gmock.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include "Utterances.h"
#include "support/Program.h"

namespace tarn {
namespace {

using test::as;
using test::readFile;
using test::said;
using testing::HasSubstr;

/// As long as it lives, files of this process grow to so many bytes at most: a disk that is full.
class FullDisk {
public:
    explicit FullDisk(rlim_t bytes) {
        ::signal(SIGXFSZ, SIG_IGN);
        ::getrlimit(RLIMIT_FSIZE, &before_);
        const rlimit tiny{bytes, before_.rlim_max};
        ::setrlimit(RLIMIT_FSIZE, &tiny);
    }
    ~FullDisk() { ::setrlimit(RLIMIT_FSIZE, &before_); }
    FullDisk(const FullDisk&) = delete;
    FullDisk& operator=(const FullDisk&) = delete;

private:
    rlimit before_{};
};

TEST(TranscriptFile, IsWholeAfterEachUtterance) {
    const test::TemporaryFolder folder;
    for (const auto format : {TranscriptFormat::srt, TranscriptFormat::json, TranscriptFormat::csv}) {
        const auto path =
            folder.write("old", "something longer than the head of the new transcript, and older");
        auto file = TranscriptFile::create(path, as(format));
        ASSERT_TRUE(file);
        std::vector<Utterance> told;
        EXPECT_EQ(readFile(path), writeTranscript(told, as(format)));
        for (const long begin : {1000, 9000, 20000, 30000, 4000, 300000, 301500, 303000}) {
            told.push_back(said(0, begin, begin + 1000, "hello", "hola"));
            EXPECT_TRUE(file->add(told.back()));
            EXPECT_EQ(readFile(path), writeTranscript(told, as(format)));
        }
        EXPECT_TRUE(file->close());
        struct stat mode{};
        ASSERT_EQ(::stat(path.c_str(), &mode), 0);
        EXPECT_EQ(mode.st_mode & 0777U, 0600U);
    }
}

TEST(TranscriptFile, StaysWholeOnAFullDiskAndCatchesUp) {
    const test::TemporaryFolder folder;
    const auto path = folder.file("talk.json");
    const auto options = as(TranscriptFormat::json);
    std::vector<Utterance> told{said(0, 1000, 2000, "one")};
    auto file = TranscriptFile::create(path, options);
    ASSERT_TRUE(file);
    ASSERT_TRUE(file->add(told[0]));
    const auto before = readFile(path);
    {
        const FullDisk full(before.size() + 20);
        for (int i = 1; i < 4; ++i) {
            told.push_back(said(0, 1000 + i * 60000, 2000 + i * 60000, "two"));
            const auto added = file->add(told.back());
            ASSERT_FALSE(added);
            EXPECT_THAT(added.error().description, HasSubstr("cannot write " + path + ": "));
            EXPECT_EQ(readFile(path), before);
        }
        EXPECT_FALSE(file->close());
    }
    EXPECT_TRUE(file->close());
    EXPECT_EQ(readFile(path), writeTranscript(told, options));
}

TEST(TranscriptFile, SaysWhatIsInItsWay) {
    const test::TemporaryFolder folder;
    ::mkfifo(folder.file("pipe.srt").c_str(), 0600);
    for (const auto* const name : {"", "pipe.srt", "missing/x.srt"}) {
        const auto file = TranscriptFile::create(folder.file(name), as(TranscriptFormat::srt));
        EXPECT_FALSE(file) << name;
    }
    const auto path = folder.file("gone.srt");
    auto file = TranscriptFile::create(path, as(TranscriptFormat::srt));
    ASSERT_TRUE(file);
    std::filesystem::remove(path);
    const auto added = file->add(said(0, 0, 1000, "hello"));
    ASSERT_FALSE(added);
    EXPECT_THAT(added.error().description, HasSubstr("it has been removed"));
    EXPECT_FALSE(file->close());
    EXPECT_FALSE(std::filesystem::exists(path));
}

TEST(SaveTranscript, ReplacesTheFileInOneStep) {
    const test::TemporaryFolder folder;
    const auto path = folder.write("talk.txt", "old");
    const std::vector<Utterance> told{said(0, 0, 1000, "hello")};
    EXPECT_TRUE(saveTranscript(path, told, as(TranscriptFormat::txt)));
    EXPECT_EQ(readFile(path), "[0:00:00] hello\n");
    EXPECT_FALSE(saveTranscript(folder.file("missing/talk.txt"), told, as(TranscriptFormat::txt)));
}

}  // namespace
}  // namespace tarn
