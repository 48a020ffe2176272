#include "RecordWindowState.h"

#include <QClipboard>
#include <QDateTime>
#include <QGuiApplication>
#include <QStringList>
#include <utility>
#include <vector>

#include "TarnApp/localization/AddedText.h"
#include "TarnApp/record/ShownUtterance.h"

namespace tarn {

RecordWindowState::RecordWindowState(TranslateViewModel& vm, BusThread& bus)
    : record_(*vm.record()),
      keeping_(*vm.recordKeeping()),
      saving_(bus, vm.services().session.main, vm.services().session.workers) {
    rows_.follow(&record_);
    connect(&keeping_, &RecordKeeping::recordsChanged, this, &RecordWindowState::runsChanged);
    connect(&keeping_, &RecordKeeping::shown, this, &RecordWindowState::setRun);
    connect(&keeping_, &RecordKeeping::failed, this, [this](const QString& message) {
        saving_.tell(message, true);
        Q_EMIT runChanged();  // a picker shows what it is still
    });
}

QVariantList RecordWindowState::runs() const {
    QVariantList runs{QVariantMap{{"value", QString()}, {"label", tarn::shown(AddedText::recordNow)}}};
    for (const QVariant& record : keeping_.records()) {
        const QVariantMap info = record.toMap();
        if (info["state"] == QLatin1String("running")) {
            continue;  // it is part of what is shown of now
        }
        const QString sources = info["sources"].toStringList().join(QStringLiteral(", "));
        const QString time = info["started"].toDateTime().toString(QStringLiteral("yyyy-MM-dd HH:mm"));
        runs.append(
            QVariantMap{{"value", info["name"]},
                        {"label", sources.isEmpty() ? time : time + QStringLiteral(" · ") + sources}});
    }
    return runs;
}

void RecordWindowState::showRun(const QString& name) {
    saving_.tell({}, false);
    if (name.isEmpty()) {
        rows_.follow(&record_);
        setRun(name);
    } else {
        keeping_.show(name, &rows_);
    }
}

void RecordWindowState::setRun(const QString& name) {
    if (std::exchange(run_, name) != name) {
        Q_EMIT runChanged();
    }
}

std::vector<const Utterance*> RecordWindowState::wanted() const {
    std::vector<const Utterance*> wanted;
    if (selection_.count() > 0) {
        for (const int row : selection_.chosen()) {
            wanted.push_back(rows_.at(row));
        }
    } else {
        for (int row = 0; row < rows_.count(); ++row) {
            wanted.push_back(rows_.at(row));
        }
    }
    std::erase(wanted, nullptr);
    return wanted;
}

void RecordWindowState::copy() const {
    QStringList parts;
    for (const Utterance* const utterance : wanted()) {
        parts.push_back(copiedText(*utterance));
    }
    if (!parts.isEmpty()) {
        QGuiApplication::clipboard()->setText(parts.join(u'\n'));
    }
}

void RecordWindowState::save(const QString& format, const QString& texts, QWindow* window) {
    TranscriptOptions options;
    options.format = transcriptFormatOf("a." + format.toStdString()).value_or(TranscriptFormat::txt);
    options.texts = transcriptTextsNamed(texts.toStdString()).value_or(TranscriptTexts::both);
    options.namesSources = rows_.sources().size() > 1;
    std::vector<Utterance> utterances;
    for (const Utterance* const utterance : wanted()) {
        utterances.push_back(*utterance);
    }
    saving_.save(std::move(utterances), options, window);
}

void RecordWindowState::removeRun() {
    if (!run_.isEmpty()) {
        const QString name = run_;
        showRun({});
        keeping_.remove(name);
    }
}

void RecordWindowState::retranslate() {
    rows_.retranslate();
    Q_EMIT runsChanged();
}

}  // namespace tarn
