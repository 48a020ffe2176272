// Random sequences of calls, answers, failures and events, in random order against a session, held against
// what its state table allows. Every sequence is told by its seed.

#include <gtest/gtest.h>

#include <random>

#include "SessionWorld.h"
#include "TarnApp/localization/LocKey.h"

namespace tarn {
namespace {

using namespace std::chrono_literals;

constexpr int sequences = 3000;
constexpr int stepsOfEach = 60;

/// One sequence, and what is expected meanwhile and afterwards.
class Sequence {
public:
    Sequence(unsigned seed, std::shared_ptr<UserDefaults> kept) : random_(seed), world_(std::move(kept)) {
        session_->setCaptureSource(CaptureSource::system);
        world_.engine = [this] {
            return fails() ? Result<void>(failure(ErrorKind::unavailable, blame())) : Result<void>();
        };
        world_.capture = [this]() -> std::optional<Error> {
            return fails() ? std::optional(Error{ErrorKind::unavailable, blame()}) : std::nullopt;
        };
        world_.open = [this]() -> std::optional<TarnServerError> {
            if (!fails()) {
                return std::nullopt;
            }
            const auto error = pick(2) == 0 ? TarnServerError::http(401, "") : TarnServerError::http(500, "");
            mayShow_.push_back(error.meansSignedOut() ? text(LocKey::errSessionExpired) : describe(error));
            return error;
        };
        QObject::connect(session_.get(), &TranslateSession::stateChanged, session_.get(),
                         [this] { checkState(); });
        QObject::connect(session_.get(), &TranslateSession::sourceTextChanged, session_.get(), [this] {
            const auto text = session_->sourceText().toStdString();
            EXPECT_TRUE(text.empty() || text == "run " + std::to_string(run_)) << text << " in run " << run_;
        });
        QObject::connect(session_.get(), &TranslateSession::inputLevelChanged, session_.get(), [this] {
            const float level = session_->inputLevel();
            EXPECT_TRUE(level == 0 || level == static_cast<float>(run_)) << level << " in run " << run_;
        });
    }

    void play() {
        for (int i = 0; i < stepsOfEach && !testing::Test::HasFailure(); ++i) {
            step();
        }
        settleAll();
        checkEnd();
        if (pick(2) == 0) {
            call('x');
            settleAll();
            EXPECT_EQ(test::stateText(session_->state()), "idle");
        }
        std::weak_ptr<TranslateSession> gone = session_;
        session_.reset();
        settleAll();
        EXPECT_TRUE(gone.expired());
        EXPECT_EQ(world_.enginesRunning, 0);
        EXPECT_EQ(world_.streamsOpen, 0);
        EXPECT_EQ(world_.capturesRunning, 0);
        EXPECT_LE(world_.enginesRunningAtMost, 1) << "two runs at once";
        for (const auto& what : world_.trail) {
            EXPECT_TRUE(what != "stream dropped" && what != "capture dropped") << what;
        }
        for (const auto& stream : world_.streams) {
            EXPECT_TRUE(stream.expired());
        }
        for (const auto& player : world_.players) {
            EXPECT_TRUE(player.expired());
        }
        for (const auto& microphone : world_.microphones) {
            EXPECT_TRUE(microphone.expired());
        }
    }

    std::string story;

private:
    int pick(int count) { return static_cast<int>(random_() % static_cast<unsigned>(count)); }
    bool fails() { return pick(8) == 0; }
    std::string blame() {
        const std::string text = "failure of run " + std::to_string(run_);
        mayShow_.push_back(text);
        return text;
    }

    void call(char what) {
        story += what;
        const bool isActive = session_->state().isActive() && !stopAsked_;
        if (what == 's' && !isActive) {
            begin();
            session_->start(1, 1, world_.backend());
        } else if (what == 's') {
            session_->start(1, 1, world_.backend());
        } else if (what == 'x') {
            last_ = what;
            stopAsked_ = true;
            session_->stop();
        } else if (what == 'r') {
            if (isActive) {
                last_ = what;
                stopAsked_ = true;
            }
            session_->reconnect(1, 1, world_.backend());
        }
    }

