#include "RecordSelection.h"

#include <algorithm>

namespace tarn {

RecordSelection::RecordSelection(RecordRows& rows) : rows_(rows), model_(&rows) {
    connect(&model_, &QItemSelectionModel::selectionChanged, this, &RecordSelection::changed);
    // A reset clears the selection without a signal of its own.
    connect(&rows, &QAbstractItemModel::modelReset, this, &RecordSelection::changed);
}

int RecordSelection::count() const {
    int count = 0;
    for (const QItemSelectionRange& range : model_.selection()) {
        count += range.height();
    }
    return count;
}

bool RecordSelection::contains(int row) const {
    return model_.isSelected(rows_.index(row));
}

void RecordSelection::choose(int row, int modifiers) {
    const QModelIndex index = rows_.index(row);
    const Qt::KeyboardModifiers held = QFlag(modifiers);
    if (!index.isValid()) {
        return;
    }
    if (held.testFlag(Qt::ShiftModifier) && anchor_.isValid()) {
        const auto [first, last] = std::minmax({anchor_.row(), row});
        model_.select({rows_.index(first), rows_.index(last)}, QItemSelectionModel::ClearAndSelect);
        return;
    }
    anchor_ = index;
    model_.select(index, held.testFlag(Qt::ControlModifier) ? QItemSelectionModel::Toggle
                                                            : QItemSelectionModel::ClearAndSelect);
}

void RecordSelection::chooseAll() {
    if (rows_.count() > 0) {
        model_.select({rows_.index(0), rows_.index(rows_.count() - 1)}, QItemSelectionModel::ClearAndSelect);
    }
}

void RecordSelection::clear() {
    model_.clearSelection();
}

std::vector<int> RecordSelection::chosen() const {
    std::vector<int> rows;
    for (const QItemSelectionRange& range : model_.selection()) {
        for (int row = range.top(); row <= range.bottom(); ++row) {
            rows.push_back(row);
        }
    }
    std::ranges::sort(rows);
    return rows;
}

}  // namespace tarn
