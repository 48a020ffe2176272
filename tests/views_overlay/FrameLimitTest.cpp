#include "TarnApp/views/overlay/FrameLimit.h"

#include <gtest/gtest.h>

#include <QGuiApplication>
#include <cstdlib>
#include <functional>

namespace tarn {
namespace {

void turn(const std::function<bool()>& isDone) {
    while (!isDone()) {
        QCoreApplication::processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents);
    }
}

TEST(FrameLimit, DrawsManyChangesInFewFramesAndLosesNone) {
    ::setenv("QT_QPA_PLATFORM", "offscreen", 1);
    int count = 0;
    const QGuiApplication application(count, nullptr);
    QQuickWindow::setGraphicsApi(QSGRendererInterface::Software);
    QQuickWindow window;
    FrameLimit limit;
    limit.setWindow(&window);
    int frames = 0;
    QObject::connect(&window, &QQuickWindow::frameSwapped, [&] { ++frames; });
    window.resize(20, 20);
    window.show();
    turn([&] { return frames > 0; });

    QElapsedTimer time;
    time.start();
    const int before = frames;
    int asked = 0;
    QBasicTimer often;
    struct Asking : QObject {
        std::function<void()> ask;
        void timerEvent(QTimerEvent*) override { ask(); }
    } asking;
    asking.ask = [&] {
        ++asked;
        window.update();
    };
    often.start(1, Qt::PreciseTimer, &asking);
    turn([&] { return frames >= before + 10; });
    often.stop();
    const qint64 passed = time.elapsed();
    EXPECT_LE(frames - before, passed / FrameLimit::shortest + 2)
        << asked << " changes in " << passed << " ms";

    const int atLast = frames;
    window.update();
    turn([&] { return frames > atLast; });
    SUCCEED() << "the last change is drawn, also when nothing follows it";
}

}  // namespace
}  // namespace tarn