    void begin() {
        last_ = 's';
        stopAsked_ = false;
        world_.run = ++run_;
        mayShow_.clear();
    }

    void step() {
        switch (pick(22)) {
            case 0:
            case 1:
            case 2:
                return call('s');
            case 3:
            case 4:
                return call('x');
            case 5:
            case 6:
                return call('r');
            case 7:
                session_->setCaptureSource(allCaptureSources[static_cast<std::size_t>(pick(3))]);
                break;
            case 8:
                world_.microphoneGranted = pick(4) != 0;
                world_.screenAllowed = pick(4) != 0;
                break;
            case 9: {
                auto& barrier = barriers()[static_cast<std::size_t>(pick(4))].get();
                barrier.isClosed = !barrier.isClosed;
                break;
            }
            case 10:
            case 11:
                barriers()[static_cast<std::size_t>(pick(4))].get().letOneGo();
                break;
            case 12:
                world_.workersRest = !world_.workersRest;
                break;
            case 13:
                world_.capturesStopSlowly = !world_.capturesStopSlowly;
                world_.capturesStopWithError = pick(2) == 0;
                break;
            case 14:
                world_.stopOneCapture();
                break;
            case 15:
                world_.openIgnoresCancellation = pick(2) == 0;
                break;
            case 16:
                world_.clock->advance(std::chrono::milliseconds(pick(400)));
                break;
            case 17:
                tellAStream();
                break;
            case 18:
                raiseALevel();
                break;
            case 19:
                world_.settle();
                break;
            default:
                world_.main.restart();
                world_.main.poll_one();
                world_.workers.restart();
                if (!world_.workersRest) {
                    world_.workers.poll_one();
                }
                break;
        }
    }

    std::vector<std::reference_wrapper<test::Barrier>> barriers() {
        return {world_.permissionBarrier, world_.openBarrier, world_.captureBarrier, world_.closeBarrier};
    }

    /// Any stream that is still held, of whatever run.
    void tellAStream() {
        std::vector<std::shared_ptr<test::ScriptedStream>> there;
        for (const auto& weak : world_.streams) {
            if (auto stream = weak.lock()) {
                there.push_back(std::move(stream));
            }
        }
        if (there.empty()) {
            return;
        }
        const auto& stream = there[static_cast<std::size_t>(pick(static_cast<int>(there.size())))];
        const std::string run = "run " + std::to_string(stream->run());
        const bool isShown = stream->run() == run_;
        switch (pick(4)) {
            case 0:
                stream->events().push(translate::Error{"error of " + run});
                if (isShown) {
                    mayShow_.push_back("error of " + run);
                }
                break;
            case 1:
                stream->events().push(translate::Unauthorized{});
                if (isShown) {
                    mayShow_.push_back("session expired");
                }
                break;
            case 2:
                stream->events().push(translate::TranslatedAudio{std::vector<std::byte>(48)});
                break;
            default:
                stream->events().push(translate::SourceText{run, false});
        }
    }

    void raiseALevel() {
        if (const auto sink = session_->sink()) {
            sinks_.emplace_back(sink, run_);
        }
        if (!sinks_.empty()) {
            const auto& [sink, run] = sinks_[static_cast<std::size_t>(pick(static_cast<int>(sinks_.size())))];
            if (const auto there = sink.lock()) {
                there->onLevel(static_cast<float>(run));
            }
        }
    }

