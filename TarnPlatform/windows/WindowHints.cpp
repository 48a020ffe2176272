#include "WindowHints.h"

#include <xcb/xfixes.h>

#include <QPainterPath>
#include <QRegion>
#include <QWindow>
#include <cmath>
#include <vector>

#include "X11.h"

namespace tarn {
namespace {

QRegion roundedRegion(QSize size, qreal radius) {
    QPainterPath path;
    path.addRoundedRect(QRectF(QPointF(0, 0), QSizeF(size)), radius, radius);
    return {path.toFillPolygon().toPolygon()};
}

}  // namespace

void WindowHints::showOnEveryDesktop(QWindow& window) {
    // Both numbers are those of the Extended Window Manager Hints.
    constexpr std::uint32_t everyDesktop = 0xFFFFFFFF;
    constexpr std::uint32_t fromAnApplication = 1;
    if (const auto* const x11 = X11::server()) {
        x11->tellWindowManager(static_cast<xcb_window_t>(window.winId()), x11->atom("_NET_WM_DESKTOP"),
                               {everyDesktop, fromAnApplication});
    }
}

void WindowHints::blurBehind(QWindow& window, int radius) {
    const auto* const x11 = X11::server();
    if (x11 == nullptr) {
        return;
    }
    // KWin's protocol: the property holds the region as rectangles, in pixels and not in Qt's units.
    const qreal scale = window.devicePixelRatio();
    std::vector<std::uint32_t> rectangles;
    for (const QRect& part : roundedRegion((QSizeF(window.size()) * scale).toSize(), radius * scale)) {
        for (const int value : {part.x(), part.y(), part.width(), part.height()}) {
            rectangles.push_back(static_cast<std::uint32_t>(value));
        }
    }
    xcb_change_property(x11->connection(), XCB_PROP_MODE_REPLACE, static_cast<xcb_window_t>(window.winId()),
                        x11->atom("_KDE_NET_WM_BLUR_BEHIND_REGION"), XCB_ATOM_CARDINAL, 32,
                        static_cast<std::uint32_t>(rectangles.size()), rectangles.data());
    xcb_flush(x11->connection());
}

void WindowHints::removeBlur(QWindow& window) {
    if (const auto* const x11 = X11::server()) {
        xcb_delete_property(x11->connection(), static_cast<xcb_window_t>(window.winId()),
                            x11->atom("_KDE_NET_WM_BLUR_BEHIND_REGION"));
        xcb_flush(x11->connection());
    }
}

void WindowHints::letPointerThrough(QWindow& window, bool through) {
    const auto* const x11 = X11::server();
    if (x11 == nullptr) {
        window.setFlag(Qt::WindowTransparentForInput, through);
        return;
    }
    // By an empty input shape. Qt's flag for it takes effect only when the window is mapped the next time.
    const auto id = static_cast<xcb_window_t>(window.winId());
    xcb_xfixes_query_version(x11->connection(), XCB_XFIXES_MAJOR_VERSION, XCB_XFIXES_MINOR_VERSION);
    constexpr xcb_shape_kind_t inputShape = 2;
    xcb_xfixes_region_t nowhere = XCB_NONE;
    if (through) {
        nowhere = xcb_generate_id(x11->connection());
        xcb_xfixes_create_region(x11->connection(), nowhere, 0, nullptr);
    }
    xcb_xfixes_set_window_shape_region(x11->connection(), id, inputShape, 0, 0, nowhere);
    if (through) {
        xcb_xfixes_destroy_region(x11->connection(), nowhere);
    }
    xcb_flush(x11->connection());
}

void WindowHints::cutCorners(QWindow& window, int radius) {
    window.setMask(radius == 0 ? QRegion() : roundedRegion(window.size(), radius));
}

}  // namespace tarn
