// The main function of Qt Quick tests: the program's arguments are those of Qt's own, which ctest gives.
#include "QuickTestMain.h"

#include <QTest>

#include "TarnApp/views/style/QmlModules.h"

namespace tarn::test {

void QuickTestSetup::applicationAvailable() {
    QQuickWindow::setDefaultAlphaBuffer(true);
    registerOverlayModule();
    registerOnboardingModule();
}

void QuickTestSetup::qmlEngineAvailable(QQmlEngine* engine) {
    engine->addImportPath("qrc:/qt/qml");
    world_.reset();  // it takes back what the next one puts in place
    world_ = std::make_unique<ViewWorld>();
    engine->rootContext()->setContextProperty("world", world_.get());
    connect(engine, &QQmlEngine::warnings, this, &QuickTestSetup::warned);
}

void QuickTestSetup::warned(const QList<QQmlError>& warnings) {
    hasWarned_ = true;
    for (const QQmlError& warning : warnings) {
        QTest::qFail(qPrintable(warning.toString()), qPrintable(warning.url().toString()), warning.line());
    }
}

}  // namespace tarn::test

int main(int argc, char** argv) {
    QTEST_SET_MAIN_SOURCE_PATH
    tarn::test::QuickTestSetup setup;
    const int failures = quick_test_main_with_setup(argc, argv, "tarn", nullptr, &setup);
    return failures == 0 && setup.hasWarned() ? 1 : failures;  // after the last function
}
