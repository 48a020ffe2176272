#pragma once

#include <QObject>
#include <QString>
#include <QWindow>
#include <filesystem>
#include <functional>
#include <vector>

#include "TarnCore/record/TranscriptFormat.h"
#include "TarnCore/record/Utterance.h"
#include "TarnPlatform/base/Asio.h"
#include "TarnPlatform/base/PostedCallback.h"
#include "TarnPlatform/desktop/FileChooser.h"

namespace tarn {

/// Writes utterances to a file that the user names: in the desktop's dialog, or where there is none by typing
/// its path. Thread: main; the file is written on `workers`.
class RecordSaving : public QObject {
    Q_OBJECT
    /// The path that is suggested while the user is to type one; empty while none is asked for.
    Q_PROPERTY(QString askedPath READ askedPath NOTIFY askedPathChanged)
    Q_PROPERTY(QString notice READ notice NOTIFY noticeChanged)  ///< what came of it, in words
    Q_PROPERTY(bool isFailure READ isFailure NOTIFY noticeChanged)

public:
    /// `bus` must outlive this.
    RecordSaving(BusThread& bus, const SerialExecutor& main, asio::any_io_executor workers);

    const QString& askedPath() const { return askedPath_; }
    const QString& notice() const { return notice_; }
    bool isFailure() const { return isFailure_; }

    /// `window`: the one in front of which the desktop asks.
    void save(std::vector<Utterance> utterances, const TranscriptOptions& options, const QWindow* window);
    /// The typed path. A file that is there is replaced when the same path is given again.
    Q_INVOKABLE void saveTo(const QString& path);
    Q_INVOKABLE void cancel();
    void tell(const QString& notice, bool isFailure);

Q_SIGNALS:
    void askedPathChanged();
    void noticeChanged();

private:
    void answered(FileChooser::Outcome outcome, const std::filesystem::path& path);
    void write(const std::filesystem::path& path);
    void setAskedPath(const QString& value);

    const asio::any_io_executor workers_;
    FileChooser chooser_;
    /// Where it was written, and why it was not.
    const PostedCallback<std::filesystem::path, std::string> written_;
    std::vector<Utterance> utterances_;
    TranscriptOptions options_;
    std::filesystem::path suggested_;
    std::filesystem::path mayReplace_;
    QString askedPath_;
    QString notice_;
    bool isFailure_ = false;
};

}  // namespace tarn
