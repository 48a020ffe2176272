#pragma once

#include <gtest/gtest.h>

#include <boost/asio/co_spawn.hpp>

#include "ScriptedService.h"

namespace tarn::test {

using std::chrono::milliseconds;
using std::chrono::seconds;

/// What a session is told, in one line each.
struct Told {
    std::vector<std::string> sources;
    std::vector<std::string> translations;
    std::vector<SpokenChunk> voice;
    std::vector<std::string> others;
    double gaps = 0;
    std::vector<std::pair<double, ConnectionHealth>> health;  ///< with the time
};

/// Where two lists differ first, in words; empty where they do not.
inline std::string difference(const std::vector<std::string>& is, const std::vector<std::string>& wanted) {
    const auto [at, other] = std::ranges::mismatch(is, wanted);
    if (at == is.end() && other == wanted.end()) {
        return {};
    }
    std::string text =
        std::to_string(is.size()) + " in place of " + std::to_string(wanted.size()) + ", after ";
    text += other == wanted.begin() ? "none" : *(other - 1);
    text += " comes " + (at == is.end() ? "nothing" : *at);
    return text + " in place of " + (other == wanted.end() ? "nothing" : *other);
}

class Resuming : public ::testing::Test {
protected:
    void begin(ScriptedService::Habits habits = {}, unsigned seed = 1) {
        service.emplace(context, habits, seed);
        parts.open = [this] { return service->open(); };
        parts.main = context.get_executor();
        parts.network = context.get_executor();
        parts.clock = service->clock;
        parts.watchNetwork = [this](const SerialExecutor&, std::function<void()> isBack) {
            networkIsBack = std::move(isBack);
            return nullptr;
        };
        stream = std::make_shared<ResumingTranslateStream>(service->connect(), parts);
        settle();
    }
    void TearDown() override {
        if (stream) {
            close();
        }
        stream.reset();
        settle();
    }

    void settle() {
        context.restart();
        context.poll();
        while (stream && readAll()) {
            context.restart();
            context.poll();
        }
    }
    bool readAll() {
        bool any = false;
        while (auto event = stream->events().tryNext()) {
            any = true;
            if (auto* const text = std::get_if<translate::SourceText>(&*event)) {
                if (text->done) {
                    told.sources.push_back(text->text);
                }
                shown = text->text;
            } else if (auto* const translation = std::get_if<translate::TranslatedText>(&*event)) {
                if (translation->done) {
                    told.translations.push_back(translation->text);
                }
            } else if (auto* const voice = std::get_if<translate::TranslatedAudio>(&*event)) {
                for (std::size_t at = 0; at + SpokenChunk::bytes <= voice->bytes.size();
                     at += SpokenChunk::bytes) {
                    told.voice.push_back(SpokenChunk::of(voice->bytes.data() + at));
                }
            } else if (auto* const gap = std::get_if<translate::Gap>(&*event)) {
                told.gaps += gap->seconds;
            } else if (std::holds_alternative<translate::Unauthorized>(*event)) {
                told.others.emplace_back("unauthorized");
            } else if (std::holds_alternative<translate::Closed>(*event)) {
                told.others.emplace_back("closed");
            }
        }
        while (auto health = stream->health().tryNext()) {
            any = true;
            told.health.emplace_back(now(), std::move(*health));
        }
        return any;
    }
    double now() const {
        return std::chrono::duration<double>(service->clock->now().time_since_epoch()).count();
    }

    /// Lets 50 ms pass, in which `chunk` was heard.
    void hear(SpokenChunk chunk) {
        stream->queueAudio(chunk.sound());
        if (chunk.sentence != 0) {
            spoken.insert(chunk);
        }
        service->clock->advance(milliseconds(50));
        settle();
    }
    void pause(milliseconds time) {
        for (; time > milliseconds(0); time -= milliseconds(50)) {
            hear({});
        }
    }
    void say(std::int16_t sentence, int chunks) {
        for (std::int16_t index = 0; index < chunks; ++index) {
            hear({sentence, index});
        }
        said.push_back(std::to_string(sentence) + ":0-" + std::to_string(chunks - 1));
    }
    void close() { runTaskToEnd(stream->close()); }
    void runTaskToEnd(Task<void> task) {
        bool done = false;
        asio::co_spawn(context, std::move(task), [&done](const std::exception_ptr&) { done = true; });
        for (int i = 0; i < 100 && !done; ++i) {
            settle();
        }
        ASSERT_TRUE(done);
        settle();
    }
    std::vector<SpokenChunk> wholeVoice() const {
        std::vector<SpokenChunk> voice;
        for (std::size_t i = 0; i < said.size(); ++i) {
            for (std::int16_t piece = 0; piece < 4; ++piece) {
                voice.push_back({static_cast<std::int16_t>(i + 1), piece});
            }
        }
        return voice;
    }
    std::vector<ConnectionHealth::State> states() const {
        std::vector<ConnectionHealth::State> all;
        for (const auto& [time, health] : told.health) {
            if (all.empty() || all.back() != health.state) {
                all.push_back(health.state);
            }
        }
        return all;
    }

    asio::io_context context{1};
    std::optional<ScriptedService> service;
    ResumeParts parts;
    std::shared_ptr<ResumingTranslateStream> stream;
    std::function<void()> networkIsBack;
    std::set<SpokenChunk> spoken;
    std::vector<std::string> said;
    Told told;
    std::string shown;
};

}  // namespace tarn::test
