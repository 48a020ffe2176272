#include "MenuWalk.h"

#include <algorithm>
#include <vector>

namespace tarn {
namespace {

/// Whether a word of `label` other than its first begins with `typed`.
bool hasWord(const QString& label, const QString& typed) {
    for (qsizetype at = label.indexOf(typed, 0, Qt::CaseInsensitive); at >= 0;
         at = label.indexOf(typed, at + 1, Qt::CaseInsensitive)) {
        if (at > 0 && !label[at - 1].isLetterOrNumber()) {
            return true;
        }
    }
    return false;
}

/// The next row in that direction whose label matches, round the ends; rows that cannot be chosen have an
/// empty label.
template <typename Matches>
std::optional<qsizetype> after(const QStringList& labels, qsizetype current, int direction, Matches matches) {
    for (qsizetype step = 1; step <= labels.size(); ++step) {
        const auto at = (current + direction * step + 2 * labels.size()) % labels.size();
        if (!labels[at].isEmpty() && matches(labels[at])) {
            return at;
        }
    }
    return std::nullopt;
}

}  // namespace

std::optional<qsizetype> menuTarget(const QStringList& labels, qsizetype current, int key,
                                    const QString& typed) {
    const auto any = [](const QString&) { return true; };
    switch (key) {
        case Qt::Key_Down:
            return after(labels, current, 1, any);
        case Qt::Key_Up:
            return after(labels, current, -1, any);
        case Qt::Key_Home:
            return after(labels, labels.size() - 1, 1, any);
        case Qt::Key_End:
            return after(labels, labels.size(), -1, any);
        default:
            break;
    }
    if (typed.isEmpty() || !typed[0].isLetterOrNumber()) {
        return std::nullopt;
    }
    const auto begins = [&](const QString& label) { return label.startsWith(typed, Qt::CaseInsensitive); };
    const auto found = after(labels, current, 1, begins);
    return found ? found
                 : after(labels, current, 1, [&](const QString& label) { return hasWord(label, typed); });
}

bool MenuWalk::step(QQuickItem* row, int key, const QString& typed) {
    // The order of the children is not that of the rows, since a Repeater appends what it makes later.
    auto rows = row->parentItem()->childItems();
    std::ranges::sort(rows, {}, [](const QQuickItem* item) { return item->y(); });
    QStringList labels;
    for (const QQuickItem* const item : rows) {
        const bool canBeChosen = item->isVisible() && item->isEnabled() && item->activeFocusOnTab();
        labels.append(canBeChosen ? item->property("text").toString() : QString());
    }
    const auto target = menuTarget(labels, rows.indexOf(row), key, typed);
    if (target) {
        rows[*target]->forceActiveFocus(Qt::TabFocusReason);
    }
    return target.has_value();
}

}  // namespace tarn
