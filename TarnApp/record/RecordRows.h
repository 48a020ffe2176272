#pragma once

#include <QAbstractListModel>
#include <QBasicTimer>
#include <QPointer>
#include <QVariantList>
#include <cstdint>
#include <deque>
#include <memory>
#include <string>
#include <vector>

#include "Record.h"

namespace tarn {

/// What a search and a choice of sources leave of a record, or of an older run: one row for each utterance,
/// in the order in which they were said. Of a few thousand utterances a new filter leaves its rows at once;
/// with more, the rows stay as they were until all have been looked at, some in each turn of the event loop.
/// Thread: main.
class RecordRows : public QAbstractListModel {
    Q_OBJECT
    Q_PROPERTY(QString search READ search WRITE setSearch NOTIFY filterChanged)
    /// All that have spoken: {key, label, chosen} each.
    Q_PROPERTY(QVariantList sources READ sources NOTIFY sourcesChanged)
    Q_PROPERTY(bool isFiltered READ isFiltered NOTIFY filterChanged)
    Q_PROPERTY(bool isSearching READ isSearching NOTIFY isSearchingChanged)
    Q_PROPERTY(int count READ count NOTIFY countChanged)
    Q_PROPERTY(int total READ total NOTIFY countChanged)  ///< without the filter

public:
    enum Role : std::uint16_t {
        clockRole = Qt::UserRole,  ///< when it was said: "14:03:12"
        sourceRole,                ///< a small number for each
        nameRole,                  ///< of the source
        languagesRole,             ///< {from, to}: codes; empty where it was not known
        saidRole,
        translationRole,
        gapRole,       ///< in the place of both: what was not translated
        unspokenRole,  ///< whether its translated voice was left out
    };
    using Run = std::shared_ptr<const std::vector<Utterance>>;

    using QAbstractListModel::QAbstractListModel;

    /// Shows `record` as it grows, which must outlive this or be replaced before it ends.
    void follow(const Record* record);
    void show(Run run);

    const QString& search() const { return filter_.search; }
    /// Leaves what has `value` in one of its texts, in capitals or not.
    void setSearch(const QString& value);
    QVariantList sources() const;
    /// Adds a source to the chosen ones, or takes it out. Where none is chosen, all are shown.
    Q_INVOKABLE void toggleSource(int key);
    bool isFiltered() const { return filter_.leavesOut(); }
    bool isSearching() const { return timer_.isActive(); }
    int count() const { return static_cast<int>(shown_.places.size()); }
    int total() const { return static_cast<int>(size()); }

    /// Null where there is no such row.
    const Utterance* at(int row) const;
    /// The language of the interface has changed.
    Q_INVOKABLE void retranslate();

    int rowCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;

Q_SIGNALS:
    void filterChanged();
    void sourcesChanged();
    void isSearchingChanged();
    void countChanged();

protected:
    void timerEvent(QTimerEvent* event) override;

private:
    struct Source {
        int number;
        std::string name;
        bool operator==(const Source&) const = default;
    };
    struct Filter {
        QString search;
        QString needle;           ///< `search`, folded
        std::vector<int> chosen;  ///< keys of sources
        bool leavesOut() const { return !needle.isEmpty() || !chosen.empty(); }
        bool passes(const Utterance& utterance, int source) const;
    };
    /// A place is how many utterances came before it, with those that are gone, so that it stays the same.
    using Place = std::int64_t;
    struct Rows {
        Filter filter;
        std::deque<Place> places;
        void makeRoomAt(Place place);
    };

    std::size_t size() const;
    const Utterance& utterance(Place place) const;
    void begin();
    void added(int index);
    void firstRemoved();
    int keyOf(const Utterance& utterance);
    void filterAgain();
    void lookAtSome();
    void haveLooked();

    QPointer<const Record> record_;
    Run run_;
    std::vector<Source> sources_;
    Filter filter_;
    Rows shown_;
    Rows next_;           ///< while it is looked for
    Place lookedAt_ = 0;  ///< the first one that was not
    Place gone_ = 0;      ///< utterances that the record has removed
    QBasicTimer timer_;
};

}  // namespace tarn
