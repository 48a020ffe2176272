#include "RecordSaving.h"

#include <QDateTime>
#include <QGuiApplication>
#include <QStandardPaths>
#include <boost/asio/post.hpp>
#include <utility>

#include "TarnApp/localization/AddedText.h"
#include "TarnApp/localization/DurationText.h"
#include "TarnCore/record/TranscriptFile.h"

namespace tarn {
namespace {

/// As portals name a window; empty where it has no name that another program knows.
std::string nameOf(const QWindow* window) {
    return window != nullptr && QGuiApplication::platformName() == QLatin1String("xcb")
               ? "x11:" + QString::number(window->winId(), 16).toStdString()
               : std::string();
}

std::filesystem::path suggestedFile(TranscriptFormat format) {
    const QString folder = QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation);
    const QString name =
        QStringLiteral("Tarn ") + QDateTime::currentDateTime().toString(QStringLiteral("yyyy-MM-dd HH.mm"));
    return std::filesystem::path(folder.toStdString()) /
           (name.toStdString() + "." + std::string(transcriptEndingOf(format)));
}

}  // namespace

RecordSaving::RecordSaving(BusThread& bus, const SerialExecutor& main, asio::any_io_executor workers)
    : workers_(std::move(workers)),
      chooser_(bus, main),
      written_(main, [this](const std::filesystem::path& path, const std::string& whyNot) {
          whyNot.empty() ? tell(shown(AddedText::recordSaved, {path.string()}), false)
                         : tell(shown(AddedText::recordNotSaved, {whyNot}), true);
      }) {}

void RecordSaving::save(std::vector<Utterance> utterances, const TranscriptOptions& options,
                        const QWindow* window) {
    utterances_ = std::move(utterances);
    options_ = options;
    options_.gapText = [language = AppLanguage::shown()](double seconds) {
        return notTranslatedText(seconds, language);
    };
    suggested_ = suggestedFile(options.format);
    tell({}, false);
    setAskedPath({});
    chooser_.askWhereToSave(
        {.title = text(AddedText::recordSaveAs),
         .accept = text(AddedText::recordSaveAs),
         .name = suggested_.filename().string(),
         .parent = nameOf(window)},
        [this](FileChooser::Outcome outcome, const std::filesystem::path& path) { answered(outcome, path); });
}

void RecordSaving::answered(FileChooser::Outcome outcome, const std::filesystem::path& path) {
    switch (outcome) {
        case FileChooser::Outcome::chosen:
            write(path);
            break;
        case FileChooser::Outcome::cancelled:
            cancel();
            break;
        case FileChooser::Outcome::noDialog:
            setAskedPath(QString::fromStdString(suggested_.string()));
            break;
    }
}

void RecordSaving::saveTo(const QString& typed) {
    const std::filesystem::path path(typed.trimmed().toStdString());
    std::error_code ignored;
    if (!path.is_absolute() || !path.has_filename()) {
        tell(shown(AddedText::recordNeedsPath), true);
    } else if (std::filesystem::exists(path, ignored) && std::exchange(mayReplace_, path) != path) {
        tell(shown(AddedText::recordReplaces), true);
    } else {
        write(path);
    }
}

void RecordSaving::write(const std::filesystem::path& path) {
    setAskedPath({});
    asio::post(workers_, [path, utterances = std::exchange(utterances_, {}), options = options_,
                          told = written_.poster()] {
        const auto written = saveTranscript(path, utterances, options);
        told(path, written ? std::string() : written.error().description);
    });
}

void RecordSaving::cancel() {
    utterances_.clear();
    setAskedPath({});
    tell({}, false);
}

void RecordSaving::tell(const QString& notice, bool isFailure) {
    notice_ = notice;
    isFailure_ = isFailure;
    Q_EMIT noticeChanged();
}

void RecordSaving::setAskedPath(const QString& value) {
    mayReplace_.clear();
    if (std::exchange(askedPath_, value) != value) {
        Q_EMIT askedPathChanged();
    }
}

}  // namespace tarn
