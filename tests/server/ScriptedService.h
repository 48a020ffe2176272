#pragma once

#include <algorithm>
#include <array>
#include <boost/asio/io_context.hpp>
#include <boost/asio/post.hpp>
#include <cstring>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <random>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "TarnApp/server/ResumingTranslateStream.h"
#include "support/ManualClock.h"

namespace tarn::test {

/// Sound in which every chunk of 50 ms says which one of which sentence it is, so that whoever hears it can
/// say what was spoken; silence is zero.
struct SpokenChunk {
    static constexpr std::size_t bytes = 1600;
    std::int16_t sentence = 0;  ///< from 1; 0: silence
    std::int16_t index = 0;
    auto operator<=>(const SpokenChunk&) const = default;

    std::vector<std::byte> sound() const {
        std::vector<std::byte> chunk(bytes);
        const std::array<std::int16_t, 3> samples{sentence, index,
                                                  static_cast<std::int16_t>(sentence == 0 ? 0 : 5000)};
        std::memcpy(chunk.data(), samples.data(), sizeof samples);
        return chunk;
    }
    static SpokenChunk of(const std::byte* sound) {
        SpokenChunk chunk;
        std::memcpy(&chunk.sentence, sound, 2);
        std::memcpy(&chunk.index, sound + 2, 2);
        return chunk;
    }
};

/// A service that understands `SpokenChunk`s and answers, some time later, as the real one does: for each
/// sentence its places, its growing and its final texts, "3:0-19" for the chunks 0 to 19 of sentence 3, and a
/// voice that tells apart its every piece. Thread: the context's.
class ScriptedService {
public:
    enum class Places : std::uint8_t { right, negative, huge, falling };
    struct Habits {
        bool marks = true;        ///< tells where speech starts and stops
        bool items = true;        ///< names the utterances
        bool voiceFirst = false;  ///< the voice comes before the final translation, else after
        Places places = Places::right;
        bool inOrder = true;  ///< one sentence's texts come after all of those before
        int noiseEvery = 0;   ///< tells of speech that was none after so many sentences; 0: never
    };

    ScriptedService(asio::io_context& context, Habits habits, unsigned seed)
        : context_(context), habits_(habits), random_(seed) {}

    std::shared_ptr<ManualClock> clock = std::make_shared<ManualClock>();
    bool isReachable = true;
    bool isSignedOut = false;
    std::function<void()> onAttempt{};  ///< called once there is a connection
    int attempts = 0;
    std::set<SpokenChunk> heard;           ///< over all connections
    std::vector<std::string> onConnect{};  ///< final texts with which each new connection begins

    ResumeParts::Stream connect() {
        ++connections_;
        const auto connection = std::make_shared<Connection>(*this);
        open_ = connection;
        return connection;
    }
    Task<ServerResult<ResumeParts::Stream>> open() {
        ++attempts;
        if (isSignedOut) {
            co_return std::unexpected(TarnServerError::notAuthenticated());
        }
        if (!isReachable) {
            co_return std::unexpected(
                TarnServerError::transport({ErrorKind::connection, "the network is unreachable", 0}));
        }
        auto connection = connect();
        if (onAttempt) {
            onAttempt();
        }
        co_return connection;
    }
    void tell(TarnTranslateEvent event) {
        if (const auto connection = open_.lock()) {
            connection->tell(std::move(event));
        }
    }
    /// The connection breaks; what was not told yet never is.
    void cut(const ConnectionHealth& how = {ConnectionHealth::State::lost, "cut"}) {
        if (const auto connection = open_.lock()) {
            connection->end(how);
        }
    }
    /// The server says nothing more, and its side stays open.
    void hang() {
        if (const auto connection = open_.lock()) {
            connection->hang();
        }
    }

private:
    class Connection final : public TarnTranslateStream, public std::enable_shared_from_this<Connection> {
    public:
        explicit Connection(ScriptedService& service) : service_(service) {
            if (service.connections_ > 1) {
                for (const auto& text : service.onConnect) {
                    events_.push(translate::SourceText{text, true});
                    events_.push(translate::TranslatedText{text, true});
                }
            }
        }
        const EventQueue<TarnTranslateEvent>& events() const override { return events_; }
        const EventQueue<ConnectionHealth>& health() const override { return health_; }
        Task<void> sendAudio(std::vector<std::byte> bytes) override {
            hear(bytes);
            co_return;
        }
        void queueAudio(std::vector<std::byte> bytes) override { hear(bytes); }
        Task<bool> waitHeard() override { co_return !isOver_; }
        Task<void> close() override {
            end({});
            events_.push(translate::Closed{});
            events_.finish();
            co_return;
        }
        bool isAlive() const override { return !isOver_; }
        Task<std::string> waitDead() override { co_return ""; }

        void end(const ConnectionHealth& how) {
            if (!std::exchange(isOver_, true)) {
                calls_.clear();
                if (how.state == ConnectionHealth::State::lost) {
                    health_.push(how);
                }
                health_.finish();
            }
        }
        void hang() {
            calls_.clear();
            isHanging_ = true;
            health_.push({ConnectionHealth::State::stalled});
        }

        void tell(TarnTranslateEvent event) { events_.push(std::move(event)); }

