#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "SessionWorld.h"

namespace tarn::test {

/// One session, with everything around it played by the test.
class SessionPipelineTest : public testing::Test {
protected:
    SessionPipelineTest() {
        session_->onAuthFailure = [this] { ++authFailures_; };
        session_->onScreenRecNeeded = [this] { ++screenNeeded_; };
    }

    void start(CaptureSource source) {
        session_->setCaptureSource(source);
        start();
    }
    void start() {
        session_->start(1.25F, 2.0F, world_.backend());
        world_.settle();
    }
    void stop() {
        session_->stop();
        world_.settle();
    }
    void tell(TarnTranslateEvent event) {
        world_.streams.back().lock()->events().push(std::move(event));
        world_.settle();
    }
    std::string state() const { return stateText(session_->state()); }

    void expectNothingLeft() {
        EXPECT_EQ(world_.enginesRunning, 0);
        EXPECT_EQ(world_.capturesRunning, 0);
        EXPECT_EQ(world_.streamsOpen, 0);
        EXPECT_THAT(world_.trail,
                    testing::Not(testing::Contains(testing::AnyOf("stream dropped", "capture dropped"))));
        EXPECT_EQ(session_->player(), nullptr);
        EXPECT_EQ(session_->micSession(), nullptr);
        EXPECT_EQ(session_->sink(), nullptr);
        EXPECT_EQ(session_->stream(), nullptr);
        EXPECT_EQ(session_->resampler(), nullptr);
        EXPECT_EQ(session_->serverStream(), nullptr);
        for (const auto& stream : world_.streams) {
            EXPECT_TRUE(stream.expired()) << "something keeps a stream";
        }
        for (const auto& player : world_.players) {
            EXPECT_TRUE(player.expired()) << "something keeps a player";
        }
        for (const auto& microphone : world_.microphones) {
            EXPECT_TRUE(microphone.expired()) << "something keeps a microphone";
        }
    }

    SessionWorld world_;
    std::shared_ptr<TranslateSession> session_ = world_.makeSession();
    std::shared_ptr<std::vector<std::string>> states_ = statesOf(*session_);
    int authFailures_ = 0;
    int screenNeeded_ = 0;
};

}  // namespace tarn::test
