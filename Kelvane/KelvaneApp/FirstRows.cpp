#include "KelvaneApp/FirstRows.h"

namespace kelvane {

FirstRows::FirstRows(QAbstractItemModel& source, int limit, QObject* parent)
    : QSortFilterProxyModel(parent)
    , limit_(limit) {
    setSourceModel(&source);
    // A row added on top pushes another past the limit, which the proxy alone would keep.
    const auto refilter = [this] {
        invalidateFilter();
    };
    connect(&source, &QAbstractItemModel::rowsInserted, this, refilter);
    connect(&source, &QAbstractItemModel::rowsRemoved, this, refilter);
    connect(&source, &QAbstractItemModel::rowsMoved, this, refilter);
    connect(&source, &QAbstractItemModel::modelReset, this, refilter);
}

bool FirstRows::filterAcceptsRow(int sourceRow, const QModelIndex&) const {
    return sourceRow < limit_;
}

} // namespace kelvane
