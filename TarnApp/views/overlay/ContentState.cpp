#include "ContentState.h"

#include <algorithm>
#include <chrono>
#include <utility>

namespace tarn {
namespace {

constexpr std::chrono::seconds dimDelay{3};
constexpr double dimmed = 0.3;
constexpr int soloWidth = 540;
constexpr int columnWidth = 340;
constexpr int columnsMargin = 60;

}  // namespace

void ContentState::setViewModel(TranslateViewModel* value) {
    if (viewModel_ == value) {
        return;
    }
    if (viewModel_ != nullptr) {
        disconnect(viewModel_, nullptr, this, nullptr);
    }
    viewModel_ = value;
    if (value != nullptr) {
        wasMini_ = value->miniMode();
        connect(value, &TranslateViewModel::miniModeChanged, this, &ContentState::miniModeChanged);
        connect(value, &TranslateViewModel::anyRunningChanged, this, &ContentState::changed);
        connect(value, &TranslateViewModel::canStopChanged, this, &ContentState::changed);
        connect(value, &TranslateViewModel::isLoggedInChanged, this, &ContentState::changed);
        connect(value, &TranslateViewModel::modeChanged, this, &ContentState::changed);
        connect(value, &TranslateViewModel::sessionsChanged, this, &ContentState::followSessions);
    }
    followSessions();
}

void ContentState::followSessions() {
    for (const auto& connection : sessionConnections_) {
        disconnect(connection);
    }
    sessionConnections_.clear();
    if (viewModel_ != nullptr) {
        for (const auto& session : viewModel_->sessions()) {
            sessionConnections_.push_back(
                connect(session.get(), &TranslateSession::stateChanged, this, &ContentState::changed));
        }
    }
    Q_EMIT changed();
}

bool ContentState::showChromeAndDividers() const {
    return viewModel_ == nullptr || !viewModel_->miniMode() || (hovering_ && hasLeftSinceMiniToggle_);
}

double ContentState::chromeOpacity() const {
    if (viewModel_ != nullptr && viewModel_->miniMode()) {
        return showChromeAndDividers() ? 1 : 0;
    }
    return headerOpacity();
}

double ContentState::headerOpacity() const {
    return !hovering_ && viewModel_ != nullptr && viewModel_->anyRunning() ? dimmed : 1;
}

int ContentState::conversationMinWidth() const {
    if (viewModel_ == nullptr || viewModel_->mode() == AppMode::solo) {
        return soloWidth;
    }
    return columnWidth * static_cast<int>(viewModel_->sessions().size()) + columnsMargin;
}

bool ContentState::startDisabled() const {
    return viewModel_ != nullptr && viewModel_->isSignedOut() && !viewModel_->canStop();
}

bool ContentState::isConnecting() const {
    return viewModel_ != nullptr && std::ranges::any_of(viewModel_->sessions(), [](const auto& session) {
               return session->state().kind() == ConnectionState::Case::connecting;
           });
}

void ContentState::pointerEntered() {
    leftForPopover_ = false;
    cancelDim();
    setHovering(true);
}

void ContentState::pointerLeft() {
    if (isPopoverOpen_) {
        leftForPopover_ = true;
        return;
    }
    leave();
}

void ContentState::setPopoverOpen(bool value) {
    if (isPopoverOpen_ == value) {
        return;
    }
    isPopoverOpen_ = value;
    Q_EMIT changed();
    if (!value && std::exchange(leftForPopover_, false)) {
        leave();
    }
}

void ContentState::leave() {
    if (viewModel_ == nullptr) {
        return;
    }
    cancelDim();
    hasLeftSinceMiniToggle_ = true;
    if (viewModel_->miniMode()) {
        hovering_ = false;
    } else {
        const auto& services = viewModel_->services().session;
        dimTask_ =
            TaskHandle::start(services.main, dim(QPointer<ContentState>(this), services.clock, dimNumber_));
    }
    Q_EMIT changed();
}

Task<void> ContentState::dim(QPointer<ContentState> weak, std::shared_ptr<Clock> clock,
                             std::uint64_t number) {
    co_await sleepFor(std::move(clock), dimDelay);
    if (weak && weak->dimNumber_ == number) {
        weak->setHovering(false);
    }
}

void ContentState::cancelDim() {
    dimTask_.cancel();
    ++dimNumber_;
}

void ContentState::appeared() {
    if (viewModel_ != nullptr) {
        hovering_ = true;
        hasLeftSinceMiniToggle_ = !viewModel_->miniMode();
        Q_EMIT changed();
    }
}

void ContentState::miniModeChanged() {
    if (wasMini_ != viewModel_->miniMode()) {
        wasMini_ = viewModel_->miniMode();
        hasLeftSinceMiniToggle_ = !wasMini_;
        Q_EMIT changed();
    }
}

void ContentState::setHovering(bool value) {
    if (hovering_ != value) {
        hovering_ = value;
        Q_EMIT changed();
    }
}

}  // namespace tarn
