#pragma once

#include <QAbstractNativeEventFilter>
#include <QObject>
#include <cstdint>
#include <memory>

namespace tarn {

/// Whether a window that asks the window manager to stay above others really is above them now. It is not
/// - under a window manager that knows no such wish, or none at all;
/// - over a full-screen window of another program, as long as that is the active one: most window managers
///   put it on top of everything that they manage;
/// - in a Wayland session, where the active window is no window of X11: it may be full screen, which is
/// nothing
///   that programs of X11 are told.
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
    /// Whether the keyboard is with a window of no program of X11, so that only the window manager can give
    /// it to one of ours: a window that it manages.
    bool isKeyboardElsewhere() const;

Q_SIGNALS:
    void changed();
    /// Windows have been raised or lowered, perhaps over those that bypass the window manager.
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
