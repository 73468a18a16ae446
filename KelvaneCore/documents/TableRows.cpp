#include "documents/TableRows.h"

#include <QTextTable>

#include <algorithm>

namespace kelvane::TableRows {
namespace {

constexpr int mostRowsAhead = 2048;

} // namespace

void reserve(QTextTable& table, int rows) {
    const int missing = rows - table.rows();
    if (missing <= 0)
        return;
    table.appendRows(std::max(missing, std::clamp(table.rows() / 2, 1, mostRowsAhead)));
}

void trim(QTextTable& table, int rows) {
    if (rows > 0 && table.rows() > rows)
        table.removeRows(rows, table.rows() - rows);
}

} // namespace kelvane::TableRows
