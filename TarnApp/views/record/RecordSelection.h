#pragma once

#include <QItemSelectionModel>
#include <QObject>
#include <QPersistentModelIndex>
#include <vector>

#include "TarnApp/record/RecordRows.h"

namespace tarn {

/// The chosen rows of a record, which stay the same utterances while rows come and go. Thread: main.
class RecordSelection : public QObject {
    Q_OBJECT
    Q_PROPERTY(int count READ count NOTIFY changed)

public:
    /// `rows` must outlive this.
    explicit RecordSelection(RecordRows& rows);

    int count() const;
    Q_INVOKABLE bool contains(int row) const;
    /// Chooses `row` alone; with Control it is added or taken out, with Shift all from the last one chosen
    /// without Shift.
    Q_INVOKABLE void choose(int row, int modifiers);
    Q_INVOKABLE void chooseAll();
    Q_INVOKABLE void clear();
    std::vector<int> chosen() const;  ///< in the order of the rows

Q_SIGNALS:
    void changed();

private:
    RecordRows& rows_;
    QItemSelectionModel model_;
    QPersistentModelIndex anchor_;
};

}  // namespace tarn
