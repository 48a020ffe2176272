#pragma once

#include <QtQml/qqmlregistration.h>
#include <QObject>
#include <cstdint>
#include <functional>
#include <memory>
#include <string_view>

#include "TarnApp/session/URLSchemeHandler.h"
#include "TarnPlatform/settings/UserDefaults.h"

namespace tarn {

/// How far the first run has come.
enum class OnboardingStep : std::uint8_t {
    running,
    ready,  ///< finished once, for good
};

/// As it is stored.
constexpr std::string_view rawValue(OnboardingStep step) {
    return step == OnboardingStep::running ? "running" : "ready";
}

/// Whether onboarding is due, and what its pages share. Made once, by the application. Owned by `shared_ptr`.
/// Thread: main.
class OnboardingCoordinator : public QObject, public SignInFollower {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("The application makes it.")
    Q_PROPERTY(
        bool manuallyReopened READ manuallyReopened WRITE setManuallyReopened NOTIFY manuallyReopenedChanged)
    Q_PROPERTY(bool isLoggedIn READ isLoggedIn WRITE setIsLoggedIn NOTIFY isLoggedInChanged)
    Q_PROPERTY(bool shouldShowOnboarding READ shouldShowOnboarding NOTIFY shouldShowOnboardingChanged)

public:
    /// Reads the step; the sign-in is known once `credentials` have told.
    OnboardingCoordinator(std::shared_ptr<UserDefaults> defaults, std::shared_ptr<Credentials> credentials);

    OnboardingStep step() const { return step_; }
    bool manuallyReopened() const { return manuallyReopened_; }  ///< the user has asked to see it again
    bool isLoggedIn() const { return isLoggedIn_; }
    bool shouldShowOnboarding() const { return step_ != OnboardingStep::ready || manuallyReopened_; }

    /// Reads anew what is stored.
    void recompute();
    /// Stored on every call, announced only where it changes.
    void setStep(OnboardingStep value);
    void setManuallyReopened(bool value);  ///< announced only where it changes
    /// Announced on every call: the account may be another one.
    void setIsLoggedIn(bool value) override;

    /// The user has pressed the last button: onboarding is done and `onFinish` is called.
    Q_INVOKABLE void finish();

    std::function<void()> onFinish;

Q_SIGNALS:
    void stepChanged();
    void manuallyReopenedChanged();
    void isLoggedInChanged();
    void shouldShowOnboardingChanged();

private:
    OnboardingStep step_ = OnboardingStep::running;
    const std::shared_ptr<UserDefaults> defaults_;
    const std::shared_ptr<Credentials> credentials_;
    bool manuallyReopened_ = false;
    bool isLoggedIn_ = false;
};

}  // namespace tarn