    /// Whether the state table has this change, given the calls so far.
    void checkState() {
        const ConnectionState& now = session_->state();
        const std::string text = test::stateText(now);
        story += " " + text + " ";
        switch (now.kind()) {
            case ConnectionState::Case::connecting:
                if (stopAsked_) {  // not inside a call of ours: the second half of a reconnect
                    EXPECT_EQ(last_, 'r');
                    begin();
                }
                break;
            case ConnectionState::Case::running: {
                EXPECT_FALSE(stopAsked_);
                EXPECT_EQ(before_, ConnectionState::Case::connecting) << "an error is not overwritten";
                EXPECT_EQ(world_.enginesRunning, 1);
                EXPECT_NE(session_->serverStream(), nullptr);
                EXPECT_EQ(session_->stream() != nullptr, session_->player() != nullptr);
                EXPECT_NE(session_->player() != nullptr, session_->micSession() != nullptr);
                break;
            }
            case ConnectionState::Case::stopping:
                EXPECT_TRUE(stopAsked_);
                break;
            case ConnectionState::Case::idle:
                if (!stopAsked_) {
                    EXPECT_EQ(before_, ConnectionState::Case::connecting);
                    EXPECT_FALSE(world_.screenAllowed);
                    screenRefused_ = run_;
                } else {
                    EXPECT_EQ(before_, ConnectionState::Case::stopping);
                }
                break;
            case ConnectionState::Case::error: {
                EXPECT_FALSE(stopAsked_);
                const bool isKnown = now.reason() == "permission denied" ||
                                     std::ranges::any_of(mayShow_, [&](const std::string& shown) {
                                         return now.reason().find(shown) != std::string::npos;
                                     });
                EXPECT_TRUE(isKnown) << text << " in run " << run_;
                break;
            }
        }
        before_ = now.kind();
    }

    void settleAll() {
        for (int i = 0; i < 3; ++i) {
            world_.openBarriers();
            world_.pass(1500ms);
        }
    }

    void checkEnd() {
        const ConnectionState& end = session_->state();
        const std::string text = test::stateText(end);
        if (run_ == 0 || last_ == 'x') {
            EXPECT_EQ(text, "idle");
            EXPECT_EQ(world_.streamsOpen, 0);
            return;
        }
        EXPECT_EQ(last_, 's') << "a reconnect has started";
        if (screenRefused_ == run_) {
            EXPECT_EQ(text, "idle");
        } else if (end.kind() == ConnectionState::Case::error) {
            EXPECT_EQ(world_.streamsOpen, session_->canStop() ? 1 : 0);
            EXPECT_EQ(world_.enginesRunning, session_->canStop() ? 1 : 0);
            EXPECT_TRUE(text != "error(session expired)" || !session_->canStop());
            return;
        } else {
            EXPECT_EQ(text, "running");
        }
        const int runs = end.kind() == ConnectionState::Case::running ? 1 : 0;
        EXPECT_EQ(world_.streamsOpen, runs);
        EXPECT_EQ(world_.enginesRunning, runs);
    }

    std::mt19937 random_;
    test::SessionWorld world_;
    std::shared_ptr<TranslateSession> session_ = world_.makeSession();
    char last_ = 'x';
    bool stopAsked_ = false;
    int run_ = 0;
    int screenRefused_ = -1;
    std::vector<std::string> mayShow_;
    ConnectionState::Case before_ = ConnectionState::Case::idle;
    std::vector<std::pair<std::weak_ptr<AudioSink>, int>> sinks_;
};

class SessionSequencesTest : public testing::TestWithParam<int> {};

TEST_P(SessionSequencesTest, KeepToTheStateTableAndLeaveNothing) {
    const int part = GetParam();
    const test::TemporaryFolder folder;
    const auto kept = UserDefaults::open(folder.file("settings.json"));
    for (int i = 0; i < sequences / 4 && !HasFailure(); ++i) {
        const auto seed = static_cast<unsigned>(part * sequences + i);
        Sequence sequence(seed, kept);
        sequence.play();
        if (HasFailure()) {
            ADD_FAILURE() << "seed " << seed << ": " << sequence.story;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Parts, SessionSequencesTest, testing::Range(0, 4));

}  // namespace
}  // namespace tarn
