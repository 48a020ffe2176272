#pragma once

#include <QQmlEngine>
#include <QQuickWindow>
#include <QString>
#include <QVariantMap>
#include <memory>

namespace tarn {

/// A window of the QML file `address`; null, after one line that begins with `whose`, where it cannot be
/// made. Thread: main.
std::unique_ptr<QQuickWindow> makeWindow(QQmlEngine& engine, const char* address,
                                         const QVariantMap& properties, const char* whose);

/// An ordinary window of which nothing is loaded before it is first shown. Thread: main.
class WindowOnDemand {
public:
    /// `engine` must outlive this. `address`: of the QML file.
    WindowOnDemand(QQmlEngine& engine, const char* address);
    ~WindowOnDemand();

    /// In front of others, with the keys; after one line, not at all, where it cannot be made. `properties`:
    /// what it is made with, the first time.
    void show(const QVariantMap& properties = {});
    void close() { window_.reset(); }
    QQuickWindow* window() const { return window_.get(); }  ///< null until it is first shown

private:
    QQmlEngine& engine_;
    const char* const address_;
    std::unique_ptr<QQuickWindow> window_;
};

}  // namespace tarn
