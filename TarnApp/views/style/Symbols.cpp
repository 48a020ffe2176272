#include "Symbols.h"

#include <QFontDatabase>
#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

namespace tarn {
namespace {

using namespace std::string_view_literals;

constexpr std::array<std::pair<std::string_view, char16_t>, 40> glyphs{{
    {"\U0001F3A4"sv, 0xe029},  // fonts of emoji would draw the markers of subtitles in colour
    {"\U0001F50A"sv, 0xe050},
    {"app.fill"sv, 0xe5c3},
    {"apple.logo"sv, 0xea80},
    {"arrow.clockwise"sv, 0xe5d5},
    {"arrow.down.right.and.arrow.up.left"sv, 0xf1cf},
    {"arrow.right"sv, 0xe5c8},
    {"arrow.up.backward.and.arrow.down.forward"sv, 0xf1ce},
    {"bubble.left.fill"sv, 0xe0ca},
    {"bubble.right.fill"sv, 0xe0ca},
    {"captions.bubble.fill"sv, 0xe01c},
    {"checkmark"sv, 0xe5ca},
    {"checkmark.circle.fill"sv, 0xe86c},
    {"checkmark.seal.fill"sv, 0xef76},
    {"chevron.down"sv, 0xe5cf},
    {"chevron.left"sv, 0xe5cb},
    {"chevron.left.forwardslash.chevron.right"sv, 0xe86f},
    {"chevron.right"sv, 0xe5cc},
    {"chevron.up"sv, 0xe5ce},
    {"envelope.fill"sv, 0xe0be},
    {"exclamationmark.bubble"sv, 0xe87f},
    {"exclamationmark.triangle.fill"sv, 0xe002},
    {"gauge.with.dots.needle.50percent"sv, 0xe9e4},
    {"list.bullet.rectangle"sv, 0xe8ef},
    {"mic.fill"sv, 0xe029},
    {"person.crop.circle"sv, 0xe853},
    {"person.crop.circle.badge.plus"sv, 0xe7fe},
    {"play.fill"sv, 0xe037},
    {"plus.circle"sv, 0xe148},
    {"rectangle.inset.filled.and.person.filled"sv, 0xeaf0},
    {"rectangle.portrait.and.arrow.right"sv, 0xe9ba},
    {"slider.horizontal.3"sv, 0xe429},
    {"sparkles"sv, 0xe65f},
    {"speaker.wave.2.fill"sv, 0xe050},
    {"speaker.wave.3.fill"sv, 0xe050},
    {"speedometer"sv, 0xe9e4},
    {"stop.fill"sv, 0xe047},
    {"textformat.size"sv, 0xe245},
    {"waveform.badge.mic"sv, 0xe1b8},
    {"xmark.circle.fill"sv, 0xe5c9},
}};

}  // namespace

QString Symbols::family() {
    static const QString family = [] {
        const int font = QFontDatabase::addApplicationFont(QStringLiteral(":/qt/qml/Tarn/Style/symbols.ttf"));
        return QFontDatabase::applicationFontFamilies(font).value(0);
    }();
    return family;
}

QString Symbols::glyph(const QString& name) {
    const auto wanted = name.toStdString();
    const auto* const found =
        std::ranges::find(glyphs, std::string_view(wanted), &std::pair<std::string_view, char16_t>::first);
    return found == glyphs.end() ? QString() : QString(QChar(found->second));
}

}  // namespace tarn
