#pragma once

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <numeric>
#include <vector>

#include "Stage.h"

namespace tarn::test {

/// Measures and prints how well texts stand out from what lies behind them, as WCAG 2 computes it.
class Contrast : public Stage {
public:
    using Stage::Stage;

    /// The theme's colours against the panel over white and over black.
    void measurePanel() {
        world_.setLanguage("en");
        vm().startAll();
        speak(0, "Source", "Translation");
        for (const char* const kind : {"white", "black"}) {
            backdrop_->show(kind);
            pump(600);
            const QImage screen = grab();
            // The panel where nothing is on it: in the middle, near its lower edge.
            const QRect frame = window().geometry();
            const auto scale = window().screen()->devicePixelRatio();
            const QColor panel =
                screen.pixelColor((QPointF(frame.center().x(), frame.bottom() - 12) * scale).toPoint());
            std::printf("%-5s over %-5s panel %s:", style_.dark ? "dark" : "light", kind,
                        panel.name().toUtf8().data());
            for (const char* const role :
                 {"primaryText", "secondaryText", "red", "orange", "success", "accent"}) {
                std::printf("  %s %.2f", role, contrast(themeColor(role), panel));
            }
            std::printf("\n");
        }
    }

    /// Letters and markers of mini mode against what is within three points of them, over what may lie
    /// behind.
    void measureSubtitles() {
        vm().setMiniMode(true);
        measureSubtitles("placeholder");
        vm().startAll();
        speak(0, "Good morning, everybody. Shall we begin?", "早上好，各位。我们开始好吗？");
        measureSubtitles("text");
        vm().stopAll();
        vm().setMiniMode(false);
    }

private:
    void measureSubtitles(const char* what) {
        for (const char* const kind : {"white", "black", "picture"}) {
            backdrop_->show(kind);
            for (const char* const name : {"source", "translation"}) {
                QQuickItem* const line = itemNamed(name);
                QQuickItem* const subtitle = line->property("subtitle").value<QQuickItem*>();
                measureSetOff(QString("%1 of %2").arg(what, name), kind, *line,
                              subtitle->property("edit").value<QQuickItem*>());
                measureSetOff(QString("marker of %1").arg(name), kind, *line,
                              line->findChild<QQuickItem*>("marker"));
            }
        }
    }
    /// `letters` are found by what changes with their colour.
    void measureSetOff(const QString& what, const char* kind, const QQuickItem& line, QQuickItem* letters) {
        const QVariant color = letters->property("color");
        pump(600);
        const QImage shown = grab();
        letters->setProperty("color", QColor(Qt::black));
        pump(600);
        const QImage black = grab();
        letters->setProperty("color", color);
        const qreal scale = window().screen()->devicePixelRatio();
        const QRect part = QRectF(line.mapToGlobal({-8, -8}) * scale, (line.size() + QSizeF(16, 16)) * scale)
                               .toRect()
                               .intersected(shown.rect());
        const auto change = [&](int x, int y) { return qRed(shown.pixel(x, y)) - qRed(black.pixel(x, y)); };
        const auto far = static_cast<int>(std::lround(3 * scale));
        int most = 0;
        for (int y = part.top(); y < part.bottom(); ++y) {
            for (int x = part.left(); x < part.right(); ++x) {
                most = std::max(most, change(x, y));
            }
        }
        double light = 0;
        int count = 0;
        std::vector<double> around;
        for (int y = part.top() + far; y < part.bottom() - far; ++y) {
            for (int x = part.left() + far; x < part.right() - far; ++x) {
                if (change(x, y) * 10 > most * 9) {
                    light += luminance(shown.pixelColor(x, y));
                    ++count;
                } else if (change(x, y) == 0) {
                    bool isNear = false;
                    for (int dy = -far; dy <= far; ++dy) {
                        for (int dx = -far; dx <= far; ++dx) {
                            isNear = isNear || change(x + dx, y + dy) * 10 > most * 9;
                        }
                    }
                    if (isNear) {
                        around.push_back(luminance(shown.pixelColor(x, y)));
                    }
                }
            }
        }
        std::ranges::sort(around);
        const double mean = std::accumulate(around.begin(), around.end(), 0.0) /
                            std::max(static_cast<double>(around.size()), 1.0);
        const double lightest = around.empty() ? 1 : around[around.size() * 95 / 100];
        std::printf("%-26s over %-7s: %.1f to 1; against the lightest 5 %% around %.1f (%d pixels)\n",
                    what.toUtf8().data(), kind, (light / count + 0.05) / (mean + 0.05),
                    (light / count + 0.05) / (lightest + 0.05), count);
    }

    QColor themeColor(const char* role) {
        QQmlComponent component(&engine_);
        component.setData(
            QByteArray("import QtQuick\nimport Tarn.Style\nQtObject { property color shown: Theme.") + role +
                " }",
            {});
        const std::unique_ptr<QObject> holder(component.create());
        return holder->property("shown").value<QColor>();
    }
    static double luminance(const QColor& color) {
        const auto linear = [](double part) {
            return part <= 0.04045 ? part / 12.92 : std::pow((part + 0.055) / 1.055, 2.4);
        };
        return 0.2126 * linear(color.redF()) + 0.7152 * linear(color.greenF()) +
               0.0722 * linear(color.blueF());
    }
    static double contrast(const QColor& one, const QColor& other) {
        const double a = luminance(one);
        const double b = luminance(other);
        return (std::max(a, b) + 0.05) / (std::min(a, b) + 0.05);
    }
};

}  // namespace tarn::test
