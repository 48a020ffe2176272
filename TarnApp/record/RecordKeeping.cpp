#include "RecordKeeping.h"

#include <QDateTime>
#include <algorithm>
#include <boost/asio/post.hpp>
#include <chrono>
#include <climits>
#include <utility>
#include <vector>

#include "ShownUtterance.h"
#include "TarnApp/localization/AddedText.h"
#include "TarnPlatform/base/TaskHandle.h"

namespace tarn {
namespace {

// As they stand in the settings.
constexpr const char* isOnKey = "keepRecords";
constexpr const char* daysKey = "keepRecordsDays";
constexpr const char* mebibytesKey = "keepRecordsMiB";

/// What a disk has not taken is kept in memory as far as this; the oldest goes first.
constexpr std::size_t mostWaiting = 5000;

int stored(const UserDefaults& defaults, const char* key, int usual, int most) {
    return static_cast<int>(std::clamp<std::int64_t>(defaults.integer(key).value_or(usual), 1, most));
}

QString stateName(RecordInfo::State state) {
    switch (state) {
        case RecordInfo::State::complete:
            return QStringLiteral("complete");
        case RecordInfo::State::running:
            return QStringLiteral("running");
        case RecordInfo::State::newer:
            return QStringLiteral("newer");
        case RecordInfo::State::unreadable:
            break;
    }
    return QStringLiteral("unreadable");
}

QVariantMap shownInfo(const RecordInfo& info) {
    QStringList names;
    for (const RecordSource& source : info.sources) {
        names.push_back(shownText(source.name));
    }
    return {{"name", QString::fromStdString(info.name)},
            {"state", stateName(info.state)},
            {"started", QDateTime::fromMSecsSinceEpoch(info.started.time_since_epoch().count())},
            {"seconds", std::chrono::duration<double>(info.duration).count()},
            {"sources", names},
            {"utterances", static_cast<int>(std::min<std::size_t>(info.utterances, INT_MAX))},
            {"bytes", static_cast<double>(info.bytes)}};
}

}  // namespace

/// The file of one run. Thread: the archive's.
struct RecordKeeping::Writer {
    RecordHeader header{};
    std::optional<RecordFile> file{};
    std::vector<Utterance> waiting{};

