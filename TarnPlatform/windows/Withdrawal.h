#pragma once

#include <QAbstractNativeEventFilter>
#include <QObject>
#include <cstdint>

class QWindow;

namespace tarn {

/// Waits until the window manager has let go of a window that was hidden. Where the window is shown again
/// before that, the window manager may take the new mapping for part of the old one and hide it. Thread:
/// main.
class Withdrawal : public QObject, private QAbstractNativeEventFilter {
    Q_OBJECT

public:
    explicit Withdrawal(QObject* parent = nullptr);
    ~Withdrawal() override;

    /// Begins to wait for `window`, and stops waiting for any other. True when there is nothing to wait for.
    bool await(QWindow& window);

Q_SIGNALS:
    void done();

private:
    bool nativeEventFilter(const QByteArray& type, void* message, qintptr* result) override;
    bool isManaged() const;

    std::uint32_t state_ = 0;  ///< the property by which window managers say that they have the window
    std::uint32_t window_ = 0;
};

}  // namespace tarn
