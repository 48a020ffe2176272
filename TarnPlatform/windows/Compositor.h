#pragma once

#include <QAbstractNativeEventFilter>
#include <QObject>
#include <cstdint>

namespace tarn {

/// Whether windows of this desktop can be translucent, because a compositing manager runs on the X screen.
/// One that starts or ends later is noticed. Every other platform than X11 has one.
///
/// Thread: main, which has the application.
class Compositor : public QObject, private QAbstractNativeEventFilter {
    Q_OBJECT

public:
    explicit Compositor(QObject* parent = nullptr);
    ~Compositor() override;

    bool isRunning() const { return isRunning_; }

Q_SIGNALS:
    void changed();

private:
    bool nativeEventFilter(const QByteArray& type, void* message, qintptr* result) override;
    void setRunning(bool value);

    bool isRunning_ = true;
    std::uint32_t selection_ = 0;
    int notify_ = -1;  ///< the type of the events about the selection's owner
};

}  // namespace tarn
