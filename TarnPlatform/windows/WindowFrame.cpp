#include "WindowFrame.h"

#include <QGuiApplication>
#include <QScreen>
#include <QWindow>
#include <utility>
#include <vector>

#include "FramePlacement.h"

namespace tarn {

WindowFrame::WindowFrame(std::string name, std::shared_ptr<UserDefaults> defaults, SerialExecutor main,
                         std::shared_ptr<Clock> clock, QObject* parent)
    : QObject(parent),
      key_("window." + std::move(name) + ".frame"),
      defaults_(std::move(defaults)),
      main_(std::move(main)),
      clock_(std::move(clock)) {}

WindowFrame::~WindowFrame() {
    flush();
}

void WindowFrame::attach(QWindow* window) {
    if (window_ == window) {
        return;
    }
    flush();
    if (window_) {
        window_->disconnect(this);
    }
    window_ = window;
    if (!window_) {
        return;
    }
    const auto remembered = FramePlacement::frame(defaults_->string(key_).value_or(""));
    if (remembered) {
        place(*remembered);
    } else if (const QScreen* const screen = window_->screen()) {
        QRect frame = window_->geometry();
        frame.moveCenter(screen->availableGeometry().center());
        window_->setGeometry(frame);
    }
    frame_ = window_->geometry();
    connect(window_, &QWindow::xChanged, this, &WindowFrame::later);
    connect(window_, &QWindow::yChanged, this, &WindowFrame::later);
    connect(window_, &QWindow::widthChanged, this, &WindowFrame::later);
    connect(window_, &QWindow::heightChanged, this, &WindowFrame::later);
    followScreens();
}

void WindowFrame::place(QRect frame) {
    std::vector<QRect> screens;
    for (const QScreen* screen : QGuiApplication::screens()) {
        screens.push_back(screen->availableGeometry());
    }
    window_->setGeometry(FramePlacement::onScreens(frame, screens, window_->minimumSize()));
}

void WindowFrame::followScreens() {
    // Queued, because Qt sends these signals while it is still changing what it knows of the screens.
    constexpr auto once = static_cast<Qt::ConnectionType>(Qt::QueuedConnection | Qt::UniqueConnection);
    connect(qGuiApp, &QGuiApplication::screenAdded, this, &WindowFrame::followScreens, once);
    connect(qGuiApp, &QGuiApplication::screenRemoved, this, &WindowFrame::screensChanged, once);
    for (const QScreen* screen : QGuiApplication::screens()) {
        connect(screen, &QScreen::logicalDotsPerInchChanged, this, &WindowFrame::screensChanged, once);
    }
}

void WindowFrame::screensChanged() {
    // At another scale a window keeps its size in pixels, so that less fits in it, until it is given a new
    // one.
    if (window_ && window_->isVisible() && window_->windowState() == Qt::WindowNoState) {
        place(frame_);
    }
}

void WindowFrame::later() {
    // The window manager also changes the frame of windows that it hides or minimises. Only a frame that the
    // user has seen is remembered.
    if (!window_->isVisible() || window_->windowState() != Qt::WindowNoState) {
        return;
    }
    frame_ = window_->geometry();
    call_ = clock_->callAfter(main_, delay, [this] { flush(); });
}

void WindowFrame::flush() {
    if (std::exchange(call_, nullptr)) {
        defaults_->set(key_, FramePlacement::text(frame_));
    }
}

}  // namespace tarn
