#pragma once

#include <QSortFilterProxyModel>

namespace kelvane {

// The first rows of a list, no more than a limit: the tray panel's five newest jobs.
class FirstRows : public QSortFilterProxyModel {
    Q_OBJECT

public:
    FirstRows(QAbstractItemModel& source, int limit, QObject* parent = nullptr);

protected:
    bool filterAcceptsRow(int sourceRow, const QModelIndex& sourceParent) const override;

private:
    int limit_;
};

} // namespace kelvane
