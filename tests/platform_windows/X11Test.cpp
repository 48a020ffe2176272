// Our windows on a bare X server, where a second connection plays the window manager, the compositor and
// another program.
#include <gtest/gtest.h>
#include <xcb/xcb.h>

#include <QGuiApplication>
#include <QSignalSpy>
#include <QTest>
#include <QWindow>
#include <boost/asio/io_context.hpp>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <vector>

#include "TarnPlatform/windows/Compositor.h"
#include "TarnPlatform/windows/FloatingOverlay.h"
#include "TarnPlatform/windows/StackingWatch.h"
#include "TarnPlatform/windows/WindowFrame.h"
#include "support/ManualClock.h"

namespace tarn {
namespace {

using namespace std::chrono_literals;

template <typename Condition>
bool until(Condition condition) {
    return QTest::qWaitFor(condition, 10'000);
}

class OtherProgram {
public:
    OtherProgram() : connection_(xcb_connect(nullptr, nullptr)) {
        root_ = xcb_setup_roots_iterator(xcb_get_setup(connection_)).data->root;
        window_ = newWindow();
    }
    ~OtherProgram() { xcb_disconnect(connection_); }
    OtherProgram(const OtherProgram&) = delete;
    OtherProgram& operator=(const OtherProgram&) = delete;

    xcb_window_t root() const { return root_; }
    xcb_window_t window() const { return window_; }
    xcb_window_t newWindow() {
        const auto id = xcb_generate_id(connection_);
        xcb_create_window(connection_, XCB_COPY_FROM_PARENT, id, root_, 0, 0, 100, 100, 0,
                          XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT, 0, nullptr);
        return id;
    }
    void destroy(xcb_window_t window) {
        xcb_destroy_window(connection_, window);
        xcb_flush(connection_);
    }

    xcb_atom_t atom(const char* name) {
        auto* const reply = xcb_intern_atom_reply(
            connection_, xcb_intern_atom(connection_, 0, static_cast<std::uint16_t>(std::strlen(name)), name),
            nullptr);
        const auto atom = reply->atom;
        std::free(reply);
        return atom;
    }
    void set(xcb_window_t window, const char* property, xcb_atom_t type, std::vector<std::uint32_t> values) {
        xcb_change_property(connection_, XCB_PROP_MODE_REPLACE, window, atom(property), type, 32,
                            static_cast<std::uint32_t>(values.size()), values.data());
        xcb_flush(connection_);
    }
    void removeProperty(xcb_window_t window, const char* property) {
        xcb_delete_property(connection_, window, atom(property));
        xcb_flush(connection_);
    }
    std::vector<std::uint32_t> get(xcb_window_t window, const char* property) {
        auto* const reply = xcb_get_property_reply(
            connection_, xcb_get_property(connection_, 0, window, atom(property), XCB_ATOM_ANY, 0, 4096),
            nullptr);
        const auto* const data = static_cast<const std::uint32_t*>(xcb_get_property_value(reply));
        std::vector<std::uint32_t> values(data, data + reply->value_len);
        std::free(reply);
        return values;
    }

    void becomeCompositor() {
        xcb_set_selection_owner(connection_, window_, atom("_NET_WM_CM_S0"), XCB_CURRENT_TIME);
        xcb_flush(connection_);
    }
    void becomeWindowManager() {
        set(root_, "_NET_SUPPORTING_WM_CHECK", XCB_ATOM_WINDOW, {window_});
        set(root_, "_NET_SUPPORTED", XCB_ATOM_ATOM, {atom("_NET_WM_STATE"), atom("_NET_WM_STATE_ABOVE")});
    }
    void activate(xcb_window_t window) { set(root_, "_NET_ACTIVE_WINDOW", XCB_ATOM_WINDOW, {window}); }
    void setFullScreen(xcb_window_t window, bool value) {
        set(window, "_NET_WM_STATE", XCB_ATOM_ATOM,
            value ? std::vector<std::uint32_t>{atom("_NET_WM_STATE_FULLSCREEN")}
                  : std::vector<std::uint32_t>{});
    }

    struct Seen {
        bool isViewable;
        bool bypasses;
        QRect frame;
    };
    Seen look(const QWindow& window) {
        const auto id = static_cast<xcb_window_t>(window.winId());
        auto* const attributes =
            xcb_get_window_attributes_reply(connection_, xcb_get_window_attributes(connection_, id), nullptr);
        auto* const place = xcb_get_geometry_reply(connection_, xcb_get_geometry(connection_, id), nullptr);
        const Seen seen{attributes->map_state == XCB_MAP_STATE_VIEWABLE, attributes->override_redirect != 0,
                        QRect(place->x, place->y, place->width, place->height)};
        std::free(attributes);
        std::free(place);
        return seen;
    }

private:
    xcb_connection_t* const connection_;
    xcb_window_t root_ = XCB_NONE;
    xcb_window_t window_ = XCB_NONE;
};

class WindowsOnX11 : public testing::Test {
protected:
    void TearDown() override {
        for (const char* property : {"_NET_SUPPORTING_WM_CHECK", "_NET_SUPPORTED", "_NET_ACTIVE_WINDOW"}) {
            desktop_->removeProperty(desktop_->root(), property);
        }
        desktop_.reset();
    }

    std::unique_ptr<OtherProgram> desktop_ = std::make_unique<OtherProgram>();
    OtherProgram other_;
};

TEST_F(WindowsOnX11, CompositorComesAndGoes) {
    Compositor compositor;
    const QSignalSpy changes(&compositor, &Compositor::changed);
    EXPECT_FALSE(compositor.isRunning());
    auto picom = std::make_unique<OtherProgram>();
    picom->becomeCompositor();
    EXPECT_TRUE(until([&] { return compositor.isRunning(); }));
    EXPECT_TRUE(Compositor().isRunning());
    picom.reset();
    EXPECT_TRUE(until([&] { return !compositor.isRunning(); }));
    EXPECT_EQ(changes.count(), 2);
}

TEST_F(WindowsOnX11, KeepsAboveUntilAnotherProgramIsFullScreen) {
    StackingWatch stacking;
    const auto becomes = [&stacking](bool keeps) {
        return until([&stacking, keeps] { return stacking.keepsAbove() == keeps; });
    };
    EXPECT_FALSE(stacking.keepsAbove()) << "without a window manager";
    desktop_->becomeWindowManager();
    EXPECT_TRUE(becomes(true));
    EXPECT_TRUE(StackingWatch().keepsAbove());

    const auto video = other_.newWindow();
    other_.setFullScreen(video, true);
    desktop_->activate(video);
    EXPECT_TRUE(becomes(false));

    // A user who activates our window, or none, still sees the video.
    QWindow own;
    own.create();
    QSignalSpy changes(&stacking, &StackingWatch::changed);
    QSignalSpy restacked(&stacking, &StackingWatch::restacked);
    desktop_->activate(static_cast<xcb_window_t>(own.winId()));
    desktop_->activate(XCB_NONE);
    desktop_->set(desktop_->root(), "_NET_CLIENT_LIST_STACKING", XCB_ATOM_WINDOW, {video});
    EXPECT_TRUE(until([&] { return restacked.count() == 1; }));
    EXPECT_EQ(changes.count(), 0);

    other_.setFullScreen(video, false);
    EXPECT_TRUE(becomes(true));
    other_.setFullScreen(video, true);
    EXPECT_TRUE(becomes(false));
    desktop_->activate(other_.window());
    EXPECT_TRUE(becomes(true)) << "an ordinary window became the active one";
    desktop_->activate(video);
    EXPECT_TRUE(becomes(false));
    other_.destroy(video);
    EXPECT_TRUE(becomes(true)) << "the window is gone";
    desktop_->activate(video);  // the window no longer exists: no error, no change
    desktop_->activate(other_.window());
    desktop_->removeProperty(desktop_->root(), "_NET_SUPPORTED");
    EXPECT_TRUE(becomes(false)) << "the window manager knows no such wish";
}

TEST_F(WindowsOnX11, OverlayChangesHandsAndKeepsItsPlace) {
    desktop_->becomeWindowManager();
    const Compositor compositor;
    const StackingWatch stacking;
    FloatingOverlay overlay(compositor, stacking);
    QWindow window;
    window.setGeometry(120, 90, 640, 220);
    overlay.style(&window, {.minimumSize = {480, 140}, .cornerRadius = 12});
    window.show();
    overlay.style(&window, {.minimumSize = {480, 140}, .cornerRadius = 12});
    ASSERT_TRUE(until([&] { return desktop_->look(window).isViewable && !window.mask().isEmpty(); }));
    EXPECT_FALSE(desktop_->look(window).bypasses);
    EXPECT_FALSE(window.mask().contains(QPoint(1, 1))) << "no compositor: the corner is cut off";
    EXPECT_TRUE(window.mask().contains(QPoint(1, 110)));
    const auto id = static_cast<xcb_window_t>(window.winId());
    const auto blurred = [&] { return desktop_->get(id, "_KDE_NET_WM_BLUR_BEHIND_REGION"); };
    std::size_t area = 0;
    for (std::size_t i = 0; i + 3 < blurred().size(); i += 4) {
        area += blurred()[i + 2] * blurred()[i + 3];
    }
    EXPECT_GT(area, 640U * 220U - 200U);
    EXPECT_LT(area, 640U * 220U);
    overlay.setHasBackdrop(false);
    EXPECT_TRUE(until([&] { return blurred().empty(); }));

    // The window manager takes its time to let go: the window is not shown before.
    desktop_->set(id, "WM_STATE", desktop_->atom("WM_STATE"), {1, 0});
    const auto video = other_.newWindow();
    other_.setFullScreen(video, true);
    desktop_->activate(video);
    ASSERT_TRUE(until([&] { return !stacking.keepsAbove() && !desktop_->look(window).isViewable; }));
    EXPECT_FALSE(window.isVisible());
    desktop_->removeProperty(id, "WM_STATE");
    ASSERT_TRUE(until([&] { return desktop_->look(window).isViewable; }));
    EXPECT_TRUE(desktop_->look(window).bypasses);
    EXPECT_EQ(desktop_->look(window).frame, QRect(120, 90, 640, 220));

    // A window that its owner hid stays hidden, whatever happens meanwhile.
    window.hide();
    other_.setFullScreen(video, false);
    ASSERT_TRUE(until([&] { return stacking.keepsAbove(); }));
    EXPECT_FALSE(window.isVisible());
    window.show();
    ASSERT_TRUE(until([&] { return desktop_->look(window).isViewable; }));
    EXPECT_FALSE(desktop_->look(window).bypasses);
    EXPECT_EQ(desktop_->look(window).frame, QRect(120, 90, 640, 220));

    OtherProgram picom;
    picom.becomeCompositor();
    EXPECT_TRUE(until([&] { return window.mask().isEmpty(); }));
}

TEST_F(WindowsOnX11, OverlayChangesHandsOnlyOnceItIsLetGoOf) {
    const Compositor compositor;
    const StackingWatch stacking;  // without a window manager, so that we move it by hand
    FloatingOverlay overlay(compositor, stacking);
    QWindow window;
    window.setGeometry(120, 90, 640, 220);
    overlay.style(&window, {.minimumSize = {480, 140}, .cornerRadius = 12});
    window.show();
    ASSERT_TRUE(until([&] { return desktop_->look(window).isViewable; }));
    overlay.drag()->pressed(QPoint(639, 110));
    ASSERT_TRUE(overlay.drag()->isUnderWay());
    desktop_->becomeWindowManager();
    ASSERT_TRUE(until([&] { return stacking.keepsAbove(); }));
    EXPECT_TRUE(desktop_->look(window).bypasses);
    overlay.drag()->released();
    EXPECT_TRUE(until([&] { return !desktop_->look(window).bypasses && window.isVisible(); }));
}

TEST_F(WindowsOnX11, DragsByHandWhatNobodyManages) {
    QPoint pointer(200, 200);
    WindowDrag drag([&pointer] { return pointer; });
    drag.pressed(QPoint(10, 10));  // without a window nothing happens
    drag.moved(QPoint(20, 20));
    QWindow window;
    window.setFlags(Qt::Window | Qt::FramelessWindowHint | Qt::BypassWindowManagerHint);
    window.setMinimumSize({480, 140});
    window.setGeometry(100, 100, 640, 220);
    window.show();
    drag.setWindow(&window);
    const auto pull = [&](QPoint start, QPoint distance, QPoint extra = {}) {
        pointer = window.position() + start;
        drag.pressed(start);
        for (int step = 1; step <= 4; ++step) {
            pointer = QPoint(100, 100) + start + distance * step / 4;
            drag.moved(pointer - window.position());
        }
        pointer += extra;
        drag.released();
        const QRect after = window.geometry();
        window.setGeometry(100, 100, 640, 220);
        return after;
    };
    EXPECT_EQ(pull({320, 110}, {40, -24}), QRect(140, 76, 640, 220));
    EXPECT_EQ(pull({320, 110}, {2, 1}), QRect(100, 100, 640, 220)) << "a press that trembles is no move";
    EXPECT_EQ(pull({320, 110}, {40, -24}, {5, 5}), QRect(145, 81, 640, 220))
        << "the last move is the release";
    EXPECT_EQ(pull({639, 219}, {40, 24}), QRect(100, 100, 680, 244));
    EXPECT_EQ(pull({0, 110}, {400, 0}), QRect(260, 100, 480, 220));
    drag.moved(QPoint(300, 300));  // the pointer moves with no button pressed
    EXPECT_EQ(window.geometry(), QRect(100, 100, 640, 220));
    EXPECT_EQ(drag.cursorFor(QPointF(639.6, 110)), Qt::SizeHorCursor);
}

TEST_F(WindowsOnX11, RemembersTheFrameOnceItHasComeToRest) {
    const auto defaults = UserDefaults::inMemory();
    const auto clock = std::make_shared<test::ManualClock>();
    asio::io_context context;
    const auto remembered = [&] { return defaults->string("window.probe.frame"); };
    const auto pass = [&](Clock::Duration time) {
        clock->advance(time);
        context.restart();
        context.poll();
    };
    {
        WindowFrame frame("probe", defaults, context.get_executor(), clock);
        QWindow window;
        window.resize(640, 220);
        frame.attach(&window);
        frame.attach(&window);
        EXPECT_EQ(window.geometry().center(), QRect(0, 0, 1280, 800).center());
        window.show();
        ASSERT_TRUE(until([&] { return window.isExposed(); }));
        const QSignalSpy moves(&window, &QWindow::xChanged);
        for (int x = 10; x <= 50; x += 10) {
            const auto before = moves.count();
            window.setGeometry(x, 20, 640, 220);
            ASSERT_TRUE(until([&] { return moves.count() > before; }));
            pass(WindowFrame::delay - 1ms);
            EXPECT_FALSE(remembered()) << x;
        }
        pass(1ms);
        EXPECT_EQ(remembered(), "50 20 640 220");
        EXPECT_EQ(clock->pendingCalls(), 0U);
        window.hide();
        window.setGeometry(0, 0, 50, 50);
        QCoreApplication::processEvents();
        EXPECT_EQ(clock->pendingCalls(), 0U) << "what is not seen does not count";
        window.show();
        // And the program ends before the delay has passed.
        const QSignalSpy heights(&window, &QWindow::heightChanged);
        window.setGeometry(1200, 20, 700, 240);
        ASSERT_TRUE(until([&] { return !heights.isEmpty() && heights.constLast().constFirst() == 240; }));
    }
    EXPECT_EQ(remembered(), "1200 20 700 240");

    WindowFrame frame("probe", defaults, context.get_executor(), clock);
    QWindow window;
    frame.attach(&window);
    EXPECT_EQ(window.geometry(), QRect(580, 20, 700, 240));
    defaults->set("window.probe.frame", "none of your business");
    QWindow another;
    another.setGeometry(1, 2, 640, 220);
    frame.attach(&another);
    EXPECT_EQ(another.size(), QSize(640, 220));
}

}  // namespace
}  // namespace tarn

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    qputenv("QT_QPA_PLATFORM", "xcb");
    const QGuiApplication application(argc, argv);
    QGuiApplication::setQuitOnLastWindowClosed(false);
    return RUN_ALL_TESTS();
}
