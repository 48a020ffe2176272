#include "FramePlacement.h"

#include <QRegion>
#include <algorithm>
#include <array>
#include <charconv>

namespace tarn {
namespace {

qint64 area(QRect frame) {
    return frame.isEmpty() ? 0 : qint64{frame.width()} * frame.height();
}

qint64 distance(QRect one, QRect other) {
    const QPoint between = one.center() - other.center();
    return qint64{between.x()} * between.x() + qint64{between.y()} * between.y();
}

}  // namespace

std::string FramePlacement::text(QRect frame) {
    return std::to_string(frame.x()) + " " + std::to_string(frame.y()) + " " + std::to_string(frame.width()) +
           " " + std::to_string(frame.height());
}

std::optional<QRect> FramePlacement::frame(std::string_view text) {
    // X11 has 16 bits for a coordinate. The limit also keeps all arithmetic within an int.
    constexpr int most = 32767;
    std::array<int, 4> numbers{};
    const char* at = text.data();
    const char* const end = text.data() + text.size();
    for (int& number : numbers) {
        if (&number != numbers.data()) {
            if (at == end || *at != ' ') {
                return std::nullopt;
            }
            ++at;
        }
        const auto [after, error] = std::from_chars(at, end, number);
        if (error != std::errc{} || number < -most || number > most) {
            return std::nullopt;
        }
        at = after;
    }
    const auto [x, y, width, height] = numbers;
    if (at != end || width <= 0 || height <= 0) {
        return std::nullopt;
    }
    return QRect(x, y, width, height);
}

// The screens may have been unplugged, resized or rearranged since the frame was remembered. Where some of it
// would be out of sight, it moves to the screen that shows most of it, or whose centre is nearest.
QRect FramePlacement::onScreens(QRect frame, std::span<const QRect> screens, QSize minimum) {
    frame.setSize(frame.size().expandedTo(minimum));
    QRegion shown;
    for (const QRect& screen : screens) {
        shown += screen;
    }
    if (screens.empty() || (QRegion(frame) - shown).isEmpty()) {
        return frame;
    }
    const QRect home = *std::ranges::max_element(screens, [frame](const QRect& one, const QRect& other) {
        const auto seen = std::pair(area(one & frame), area(other & frame));
        return seen.first != seen.second ? seen.first < seen.second
                                         : distance(one, frame) > distance(other, frame);
    });
    frame.setSize(frame.size().boundedTo(home.size()).expandedTo(minimum));
    // Where even the minimum does not fit, the top left corner stays on the screen.
    frame.moveLeft(std::max(home.x(), std::min(frame.x(), home.x() + home.width() - frame.width())));
    frame.moveTop(std::max(home.y(), std::min(frame.y(), home.y() + home.height() - frame.height())));
    return frame;
}

}  // namespace tarn
