#pragma once

#include <QQmlEngine>
#include <QQuickWindow>
#include <memory>

#include "RecordWindowState.h"

namespace tarn {

/// The window of what was said. Nothing of it is loaded before it is first wanted. Thread: main.
class RecordWindowController {
public:
    /// What is given must outlive this. Requires: `registerRecordModule` has been called.
    RecordWindowController(QQmlEngine& engine, TranslateViewModel& vm, BusThread& bus);
    ~RecordWindowController();

    /// In front of others, with the keys.
    void show();
    QQuickWindow* window() const { return window_.get(); }  ///< null until it is first shown

private:
    QQmlEngine& engine_;
    TranslateViewModel& vm_;
    BusThread& bus_;
    std::unique_ptr<RecordWindowState> state_;
    std::unique_ptr<QQuickWindow> window_;
};

}  // namespace tarn
