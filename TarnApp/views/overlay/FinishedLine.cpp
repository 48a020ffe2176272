#include "FinishedLine.h"

#include <chrono>

#include "SubtitleWording.h"

namespace tarn {
namespace {

constexpr std::chrono::seconds pause{2};

}  // namespace

void FinishedLine::sessionReplaced(TranslateSession* session) {
    if (session != nullptr) {
        connect(session, &TranslateSession::translationTextChanged, this, &FinishedLine::follow);
    }
}

void FinishedLine::follow() {
    const QString now = session()->translationText();
    if (now == growing_) {
        return;
    }
    if (isAnotherSentence(growing_, now)) {
        finish();
    }
    growing_ = now;
    if (viewModel() != nullptr) {
        const Clock& clock = *viewModel()->services().session.clock;
        finishAt_ = clock.now() + pause;
        if (later_ == nullptr) {
            wait(pause);
        }
    }
}

/// One timer serves a whole sentence: to make one for each word would cost more than to show the word.
void FinishedLine::wait(Clock::Duration time) {
    const auto& services = viewModel()->services().session;
    later_ = services.clock->callAfter(services.main, time, [this] {
        const auto left = finishAt_ - viewModel()->services().session.clock->now();
        if (left > Clock::Duration::zero()) {
            wait(left);
        } else {
            later_.reset();
            finish();
        }
    });
}

void FinishedLine::finish() {
    if (!growing_.isEmpty() && text_ != growing_) {
        text_ = growing_;
        Q_EMIT textChanged();
    }
}

}  // namespace tarn
