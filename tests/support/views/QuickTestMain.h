#pragma once

#include <QtQuickTest/quicktest.h>
#include <QQmlContext>
#include <QQmlEngine>
#include <QQuickWindow>

#include "ViewWorld.h"

namespace tarn::test {

/// What every QML file of a test is given: the modules, and a world that lasts for the file.
class QuickTestSetup : public QObject {
    Q_OBJECT

public Q_SLOTS:
    void applicationAvailable();
    void qmlEngineAvailable(QQmlEngine* engine);

private:
    std::unique_ptr<ViewWorld> world_;
};

}  // namespace tarn::test
