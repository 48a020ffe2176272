#include "FinishedLine.h"

#include <chrono>

#include "SubtitleWording.h"

namespace tarn {
namespace {

constexpr std::chrono::seconds pause{2};

}  // namespace

void FinishedLine::setSession(TranslateSession* value) {
    if (session_ == value) {
        return;
    }
    if (session_ != nullptr) {
        disconnect(session_, nullptr, this, nullptr);
    }
    session_ = value;
    if (value != nullptr) {
        connect(value, &TranslateSession::translationTextChanged, this, &FinishedLine::follow);
    }
    Q_EMIT changed();
}

void FinishedLine::follow() {
    const QString now = QString::fromStdString(session_->translationText());
    if (now == growing_) {
        return;
    }
    if (isAnotherSentence(growing_, now)) {
        finish();
    }
    growing_ = now;
    if (viewModel_ != nullptr) {
        const auto& services = viewModel_->services().session;
        later_ = services.clock->callAfter(services.main, pause, [this] { finish(); });
    }
}

void FinishedLine::finish() {
    later_.reset();
    if (!growing_.isEmpty() && text_ != growing_) {
        text_ = growing_;
        Q_EMIT textChanged();
    }
}

}  // namespace tarn
