#pragma once

#include <QByteArray>

class QTextBlockFormat;
class QTextTable;
class QTextTableCell;

namespace kelvane::Rtf {

class StyleTables;

// \sb, \sa and \sl: the space around a paragraph and between its lines, as far as its format
// sets them.
QByteArray spacingWords(const QTextBlockFormat& format);

// The words of a row definition that draw a cell's lines and shading: a thin line all round
// in a lined table, else the sides the cell's format draws.
QByteArray cellLookWords(const QTextTable& table, const QTextTableCell& cell,
                         const StyleTables& tables);

} // namespace kelvane::Rtf
