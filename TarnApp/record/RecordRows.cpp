#include "RecordRows.h"

#include <QTimerEvent>
#include <algorithm>
#include <chrono>
#include <utility>

#include "ShownUtterance.h"

namespace tarn {
namespace {

// Half a frame, so that scrolling and typing go on meanwhile.
constexpr std::chrono::milliseconds slice{8};
constexpr int betweenLooksAtTheClock = 64;
// More than anybody says without a pause; it keeps one row from being laid out for a second.
constexpr qsizetype longestShown = 2000;

/// For comparing: full-width and composed forms as the usual ones, all in one case; capitals first, since
/// only they make "ss" of "ß".
QString folded(const QString& text) {
    return text.normalized(QString::NormalizationForm_KC).toUpper().toCaseFolded();
}

QString bounded(QString text) {
    if (text.size() > longestShown) {
        text.truncate(text[longestShown - 1].isHighSurrogate() ? longestShown - 1 : longestShown);
        text += QChar(0x2026);
    }
    return text;
}

}  // namespace

bool RecordRows::Filter::passes(const Utterance& utterance, int source) const {
    return (chosen.empty() || std::ranges::count(chosen, source) > 0) &&
           (needle.isEmpty() || folded(shownText(utterance.text)).contains(needle) ||
            folded(shownText(utterance.translation)).contains(needle));
}

void RecordRows::Rows::makeRoomAt(Place place) {
    for (auto later = places.rbegin(); later != places.rend() && *later >= place; ++later) {
        ++*later;
    }
}

std::size_t RecordRows::size() const {
    return record_ ? record_->utterances().size() : run_ ? run_->size() : 0;
}

const Utterance& RecordRows::utterance(Place place) const {
    const auto index = static_cast<std::size_t>(place - gone_);
    return record_ ? record_->utterances()[index] : (*run_)[index];
}

void RecordRows::follow(const Record* record) {
    if (record_) {
        record_->disconnect(this);
    }
    record_ = record;
    run_.reset();
    if (record != nullptr) {
        connect(record, &Record::added, this, &RecordRows::added);
        connect(record, &Record::firstRemoved, this, &RecordRows::firstRemoved);
        connect(record, &Record::cleared, this, &RecordRows::begin);
    }
    begin();
}

void RecordRows::show(Run run) {
    if (record_) {
        record_->disconnect(this);
    }
    record_ = nullptr;
    run_ = std::move(run);
    begin();
}

void RecordRows::begin() {
    beginResetModel();
    shown_ = {};
    gone_ = 0;
    endResetModel();
    sources_.clear();
    filter_.chosen.clear();
    for (std::size_t i = 0; i < size(); ++i) {
        keyOf(utterance(static_cast<Place>(i)));
    }
    Q_EMIT sourcesChanged();
    Q_EMIT filterChanged();
    Q_EMIT countChanged();
    filterAgain();
}

void RecordRows::added(int index) {
    const Place place = index + gone_;
    const auto known = sources_.size();
    const Utterance& said = utterance(place);
    const int source = keyOf(said);
    if (sources_.size() > known) {
        Q_EMIT sourcesChanged();
    }
    if (isSearching()) {
        next_.makeRoomAt(place);
        if (place < lookedAt_) {
            ++lookedAt_;
            if (next_.filter.passes(said, source)) {
                next_.places.insert(std::ranges::lower_bound(next_.places, place), place);
            }
        }
    }
    shown_.makeRoomAt(place);
    if (shown_.filter.passes(said, source)) {
        const auto where = std::ranges::lower_bound(shown_.places, place);
        const auto row = static_cast<int>(where - shown_.places.begin());
        beginInsertRows({}, row, row);
        shown_.places.insert(where, place);
        endInsertRows();
    }
    Q_EMIT countChanged();
}

void RecordRows::firstRemoved() {
    ++gone_;
    lookedAt_ = std::max(lookedAt_, gone_);
    if (!next_.places.empty() && next_.places.front() < gone_) {
        next_.places.pop_front();
    }
    if (!shown_.places.empty() && shown_.places.front() < gone_) {
        beginRemoveRows({}, 0, 0);
        shown_.places.pop_front();
        endRemoveRows();
    }
}

int RecordRows::keyOf(const Utterance& utterance) {
    const auto found = std::ranges::find_if(sources_, [&](const Source& source) {
        return source.number == utterance.source && source.name == utterance.sourceName;
    });
    if (found == sources_.end()) {
        sources_.push_back({utterance.source, utterance.sourceName});
        return static_cast<int>(sources_.size() - 1);
    }
    return static_cast<int>(found - sources_.begin());
}

QVariantList RecordRows::sources() const {
    QVariantList list;
    for (std::size_t key = 0; key < sources_.size(); ++key) {
        const auto& source = sources_[key];
        QString label = shownText(source.name);
        if (label.isEmpty() || std::ranges::count(sources_, source.name, &Source::name) > 1) {
            label = (label + u' ' + QString::number(source.number + 1)).trimmed();
        }
        list.append(QVariantMap{{"key", static_cast<int>(key)},
                                {"label", label},
                                {"chosen", std::ranges::count(filter_.chosen, static_cast<int>(key)) > 0}});
    }
    return list;
}

void RecordRows::setSearch(const QString& value) {
    if (value == filter_.search) {
        return;
    }
    filter_.search = value;
    filter_.needle = folded(value.simplified());
    Q_EMIT filterChanged();
    filterAgain();
}

void RecordRows::toggleSource(int key) {
    if (std::erase(filter_.chosen, key) == 0) {
        filter_.chosen.push_back(key);
    }
    Q_EMIT filterChanged();
    Q_EMIT sourcesChanged();
    filterAgain();
}

void RecordRows::filterAgain() {
    const bool was = isSearching();
    timer_.stop();
    next_ = {filter_, {}};
    lookedAt_ = gone_;
    lookAtSome();
    if (isSearching() != was) {
        Q_EMIT isSearchingChanged();
    }
}

void RecordRows::lookAtSome() {
    const auto end = std::chrono::steady_clock::now() + slice;
    const Place all = gone_ + static_cast<Place>(size());
    for (int looked = 1; lookedAt_ < all; ++looked, ++lookedAt_) {
        if (looked % betweenLooksAtTheClock == 0 && std::chrono::steady_clock::now() > end) {
            timer_.start(0, this);
            return;
        }
        const Utterance& said = utterance(lookedAt_);
        if (!next_.filter.leavesOut() || next_.filter.passes(said, keyOf(said))) {
            next_.places.push_back(lookedAt_);
        }
    }
    haveLooked();
}

void RecordRows::haveLooked() {
    timer_.stop();
    if (next_.places == shown_.places) {
        shown_.filter = std::move(next_.filter);  // what is shown keeps its place
    } else {
        beginResetModel();
        shown_ = std::move(next_);
        endResetModel();
    }
    next_ = {};
    Q_EMIT countChanged();
}

void RecordRows::timerEvent(QTimerEvent* event) {
    if (event->timerId() != timer_.timerId()) {
        return;
    }
    lookAtSome();
    if (!isSearching()) {
        Q_EMIT isSearchingChanged();
    }
}

const Utterance* RecordRows::at(int row) const {
    if (row < 0 || row >= count()) {
        return nullptr;
    }
    const Place place = shown_.places[static_cast<std::size_t>(row)];
    return place < gone_ || place >= gone_ + static_cast<Place>(size()) ? nullptr : &utterance(place);
}

void RecordRows::retranslate() {
    if (count() > 0) {
        Q_EMIT dataChanged(index(0), index(count() - 1), {gapRole});
    }
}

int RecordRows::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : count();
}

QVariant RecordRows::data(const QModelIndex& index, int role) const {
    const Utterance* const said = at(index.row());
    if (said == nullptr) {
        return {};
    }
    switch (role) {
        case clockRole:
            return shownClock(*said);
        case sourceRole:
            return said->source;
        case nameRole:
            return shownText(said->sourceName);
        case languagesRole:
            return QStringList{shownText(said->sourceLang), shownText(said->targetLang)};
        case saidRole:
            return bounded(shownText(said->text));
        case translationRole:
            return bounded(shownText(said->translation));
        case gapRole:
            return shownGap(*said);
        case unspokenRole:
            return said->kind == Utterance::Kind::unspoken;
        default:
            return {};
    }
}

QHash<int, QByteArray> RecordRows::roleNames() const {
    return {{clockRole, "clock"},     {sourceRole, "source"},
            {nameRole, "sourceName"}, {languagesRole, "languages"},
            {saidRole, "said"},       {translationRole, "translation"},
            {gapRole, "gap"},         {unspokenRole, "unspoken"}};
}

}  // namespace tarn
