#pragma once

#include <QtQuickTest/quicktest.h>
#include <QQmlContext>
#include <QQmlEngine>
#include <QQuickWindow>

#include "ViewWorld.h"

namespace tarn::test {

/// What every QML file of a test is given: the modules, and a world that lasts for the file. A warning of the
/// engine fails the test function that runs.
class QuickTestSetup : public QObject {
    Q_OBJECT

public:
    bool hasWarned() const { return hasWarned_; }

public Q_SLOTS:
    void applicationAvailable();
    void qmlEngineAvailable(QQmlEngine* engine);

private:
    void warned(const QList<QQmlError>& warnings);

    std::unique_ptr<ViewWorld> world_;
    bool hasWarned_ = false;
};

}  // namespace tarn::test
