#include "SessionListModel.h"

#include <QQmlEngine>
#include <algorithm>
#include <utility>

#include "Followers.h"

namespace tarn {
namespace {

/// Keeps the session until no item shows it any more. Views delete their items by `deleteLater`, and Qt
/// deletes objects in the order of those calls.
void keepForViews(std::shared_ptr<TranslateSession> session) {
    auto* const keeper = new QObject;
    QObject::connect(keeper, &QObject::destroyed, [session = std::move(session)] {});
    keeper->deleteLater();
}

}  // namespace

void SessionListModel::setViewModel(TranslateViewModel* value) {
    if (!replaceFollowed(viewModel_, value, this)) {
        return;
    }
    if (value != nullptr) {
        connect(value, &TranslateViewModel::sessionsChanged, this, &SessionListModel::follow);
    }
    follow();
    Q_EMIT viewModelChanged();
}

int SessionListModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : count();
}

QVariant SessionListModel::data(const QModelIndex& index, int role) const {
    if (!checkIndex(index, CheckIndexOption::IndexIsValid) || role != sessionRole) {
        return {};
    }
    return QVariant::fromValue(rows_[static_cast<std::size_t>(index.row())].get());
}

QHash<int, QByteArray> SessionListModel::roleNames() const {
    return {{sessionRole, "session"}};
}

void SessionListModel::follow() {
    const auto wanted = viewModel_ != nullptr ? viewModel_->sessions() : decltype(rows_)();
    const int before = count();
    for (int row = count() - 1; row >= 0; --row) {
        const auto at = rows_.begin() + row;
        if (std::ranges::find(wanted, *at) == wanted.end()) {
            beginRemoveRows({}, row, row);
            auto removed = std::move(*at);
            rows_.erase(at);
            endRemoveRows();
            keepForViews(std::move(removed));
        }
    }
    // Sessions are only ever added at the end, so the remaining rows are in order.
    for (std::size_t row = rows_.size(); row < wanted.size(); ++row) {
        QQmlEngine::setObjectOwnership(wanted[row].get(), QQmlEngine::CppOwnership);
        beginInsertRows({}, count(), count());
        rows_.push_back(wanted[row]);
        endInsertRows();
    }
    if (before != count()) {
        Q_EMIT countChanged();
    }
}

}  // namespace tarn
