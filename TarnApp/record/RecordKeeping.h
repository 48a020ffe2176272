#pragma once

#include <QObject>
#include <QPointer>
#include <QString>
#include <QVariantList>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include "RecordArchive.h"
#include "RecordRows.h"
#include "TarnPlatform/base/Asio.h"
#include "TarnPlatform/settings/UserDefaults.h"

namespace tarn {

/// The user's wish to keep records, and what comes of it: while it is on, each utterance of a run is on the
/// disk soon after it is finished, in one file for each run. A disk that takes nothing is told once and
/// hinders nothing; what it has not taken is tried again with each further utterance.
///
/// Thread: main for everything; the disk is waited for elsewhere.
class RecordKeeping : public QObject {
    Q_OBJECT
    /// Off until the user turns it on; stored, as the limits are.
    Q_PROPERTY(bool isOn READ isOn WRITE setOn NOTIFY isOnChanged)
    Q_PROPERTY(bool isAvailable READ isAvailable CONSTANT)  ///< there is a folder for them
    Q_PROPERTY(QString folder READ folder CONSTANT)
    Q_PROPERTY(int days READ days WRITE setDays NOTIFY limitsChanged)
    Q_PROPERTY(int mebibytes READ mebibytes WRITE setMebibytes NOTIFY limitsChanged)
    /// Why nothing is kept now, in words for people; empty where all is well.
    Q_PROPERTY(QString failureText READ failureText NOTIFY failureTextChanged)
    /// As `list` found them, the newest first: {name, state, started, seconds, sources, utterances, bytes}
    /// each. `state` is "complete", "running", "newer" (a newer version of the program has written it) or
    /// "unreadable"; `started` a date, `sources` a list of names.
    Q_PROPERTY(QVariantList records READ records NOTIFY recordsChanged)

public:
    static constexpr int usualDays = 90;
    static constexpr int mostDays = 3650;
    static constexpr int usualMebibytes = 200;
    static constexpr int mostMebibytes = 100000;

    /// `folder`: of the records; empty: none are kept.
    RecordKeeping(std::shared_ptr<UserDefaults> defaults, const std::filesystem::path& folder,
                  SerialExecutor main);
    ~RecordKeeping() override;

    bool isOn() const { return isOn_; }
    bool isAvailable() const { return archive_ != nullptr; }
    QString folder() const;
    int days() const { return days_; }  ///< a record that was written to so long ago is deleted
    int mebibytes() const {
        return mebibytes_;
    }  ///< of all records together; beyond it the oldest are deleted
    const QString& failureText() const { return failureText_; }
    const QVariantList& records() const { return records_; }
    void setOn(bool value);
    void setDays(int value);       ///< 1 to `mostDays`
    void setMebibytes(int value);  ///< 1 to `mostMebibytes`

    /// The utterances that are added from now on, until `endRun`, are of one run.
    void beginRun(RecordHeader header);
    void add(const Utterance& utterance);
    void endRun();

    /// Reads which records there are; `recordsChanged` tells when that is done.
    Q_INVOKABLE void list();
    /// Deletes one, and lists them again. One that is being written stays.
    Q_INVOKABLE void remove(const QString& name);
    /// Deletes all but the one that is being written, and lists them again.
    Q_INVOKABLE void removeAll();
    /// Reads a record and shows it in `rows`; `shown` or `failed` tells when that is done.
    Q_INVOKABLE void show(const QString& name, tarn::RecordRows* rows);

    /// Null where there is no folder.
    const RecordArchive* archive() const { return archive_.get(); }

Q_SIGNALS:
    void isOnChanged();
    void limitsChanged();
    void failureTextChanged();
    void recordsChanged();
    void shown(const QString& name);
    /// Something that was wanted is not done, in words for people.
    void failed(const QString& message);

private:
    struct Writer;

    static Task<void> takeList(QPointer<RecordKeeping> self, Task<Result<std::vector<RecordInfo>>> listing);
    static Task<void> takeRemoval(QPointer<RecordKeeping> self, Task<Result<void>> removal);
    static Task<void> takeContents(QPointer<RecordKeeping> self, QString name, QPointer<RecordRows> rows,
                                   Task<Result<RecordContents>> reading);
    void store(const char* key, int& field, int value);
    void keepToLimits() const;
    void endFile();
    void wrote(const Result<void>& outcome);
    void setFailureText(const QString& value);

    const std::shared_ptr<UserDefaults> defaults_;
    const SerialExecutor main_;
    bool isOn_ = false;
    int days_ = usualDays;
    int mebibytes_ = usualMebibytes;
    QString failureText_;
    QVariantList records_;
    std::optional<RecordHeader> run_;
    std::shared_ptr<Writer> writer_;  ///< of this run, once something was said
    std::unique_ptr<RecordArchive> archive_;
};

}  // namespace tarn
