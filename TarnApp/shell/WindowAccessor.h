#pragma once

#include <QtQml/qqmlregistration.h>
#include <QQuickItem>
#include <QWindow>

namespace tarn {

/// An invisible item that hands on the window it has been placed in: one turn of the event loop after it came
/// into it, and again whenever the window is shown or `updated()` is called. Whoever listens must not mind
/// repetition.
class WindowAccessor : public QQuickItem {
    Q_OBJECT
    QML_ELEMENT

public:
    explicit WindowAccessor(QQuickItem* parent = nullptr);

    Q_INVOKABLE void updated();

Q_SIGNALS:
    void attach(QWindow* window);

protected:
    void itemChange(ItemChange change, const ItemChangeData& data) override;

private:
    QMetaObject::Connection shown_;
    bool isScheduled_ = false;
};

}  // namespace tarn
