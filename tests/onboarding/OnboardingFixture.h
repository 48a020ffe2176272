#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QGuiApplication>
#include <QQuickWindow>

#include "TarnApp/onboarding/OnboardingCoordinator.h"
#include "TarnApp/views/style/QmlModules.h"
#include "support/views/ViewWorld.h"

namespace tarn::test {

/// A user's first run in a world of scripted surroundings, without a display.
class OnboardingTest : public testing::Test {
protected:
    explicit OnboardingTest(bool signedIn = false) {
        world.renew(signedIn);
        coordinator = std::make_shared<OnboardingCoordinator>(world.sessions().defaults,
                                                              world.vm()->services().credentials);
        world.settle();
    }

    std::string setting(const char* key) { return world.setting(key).toString().toStdString(); }
    void pass(std::chrono::milliseconds time) { world.pass(static_cast<int>(time.count())); }

private:
    static QGuiApplication& application() {
        qputenv("QT_QPA_PLATFORM", "offscreen");
        qputenv("QT_QUICK_BACKEND", "software");
        static int count = 1;
        static char name[] = "onboarding_test";
        static char* arguments[] = {name, nullptr};
        // Never destroyed: after `main` what it would clean up is gone.
        static auto& instance = *new QGuiApplication(count, arguments);
        static const bool registered = (registerOnboardingModule(), true);
        static_cast<void>(registered);
        return instance;
    }
    QGuiApplication& application_ = application();

public:
    ViewWorld world;
    std::shared_ptr<OnboardingCoordinator> coordinator;
};

}  // namespace tarn::test
