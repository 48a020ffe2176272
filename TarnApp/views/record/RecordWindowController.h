#pragma once

#include <QQmlEngine>
#include <QQuickWindow>

#include "RecordWindowState.h"
#include "TarnApp/views/style/WindowOnDemand.h"

namespace tarn {

/// The window of what was said. Nothing of it is loaded before it is first wanted. Thread: main.
class RecordWindowController {
public:
    /// What is given must outlive this. Requires: `registerRecordModule` has been called.
    RecordWindowController(QQmlEngine& engine, TranslateViewModel& vm, BusThread& bus);
    ~RecordWindowController();

    /// In front of others, with the keys.
    void show();
    QQuickWindow* window() const { return window_.window(); }  ///< null until it is first shown

private:
    RecordWindowState state_;
    WindowOnDemand window_;
};

}  // namespace tarn
