#pragma once

#include <QtQml/qqmlregistration.h>
#include <QAbstractListModel>
#include <QPointer>
#include <memory>
#include <vector>

#include "TarnApp/session/TranslateViewModel.h"

namespace tarn {

/// The sessions of a view model as rows with the one role `session` (a `TranslateSession`). A session that
/// comes or goes inserts or removes its row, so that the views of the others stay as they are. Thread: main.
class SessionListModel : public QAbstractListModel {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(tarn::TranslateViewModel* viewModel READ viewModel WRITE setViewModel NOTIFY viewModelChanged
                   REQUIRED)
    Q_PROPERTY(int count READ count NOTIFY countChanged)

public:
    enum Role { sessionRole = Qt::UserRole + 1 };

    using QAbstractListModel::QAbstractListModel;

    TranslateViewModel* viewModel() const { return viewModel_; }
    void setViewModel(TranslateViewModel* value);
    int count() const { return static_cast<int>(rows_.size()); }

    int rowCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;

Q_SIGNALS:
    void viewModelChanged();
    void countChanged();

private:
    void follow();

    QPointer<TranslateViewModel> viewModel_;
    std::vector<std::shared_ptr<TranslateSession>> rows_;  ///< kept alive as long as a view may show them
};

}  // namespace tarn
