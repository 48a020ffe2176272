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

void ContentState::modelReplaced(TranslateViewModel* model) {
    if (model != nullptr) {
        wasMini_ = model->miniMode();
        connect(model, &TranslateViewModel::miniModeChanged, this, &ContentState::miniModeChanged);
        for (const auto signal : {&TranslateViewModel::anyRunningChanged, &TranslateViewModel::canStopChanged,
                                  &TranslateViewModel::isLoggedInChanged, &TranslateViewModel::modeChanged}) {
            connect(model, signal, this, &ContentState::changed);
        }
        connect(model, &TranslateViewModel::sessionsChanged, this, &ContentState::followSessions);
    }
    followSessions();
}

void ContentState::followSessions() {
    for (const auto& connection : sessionConnections_) {
        disconnect(connection);
    }
    sessionConnections_.clear();
    if (viewModel() != nullptr) {
        for (const auto& session : viewModel()->sessions()) {
            sessionConnections_.push_back(
                connect(session.get(), &TranslateSession::stateChanged, this, &ContentState::changed));
        }
    }
    Q_EMIT changed();
}

bool ContentState::showChromeAndDividers() const {
    return viewModel() == nullptr || !viewModel()->miniMode() || (hovering_ && hasLeftSinceMiniToggle_);
}

double ContentState::chromeOpacity() const {
    if (viewModel() != nullptr && viewModel()->miniMode()) {
        return showChromeAndDividers() ? 1 : 0;
    }
    return headerOpacity();
}

double ContentState::headerOpacity() const {
    return !hovering_ && viewModel() != nullptr && viewModel()->anyRunning() ? dimmed : 1;
}

int ContentState::conversationMinWidth() const {
    if (viewModel() == nullptr || viewModel()->mode() == AppMode::solo) {
        return soloWidth;
    }
    return columnWidth * static_cast<int>(viewModel()->sessions().size()) + columnsMargin;
}

bool ContentState::startDisabled() const {
    return viewModel() != nullptr && viewModel()->isSignedOut() && !viewModel()->canStop();
}

bool ContentState::isConnecting() const {
    return viewModel() != nullptr && std::ranges::any_of(viewModel()->sessions(), [](const auto& session) {
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
    if (viewModel() == nullptr) {
        return;
    }
    cancelDim();
    hasLeftSinceMiniToggle_ = true;
    if (viewModel()->miniMode()) {
        hovering_ = false;
    } else {
        const auto& services = viewModel()->services().session;
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

// A sleep that has ended can no longer be cancelled, so the number marks its timer as void.
void ContentState::cancelDim() {
    dimTask_.cancel();
    ++dimNumber_;
}

void ContentState::appeared() {
    if (viewModel() != nullptr) {
        hovering_ = true;
        hasLeftSinceMiniToggle_ = !viewModel()->miniMode();
        Q_EMIT changed();
    }
}

void ContentState::miniModeChanged() {
    if (wasMini_ != viewModel()->miniMode()) {
        wasMini_ = viewModel()->miniMode();
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
