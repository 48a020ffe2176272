#include "Readouts.h"

#include <algorithm>
#include <array>
#include <charconv>

namespace tarn {
namespace {

/// Writes a decimal point in every locale.
QString fixed(double value, int decimals) {
    std::array<char, 400> text{};
    const auto end =
        std::to_chars(text.data(), text.data() + text.size(), value, std::chars_format::fixed, decimals).ptr;
    return QString::fromLatin1(text.data(), end - text.data());
}

}  // namespace

QString Readouts::rate(double value) {
    return fixed(value, 1) + QChar(0xd7);
}

QString Readouts::scale(double value) {
    return fixed(value, 2) + QChar(0xd7);
}

QString Readouts::gain(double value) {
    return fixed(value * 100, 0) + '%';
}

QString Readouts::gainTone(double value) {
    return value < 1.01   ? QStringLiteral("secondary")
           : value < 2.01 ? QStringLiteral("primary")
           : value < 5.01 ? QStringLiteral("orange")
                          : QStringLiteral("red");
}

int Readouts::milliseconds(const QString& typed, int most) {
    bool isNumber = false;
    const auto number = typed.trimmed().toLongLong(&isNumber);
    return isNumber && number >= 0 ? static_cast<int>(std::min<qlonglong>(number, most)) : -1;
}

QString Readouts::oneLine(QString text) {
    for (QChar& c : text) {
        // The characters of this range change the direction of all text that follows.
        const bool turns = c.unicode() >= 0x202a && c.unicode() <= 0x202e;
        if (turns || c.category() == QChar::Other_Control) {
            c = u' ';
        }
    }
    return text.simplified();
}

}  // namespace tarn
