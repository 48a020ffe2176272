#pragma once

#include <QQmlComponent>
#include <QQmlEngine>
#include <QQuickWindow>
#include <QVariantMap>
#include <memory>

namespace tarn {

/// The engine of all views, and the main window's types, which it loads on a thread of its own from the
/// moment when this is made: that takes about as long as everything else that comes before the window.
/// Thread: main.
class MainWindowLoader {
public:
    MainWindowLoader();

    QQmlEngine& engine() { return engine_; }
    /// Makes the window, hidden, once its types are there; the event loop runs meanwhile. Null, after one
    /// line, where it cannot be made.
    std::unique_ptr<QQuickWindow> make(const QVariantMap& properties);

private:
    QQmlEngine engine_;
    std::unique_ptr<QQmlComponent> component_;
};

}  // namespace tarn
