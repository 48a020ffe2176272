#include "SubtitleLook.h"

#include <QFontDatabase>
#include <QGuiApplication>
#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>

namespace tarn {
namespace {

// As they stand in the settings.
constexpr std::string_view fontKey = "look.fontFamily";
constexpr std::string_view weightKey = "look.weight";
constexpr std::string_view originalColorKey = "look.originalColor";
constexpr std::string_view translationColorKey = "look.translationColor";
constexpr std::string_view outlineKey = "look.outlineWidth";
constexpr std::string_view backgroundKey = "look.backgroundOpacity";
constexpr std::string_view alignmentKey = "look.alignment";
constexpr std::string_view originalKey = "look.original";
constexpr std::string_view readingKey = "look.readingMode";
constexpr std::string_view keptKey = "look.keptUtterances";
constexpr std::array allKeys{fontKey,       weightKey,    originalColorKey, translationColorKey, outlineKey,
                             backgroundKey, alignmentKey, originalKey,      readingKey,          keptKey};

constexpr int lightest = 100;
constexpr int heaviest = 900;

int validWeight(int value) {
    return value == 0 ? 0 : std::clamp(value, lightest, heaviest);
}

/// "#rrggbb", or nothing where it is no opaque colour written so.
QString validColor(const QString& value) {
    const bool isWritten = value.size() == 7 && value.startsWith(u'#') && QColor::isValidColor(value);
    return isWritten ? QColor(value).name() : QString();
}

QString oneOf(const QString& value, std::initializer_list<const char*> known) {
    const bool isKnown =
        std::ranges::any_of(known, [&](const char* one) { return value == QLatin1String(one); });
    return isKnown ? value : QString::fromLatin1(*known.begin());
}

QString validAlignment(const QString& value) {
    return oneOf(value, {"start", "center", "end"});
}

QString validOriginal(const QString& value) {
    return oneOf(value, {"above", "below", "hidden"});
}

/// WCAG 2.1, "relative luminance".
double luminance(const QColor& color) {
    const auto linear = [](double part) {
        return part <= 0.04045 ? part / 12.92 : std::pow((part + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * linear(color.redF()) + 0.7152 * linear(color.greenF()) + 0.0722 * linear(color.blueF());
}

}  // namespace

SubtitleLook::SubtitleLook(std::shared_ptr<UserDefaults> defaults) : defaults_(std::move(defaults)) {
    load();
}

void SubtitleLook::load() {
    const auto text = [this](std::string_view key) {
        return QString::fromStdString(defaults_->string(key).value_or(""));
    };
    const auto number = [this](std::string_view key, int usual, int least, int most) {
        return static_cast<int>(
            std::clamp<std::int64_t>(defaults_->integer(key).value_or(usual), least, most));
    };
    values_.fontFamily = text(fontKey);
    values_.weight = validWeight(number(weightKey, 0, 0, heaviest));
    values_.originalColor = validColor(text(originalColorKey));
    values_.translationColor = validColor(text(translationColorKey));
    values_.outlineWidth = number(outlineKey, usualOutline, 0, widestOutline);
    values_.backgroundOpacity = number(backgroundKey, 100, 0, 100);
    values_.alignment = validAlignment(text(alignmentKey));
    values_.original = validOriginal(text(originalKey));
    values_.readingMode = defaults_->boolean(readingKey).value_or(false);
    values_.keptUtterances = number(keptKey, usualKept, 1, mostKept);
}

QStringList SubtitleLook::families() {
    QStringList families = QFontDatabase::families();
    // Qt marks families that several foundries have, and hidden ones begin with a dot.
    families.removeIf([](const QString& family) { return family.startsWith(u'.') || family.contains(u'['); });
    return families;
}

template <typename Field, typename Stored>
void SubtitleLook::assign(Field Values::* field, const Field& value, std::string_view key,
                          const Stored& stored) {
    if (values_.*field != value) {
        values_.*field = value;
        defaults_->set(key, stored);
        Q_EMIT changed();
    }
}

void SubtitleLook::assignText(QString Values::* field, const QString& value, std::string_view key) {
    assign(field, value, key, std::string_view(value.toStdString()));
}

void SubtitleLook::setFontFamily(const QString& value) {
    assignText(&Values::fontFamily, value, fontKey);
}

void SubtitleLook::setWeight(int value) {
    const int valid = validWeight(value);
    assign(&Values::weight, valid, weightKey, std::int64_t{valid});
}

void SubtitleLook::setOriginalColor(const QString& value) {
    assignText(&Values::originalColor, validColor(value), originalColorKey);
}

void SubtitleLook::setTranslationColor(const QString& value) {
    assignText(&Values::translationColor, validColor(value), translationColorKey);
}

void SubtitleLook::setOutlineWidth(int value) {
    const int valid = std::clamp(value, 0, widestOutline);
    assign(&Values::outlineWidth, valid, outlineKey, std::int64_t{valid});
}

void SubtitleLook::setBackgroundOpacity(int value) {
    const int valid = std::clamp(value, 0, 100);
    assign(&Values::backgroundOpacity, valid, backgroundKey, std::int64_t{valid});
}

void SubtitleLook::setAlignment(const QString& value) {
    assignText(&Values::alignment, validAlignment(value), alignmentKey);
}

void SubtitleLook::setOriginal(const QString& value) {
    assignText(&Values::original, validOriginal(value), originalKey);
}

void SubtitleLook::setReadingMode(bool value) {
    assign(&Values::readingMode, value, readingKey, value);
}

void SubtitleLook::setKeptUtterances(int value) {
    const int valid = std::clamp(value, 1, mostKept);
    assign(&Values::keptUtterances, valid, keptKey, std::int64_t{valid});
}

void SubtitleLook::reset() {
    for (const std::string_view key : allKeys) {
        defaults_->remove(key);
    }
    values_ = {};
    Q_EMIT changed();
}

QFont SubtitleLook::font(const QString& family, int pixelSize, int weight) {
    QFont font = QGuiApplication::font();
    if (!family.isEmpty()) {
        font.setFamilies(QStringList(family) + font.families());
    }
    font.setPixelSize(std::max(pixelSize, 1));
    font.setWeight(static_cast<QFont::Weight>(std::clamp(weight, lightest, heaviest)));
    return font;
}

double SubtitleLook::contrast(const QColor& one, const QColor& other) {
    const auto [darker, lighter] = std::minmax({luminance(one), luminance(other)});
    return (lighter + 0.05) / (darker + 0.05);
}

}  // namespace tarn
