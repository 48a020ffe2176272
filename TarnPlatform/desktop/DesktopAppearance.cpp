#include "DesktopAppearance.h"

#include <QEvent>
#include <QGuiApplication>
#include <QPalette>
#include <utility>

#include "AppearanceWatcher.h"

namespace tarn {
namespace {

bool isPaletteDark() {
    const QPalette palette = QGuiApplication::palette();
    return palette.color(QPalette::Window).lightness() < palette.color(QPalette::WindowText).lightness();
}

}  // namespace

DesktopAppearance::DesktopAppearance(BusThread& bus, SerialExecutor main, QObject* parent)
    : QObject(parent), isDark_(isPaletteDark()) {
    qGuiApp->installEventFilter(this);
    watcher_ =
        std::make_unique<AppearanceWatcher>(bus, std::move(main), [this](const AppearanceFacts& facts) {
            facts_ = facts;
            settle();
        });
}

DesktopAppearance::~DesktopAppearance() = default;

bool DesktopAppearance::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() == QEvent::ApplicationPaletteChange && watched == qGuiApp) {
        settle();
    }
    return false;
}

void DesktopAppearance::settle() {
    const bool dark = facts_.dark().value_or(isPaletteDark());
    const bool reduces = facts_.reducedMotion();
    const bool contrast = facts_.highContrast();
    if (isDark_ != dark || reducedMotion_ != reduces || highContrast_ != contrast) {
        isDark_ = dark;
        reducedMotion_ = reduces;
        highContrast_ = contrast;
        Q_EMIT changed();
    }
}

}  // namespace tarn
