// Records in a real folder: what they keep, what is passed over, and what a killed writer leaves.
#include "TarnCore/record/RecordFolder.h"

#include <gmock/gmock.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <random>

#include "support/Program.h"

namespace tarn {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using State = RecordInfo::State;

const auto noon = Utterance::TimePoint(std::chrono::milliseconds(1'795'000'000'123));

Utterance said(int number) {
    Utterance utterance;
    utterance.source = number % 2;
    utterance.sourceName = "Música \"1\"";
    utterance.sourceLang = "zh";
    utterance.targetLang = "en";
    utterance.saidAt = noon + number * 1s;
    utterance.begin = number * 1s;
    utterance.end = utterance.begin + 700ms;
    utterance.text = "第" + std::to_string(number) + "句\n\x01";
    utterance.translation = "sentence " + std::to_string(number);
    return utterance;
}

Utterance gap() {
    return {.kind = Utterance::Kind::untranslated, .saidAt = noon, .end = 50s, .seconds = 50.25};
}

class RecordFolderTest : public testing::Test {
protected:
    RecordFile begin() { return std::move(records_.begin({noon, {{0, "Talk", "", "en"}}}).value()); }
    std::string record(const std::vector<Utterance>& utterances) {
        auto file = begin();
        EXPECT_TRUE(file.append(utterances));
        return file.path().filename();
    }
    std::vector<State> states() const {
        std::vector<State> found;
        const auto infos = records_.list().value();
        for (const RecordInfo& info : infos) {
            found.push_back(info.state);
        }
        return found;
    }