    Result<void> write(const RecordFolder& folder) {
        if (waiting.empty()) {
            return {};
        }
        if (!file) {
            auto begun = folder.begin(header);
            if (!begun) {
                return std::unexpected(std::move(begun.error()));
            }
            file.emplace(std::move(*begun));
        }
        auto written = file->append(waiting);
        if (written) {
            waiting.clear();
        } else {
            file.reset();  // it takes no more, so the next try begins another
        }
        return written;
    }
};

RecordKeeping::RecordKeeping(std::shared_ptr<UserDefaults> defaults, const std::filesystem::path& folder,
                             SerialExecutor main)
    : defaults_(std::move(defaults)), main_(std::move(main)) {
    if (folder.empty()) {
        return;
    }
    archive_ = std::make_unique<RecordArchive>(folder);
    isOn_ = defaults_->boolean(isOnKey).value_or(false);
    days_ = stored(*defaults_, daysKey, usualDays, mostDays);
    mebibytes_ = stored(*defaults_, mebibytesKey, usualMebibytes, mostMebibytes);
    keepToLimits();
}

RecordKeeping::~RecordKeeping() = default;

QString RecordKeeping::folder() const {
    return archive_ ? QString::fromStdString(archive_->folder().string()) : QString();
}

void RecordKeeping::setOn(bool value) {
    if (!archive_ || value == isOn_) {
        return;
    }
    isOn_ = value;
    defaults_->set(isOnKey, value);
    if (!value) {
        endFile();
        setFailureText({});
    }
    Q_EMIT isOnChanged();
}

void RecordKeeping::setDays(int value) {
    store(daysKey, days_, std::clamp(value, 1, mostDays));
}

void RecordKeeping::setMebibytes(int value) {
    store(mebibytesKey, mebibytes_, std::clamp(value, 1, mostMebibytes));
}

void RecordKeeping::store(const char* key, int& field, int value) {
    if (!archive_ || field == value) {
        return;
    }
    field = value;
    defaults_->set(key, static_cast<std::int64_t>(value));
    Q_EMIT limitsChanged();
    keepToLimits();
}

void RecordKeeping::keepToLimits() const {
    RecordFolder::Limits limits;
    limits.age = std::chrono::days(days_);
    limits.bytes = static_cast<std::uint64_t>(mebibytes_) * 1024 * 1024;
    archive_->later([limits](const RecordFolder& folder) {
        static_cast<void>(folder.keepTo(limits, std::chrono::system_clock::now()));
    });
}

void RecordKeeping::beginRun(RecordHeader header) {
    endRun();
    run_ = std::move(header);
}

void RecordKeeping::add(const Utterance& utterance) {
    if (!isOn_ || !archive_ || !run_) {
        return;
    }
    if (!writer_) {
        writer_ = std::make_shared<Writer>(Writer{*run_});
    }
    archive_->later([writer = writer_, utterance, main = main_,
                     self = QPointer<RecordKeeping>(this)](const RecordFolder& folder) {
        auto& waiting = writer->waiting;
        waiting.push_back(utterance);
        if (waiting.size() > mostWaiting) {
            waiting.erase(waiting.begin());
        }
        asio::post(main, [self, outcome = writer->write(folder)] {
            if (self) {
                self->wrote(outcome);
            }
        });
    });
}

void RecordKeeping::endRun() {
    run_.reset();
    endFile();
}

void RecordKeeping::endFile() {
    if (const auto writer = std::exchange(writer_, nullptr)) {
        archive_->later([writer](const RecordFolder& folder) {
            static_cast<void>(writer->write(folder));
            writer->file.reset();
        });
        keepToLimits();
    }
}

void RecordKeeping::wrote(const Result<void>& outcome) {
    if (!isOn_) {
        return;
    }
    const bool isNew = failureText_.isEmpty();
    setFailureText(outcome ? QString() : tarn::shown(AddedText::recordsFail, {outcome.error().description}));
    if (!outcome && isNew) {
        Q_EMIT failed(failureText_);
    }
}

void RecordKeeping::setFailureText(const QString& value) {
    if (failureText_ != value) {
        failureText_ = value;
        Q_EMIT failureTextChanged();
    }
}

void RecordKeeping::list() {
    if (archive_) {
        TaskHandle::start(main_, takeList(this, archive_->list()));
    }
}

Task<void> RecordKeeping::takeList(QPointer<RecordKeeping> self,
                                   Task<Result<std::vector<RecordInfo>>> listing) {
    const auto listed = co_await std::move(listing);
    if (!self) {
        co_return;
    }
    self->records_.clear();
    for (const RecordInfo& info : listed.value_or(std::vector<RecordInfo>())) {
        self->records_.push_back(shownInfo(info));
    }
    Q_EMIT self->recordsChanged();
    if (self && !listed) {
        Q_EMIT self->failed(tarn::shown(AddedText::recordsUnread, {listed.error().description}));
    }
}

void RecordKeeping::remove(const QString& name) {
    if (archive_) {
        TaskHandle::start(main_, takeRemoval(this, archive_->remove(name.toStdString())));
    }
}

void RecordKeeping::removeAll() {
    if (archive_) {
        TaskHandle::start(main_, takeRemoval(this, archive_->removeAll()));
    }
}

Task<void> RecordKeeping::takeRemoval(QPointer<RecordKeeping> self, Task<Result<void>> removal) {
    const auto removed = co_await std::move(removal);
    if (!self) {
        co_return;
    }
    self->list();
    if (!removed) {
        Q_EMIT self->failed(tarn::shown(AddedText::recordStays, {removed.error().description}));
    }
}

void RecordKeeping::show(const QString& name, RecordRows* rows) {
    if (archive_ && rows != nullptr) {
        TaskHandle::start(main_, takeContents(this, name, rows, archive_->read(name.toStdString())));
    }
}

Task<void> RecordKeeping::takeContents(QPointer<RecordKeeping> self, QString name, QPointer<RecordRows> rows,
                                       Task<Result<RecordContents>> reading) {
    auto read = co_await std::move(reading);
    if (!self || !rows) {
        co_return;
    }
    if (!read) {
        Q_EMIT self->failed(tarn::shown(AddedText::recordsUnread, {read.error().description}));
        co_return;
    }
    rows->show(std::make_shared<const std::vector<Utterance>>(std::move(read->utterances)));
    Q_EMIT self->shown(name);
}

}  // namespace tarn