    private:
        void hear(const std::vector<std::byte>& bytes);
        void endSentence();
        void tellLater(Clock::Duration delay, std::vector<TarnTranslateEvent> events);
        StreamProgress progress(StreamProgress::Kind kind, int number, bool placed) const {
            StreamProgress made{kind};
            made.id = service_.habits_.items ? "item" + std::to_string(number) : "";
            if (placed) {
                using enum Places;
                const std::map<Places, std::int64_t> told{{right, position_},
                                                          {negative, -position_},
                                                          {huge, position_ + (std::int64_t{1} << 60)},
                                                          {falling, 100000 - position_}};
                made.milliseconds = told.at(service_.habits_.places);
            }
            return made;
        }

        ScriptedService& service_;
        const EventQueue<TarnTranslateEvent> events_;
        const EventQueue<ConnectionHealth> health_;
        std::vector<std::byte> pending_;
        std::int64_t position_ = 0;  ///< milliseconds
        SpokenChunk first_{};        ///< of the sentence that is being heard
        SpokenChunk last_{};
        int silent_ = 0;  ///< chunks since it was
        int utterance_ = 0;
        Clock::TimePoint busyUntil_{};
        bool isOver_ = false;
        bool isHanging_ = false;
        std::vector<std::unique_ptr<ScheduledCall>> calls_;
    };

    asio::io_context& context_;
    const Habits habits_;
    std::minstd_rand random_;
    int connections_ = 0;
    std::weak_ptr<Connection> open_;
};

inline void ScriptedService::Connection::hear(const std::vector<std::byte>& bytes) {
    if (isOver_ || isHanging_) {
        return;
    }
    pending_.insert(pending_.end(), bytes.begin(), bytes.end());
    while (pending_.size() >= SpokenChunk::bytes) {
        const SpokenChunk chunk = SpokenChunk::of(pending_.data());
        pending_.erase(pending_.begin(), pending_.begin() + SpokenChunk::bytes);
        if (chunk.sentence != 0) {
            service_.heard.insert(chunk);
            if (last_.sentence == 0) {
                first_ = chunk;
                ++utterance_;
                if (service_.habits_.marks) {
                    tell(progress(StreamProgress::Kind::speechStarted, utterance_, true));
                }
            }
            last_ = chunk;
            silent_ = 0;
            if (chunk.index % 8 == 7) {
                const std::string so = std::to_string(chunk.sentence) + ":";
                tell(translate::SourceText{so + std::string(static_cast<std::size_t>(chunk.index), '.'),
                                           false});
                tell(translate::TranslatedText{so + std::string(static_cast<std::size_t>(chunk.index), '.'),
                                               false});
            }
        } else if (last_.sentence != 0 && ++silent_ == 8) {
            endSentence();
        }
        position_ += 50;
    }
}

inline void ScriptedService::Connection::endSentence() {
    using Kind = StreamProgress::Kind;
    const Habits& habits = service_.habits_;
    const std::string text = std::to_string(last_.sentence) + ":" + std::to_string(first_.index) + "-" +
                             std::to_string(last_.index);
    if (habits.marks) {
        tell(progress(Kind::speechStopped, utterance_, true));
    }
    std::uniform_int_distribution<int> delay(50, 900);
    std::vector<TarnTranslateEvent> source;
    source.push_back(progress(Kind::sourceDone, utterance_, false));
    source.push_back(translate::SourceText{text, true});
    std::vector<TarnTranslateEvent> voice;
    for (std::int16_t piece = 0; piece < 4; ++piece) {
        voice.push_back(translate::TranslatedAudio{SpokenChunk{last_.sentence, piece}.sound()});
    }
    std::vector<TarnTranslateEvent> translation{progress(Kind::responseBegun, utterance_, false)};
    translation.push_back(translate::TranslatedText{text, true});
    if (habits.voiceFirst) {
        translation.insert(translation.begin() + 1, voice.begin(), voice.end());
    } else {
        translation.insert(translation.end(), voice.begin(), voice.end());
    }
    translation.push_back(progress(Kind::voiceDone, utterance_, false));
    translation.push_back(progress(Kind::responseDone, utterance_, false));
    const auto now = service_.clock->now();
    Clock::Duration at{0};
    if (habits.inOrder && busyUntil_ > now) {
        at = busyUntil_ - now;
    }
    at += std::chrono::milliseconds(delay(service_.random_));
    tellLater(at, std::move(source));
    for (auto& event : translation) {
        at += std::chrono::milliseconds(delay(service_.random_) / 10);
        tellLater(at, {std::move(event)});
    }
    busyUntil_ = now + at;
    if (habits.noiseEvery > 0 && last_.sentence % habits.noiseEvery == 0 && habits.marks) {
        ++utterance_;
        tell(progress(Kind::speechStarted, utterance_, true));
        tell(progress(Kind::speechStopped, utterance_, true));
    }
    last_ = {};
    silent_ = 0;
}

inline void ScriptedService::Connection::tellLater(Clock::Duration delay,
                                                   std::vector<TarnTranslateEvent> events) {
    calls_.push_back(service_.clock->callAfter(service_.context_.get_executor(), delay,
                                               [this, events = std::move(events)] {
                                                   for (const auto& event : events) {
                                                       tell(event);
                                                   }
                                               }));
}

}  // namespace tarn::test
