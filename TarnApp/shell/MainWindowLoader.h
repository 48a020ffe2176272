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
    /// Lets the loading go on where it waits for the main thread, as it does after each library that it
    /// loads, and handles whatever else is queued for that thread. To be called between what else there is to
    /// do.
    static void goOn();
    /// Makes the window, hidden and empty, once all types are there; the event loop runs meanwhile. Null,
    /// after one line, where it cannot be made.
    std::unique_ptr<QQuickWindow> make(const QVariantMap& properties);
    /// Makes the views in `window`, which came from `make`; no event is handled meanwhile. False, after one
    /// line, where they cannot be made.
    bool fill(QQuickWindow& window);

private:
    QQmlEngine engine_;
    static void await(const QQmlComponent& component);

    std::unique_ptr<QQmlComponent> window_;
    std::unique_ptr<QQmlComponent> content_;  ///< only loaded here; the window makes it
};

}  // namespace tarn
