#pragma once

class QTextTable;

namespace kelvane::TableRows {

// Readers add a table's rows as they meet them. Qt rebuilds a table's grid of cells after
// every change in its rows, so adding them one at a time makes long tables quadratic to read:
// `reserve` adds rows ahead, half again as many as the table has, and `trim` removes those
// left over once the table is read.

// Makes the table at least `rows` rows long.
void reserve(QTextTable& table, int rows);

// Removes the rows past the first `rows`.
void trim(QTextTable& table, int rows);

} // namespace kelvane::TableRows