    const test::TemporaryFolder home_;
    const std::filesystem::path path_ = std::filesystem::path(home_.path()) / "tarn" / "records";
    const RecordFolder records_{path_};
};

TEST_F(RecordFolderTest, GivesBackWhatWasSaidAndIsClosedToOthers) {
    EXPECT_TRUE(records_.list().value().empty());
    const auto name = record({said(2), gap(), said(1)});
    const auto contents = records_.read(name).value();
    EXPECT_THAT(contents.utterances, ElementsAre(gap(), said(1), said(2)));
    EXPECT_EQ(contents.header, (RecordHeader{noon, {{0, "Talk", "", "en"}}}));
    struct stat status{};
    ::stat((path_ / name).c_str(), &status);
    EXPECT_EQ(status.st_mode & 0777U, 0600U);
    ::stat(path_.c_str(), &status);
    EXPECT_EQ(status.st_mode & 0777U, 0700U);

    const auto info = records_.list().value().front();
    EXPECT_EQ(info.utterances, 3U);
    EXPECT_EQ(info.duration, 1700ms);
    EXPECT_EQ(info.sources, contents.header.sources);
}

TEST_F(RecordFolderTest, PassesOverWhatItCannotReadAndSaysWhatItMustNot) {
    const struct {
        const char* what;
        std::function<void(const std::filesystem::path&)> spoil;
        std::size_t left;  ///< of two utterances
        State state;
    } cases[] = {
        {"cut in its last line", [](auto& path) { std::filesystem::resize_file(path, file_size(path) - 9); },
         1, State::complete},
        {"a whole line without its end",
         [](auto& path) { std::filesystem::resize_file(path, file_size(path) - 1); }, 2, State::complete},
        {"nonsense behind",
         [](auto& path) {
             std::ofstream(path, std::ios::app)
                 << "{\"kind\":\"song\",\"at\":5}\n\xff\n[]\n{\"kind\":\"speech\",\"at\":-9e99}\n";
         },
         2, State::complete},
        {"empty", [](auto& path) { std::filesystem::resize_file(path, 0); }, 0, State::unreadable},
        {"of a newer version",
         [](auto& path) { std::ofstream(path) << "{\"tarn\":\"record\",\"version\":2,\"at\":1}\n"; }, 0,
         State::newer},
    };
    for (const auto& [what, spoil, left, state] : cases) {
        SCOPED_TRACE(what);
        const auto name = record({said(1), said(2)});
        spoil(path_ / name);
        EXPECT_THAT(states(), ElementsAre(state));
        const auto contents = records_.read(name);
        EXPECT_EQ(contents ? contents->utterances.size() : 0, left);
        EXPECT_EQ(contents.has_value(), state == State::complete);
        EXPECT_TRUE(records_.remove(name));
        EXPECT_TRUE(states().empty());
    }
}

TEST_F(RecordFolderTest, TouchesNoFileThatIsNotItsOwn) {
    const auto name = record({said(1)});
    const auto elsewhere = std::filesystem::path(home_.path()) / "elsewhere";
    std::filesystem::rename(path_ / name, elsewhere);
    std::filesystem::create_symlink(elsewhere, path_ / "1-link.jsonl");
    ::mkfifo((path_ / "2-pipe.jsonl").c_str(), 0600);
    std::ofstream(path_ / "notes.jsonl") << "the user's own";
    if (::geteuid() == 0) {
        std::filesystem::copy_file(elsewhere, path_ / "3-other.jsonl");
        ASSERT_EQ(::chown((path_ / "3-other.jsonl").c_str(), 65534, 65534), 0);
        EXPECT_FALSE(records_.read("3-other.jsonl"));
    }
    EXPECT_TRUE(states().empty());
    for (const char* other : {"1-link.jsonl", "2-pipe.jsonl", "notes.jsonl", "../../elsewhere"}) {
        EXPECT_FALSE(records_.read(other)) << other;
        EXPECT_TRUE(records_.remove(other));
    }
    EXPECT_TRUE(records_.removeAll());
    EXPECT_TRUE(std::filesystem::exists(elsewhere));
    EXPECT_TRUE(std::filesystem::is_symlink(path_ / "1-link.jsonl"));
    EXPECT_TRUE(std::filesystem::exists(path_ / "notes.jsonl"));

    std::filesystem::remove_all(path_);
    std::filesystem::create_directory(home_.file("real"));
    std::filesystem::create_directory_symlink(home_.file("real"), path_);
    EXPECT_FALSE(records_.begin({noon, {}})) << "the folder is a link";
}

TEST_F(RecordFolderTest, DropsTheOldestAndNeverTheOneThatIsWritten) {
    std::vector<std::string> names;
    for (int i = 0; i < 4; ++i) {
        names.push_back(record({said(i)}));
        std::filesystem::last_write_time(path_ / names.back(),
                                         std::filesystem::file_time_type::clock::now() - (100h - i * 24h));
    }
    auto running = begin();
    EXPECT_THAT(states(), ElementsAre(State::running, State::complete, State::complete, State::complete,
                                      State::complete));
    EXPECT_FALSE(records_.remove(running.path().filename()));
    const auto now = std::chrono::system_clock::now();
    const auto size = std::filesystem::file_size(path_ / names[2]);
    EXPECT_TRUE(records_.keepTo({90h, 1'000'000}, now));
    EXPECT_FALSE(std::filesystem::exists(path_ / names[0])) << "too old";
    EXPECT_TRUE(records_.keepTo({90h, size * 5 / 2}, now));
    EXPECT_FALSE(std::filesystem::exists(path_ / names[1]) || !std::filesystem::exists(path_ / names[3]));
    EXPECT_TRUE(records_.keepTo({0h, 0}, now));
    EXPECT_THAT(states(), ElementsAre(State::running));
    EXPECT_TRUE(running.append(std::vector{said(1)}));
}

TEST_F(RecordFolderTest, KeepsWholeLinesWhereTheDiskIsFull) {
    auto file = begin();
    ASSERT_TRUE(file.append(std::vector{said(1)}));
    std::signal(SIGXFSZ, SIG_IGN);
    rlimit before{};
    ::getrlimit(RLIMIT_FSIZE, &before);
    const rlimit tiny{std::filesystem::file_size(file.path()) + 20, before.rlim_max};
    ::setrlimit(RLIMIT_FSIZE, &tiny);
    const auto appended = file.append(std::vector{said(2)});
    const auto another = records_.begin({noon, {{0, std::string(500, 'n'), "", ""}}});
    ::setrlimit(RLIMIT_FSIZE, &before);
    EXPECT_THAT(appended.error().description, testing::EndsWith(": File too large"));
    EXPECT_FALSE(file.append(std::vector{said(3)})) << "its lines would no longer be all that was said";
    EXPECT_EQ(another.has_value(), false);
    const auto contents = records_.read(file.path().filename()).value();
    EXPECT_THAT(contents.utterances, ElementsAre(said(1)));
    EXPECT_EQ(contents.skipped, 0U);
    EXPECT_EQ(states().size(), 1U) << "a record that could not begin leaves nothing";
}

/// A child that appends utterances, telling of each once it is kept, until it is killed.
int keptByAKilledWriter(const RecordFolder& records, std::chrono::microseconds life) {
    int ends[2];
    EXPECT_EQ(::pipe(ends), 0);
    const pid_t child = ::fork();
    if (child == 0) {
        auto file = records.begin({noon, {}});
        for (int number = 0; file && file->append(std::vector{said(number)}); ++number) {
            if (::write(ends[1], "x", 1) != 1) {
                break;
            }
        }
        ::_exit(1);
    }
    ::close(ends[1]);
    char byte = 0;
    EXPECT_EQ(::read(ends[0], &byte, 1), 1);
    ::usleep(static_cast<useconds_t>(life.count()));  // a moment at random
    ::kill(child, SIGKILL);
    ::waitpid(child, nullptr, 0);
    int told = 1;
    while (::read(ends[0], &byte, 1) == 1) {
        ++told;
    }
    ::close(ends[0]);
    return told;
}

TEST_F(RecordFolderTest, LosesAtMostTheLineThatAKilledWriterWasWriting) {
    const char* const asked = std::getenv("TARN_KILLS");
    std::mt19937 random(std::random_device{}());
    for (int left = asked == nullptr ? 10 : std::atoi(asked); left > 0; --left) {
        const int told = keptByAKilledWriter(records_, std::chrono::microseconds(random() % 20000));
        const auto info = records_.list().value().front();
        const auto contents = records_.read(info.name).value();
        const auto kept = static_cast<int>(contents.utterances.size());
        if (asked != nullptr) {
            std::cout << "told " << told << ", kept " << kept << ", cut lines " << contents.skipped << '\n';
        }
        EXPECT_EQ(info.state, State::complete);
        EXPECT_TRUE(kept == told || kept == told + 1) << told << " were told of, " << kept << " are there";
        for (int number = 0; number < kept; ++number) {
            EXPECT_EQ(contents.utterances[static_cast<std::size_t>(number)], said(number));
        }
        EXPECT_TRUE(records_.removeAll());
    }
}

}  // namespace
}  // namespace tarn
