#pragma once

#include <QAbstractNativeEventFilter>
#include <QObject>
#include <cstdint>
#include <memory>

namespace tarn {

/// Whether a window that asks the window manager to stay above others really is above them now.
///
/// It is not where there is no window manager, or one that does not know the wish. It is not over a
/// full-screen window of another program that is the active one, since most window managers put that on top
/// of everything that they manage. And it may not be in a Wayland session whose active window is no window of
/// X11: that one may be full screen, which programs of X11 are not told.
///
/// The active window counts until one of another program takes its place, so that a user who turns to one of
/// our own windows does not change the answer.
///
/// Thread: main, which has the application.
class StackingWatch : public QObject, private QAbstractNativeEventFilter {
    Q_OBJECT

public:
    explicit StackingWatch(QObject* parent = nullptr);
    ~StackingWatch() override;

    bool keepsAbove() const { return keepsAbove_; }
    /// Whether a window that is not of X11 has the keyboard focus. Then only the window manager can give the
    /// focus to a window of ours, and only to one that it manages.
    bool isKeyboardElsewhere() const;

Q_SIGNALS:
    void changed();
    /// Windows have been raised or lowered, perhaps above windows that bypass the window manager.
    void restacked();

private:
    struct Atoms;

    bool nativeEventFilter(const QByteArray& type, void* message, qintptr* result) override;
    void readWindowManager();
    void readActiveWindow();
    void readState();
    void settle();

    bool keepsAbove_ = true;
    bool knowsAbove_ = true;
    bool isFullScreen_ = false;
    bool isNothingActive_ = false;  ///< as far as X11 knows
    std::uint32_t other_ = 0;       ///< the window of another program that was the active one last
    std::unique_ptr<const Atoms> atoms_;
};

}  // namespace tarn
