#pragma once

#include <QtQml/qqmlregistration.h>
#include <QObject>
#include <QQmlEngine>
#include <QString>
#include <QVariantList>
#include <QWindow>

#include "RecordSaving.h"
#include "RecordSelection.h"
#include "TarnApp/record/RecordKeeping.h"
#include "TarnApp/record/RecordRows.h"
#include "TarnApp/session/TranslateViewModel.h"

namespace tarn {

/// What the record's window shows and does: what was said since the program's start, or an older run.
/// Thread: main.
class RecordWindowState : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("The window's controller makes it.")
    Q_PROPERTY(tarn::RecordRows* rows READ rows CONSTANT)
    Q_PROPERTY(tarn::RecordSelection* selection READ selection CONSTANT)
    Q_PROPERTY(tarn::RecordSaving* saving READ saving CONSTANT)
    Q_PROPERTY(tarn::RecordKeeping* keeping READ keeping CONSTANT)
    /// The name of the older run that is shown; empty: what is said now.
    Q_PROPERTY(QString run READ run WRITE showRun NOTIFY runChanged)
    /// For a picker: {value, label} each, now first and then older ones, the newest first.
    Q_PROPERTY(QVariantList runs READ runs NOTIFY runsChanged)

public:
    /// What is given must outlive this.
    RecordWindowState(TranslateViewModel& vm, BusThread& bus);

    RecordRows* rows() { return &rows_; }
    RecordSelection* selection() { return &selection_; }
    RecordSaving* saving() { return &saving_; }
    RecordKeeping* keeping() const { return &keeping_; }
    const QString& run() const { return run_; }
    QVariantList runs() const;

    void showRun(const QString& name);
    Q_INVOKABLE void copy() const;  ///< what is chosen, or where nothing is, all that is shown
    /// `format`: an ending; `texts`: "original", "translation" or "both". Saves what `copy` copies.
    Q_INVOKABLE void save(const QString& format, const QString& texts, QWindow* window);
    Q_INVOKABLE void removeRun();  ///< deletes the older run that is shown
    Q_INVOKABLE void retranslate();

Q_SIGNALS:
    void runChanged();
    void runsChanged();

private:
    std::vector<const Utterance*> wanted() const;
    void setRun(const QString& name);

    Record& record_;
    RecordKeeping& keeping_;
    RecordRows rows_;
    RecordSelection selection_{rows_};
    RecordSaving saving_;
    QString run_;
};

/// The types of its properties, for QML.
struct RecordRowsType {
    Q_GADGET
    QML_FOREIGN(tarn::RecordRows)
    QML_NAMED_ELEMENT(RecordRows)
    QML_UNCREATABLE("The window's state has it.")
};
struct RecordSelectionType {
    Q_GADGET
    QML_FOREIGN(tarn::RecordSelection)
    QML_NAMED_ELEMENT(RecordSelection)
    QML_UNCREATABLE("The window's state has it.")
};
struct RecordSavingType {
    Q_GADGET
    QML_FOREIGN(tarn::RecordSaving)
    QML_NAMED_ELEMENT(RecordSaving)
    QML_UNCREATABLE("The window's state has it.")
};

}  // namespace tarn
