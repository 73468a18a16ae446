#pragma once

#include <QByteArray>
#include <QString>

namespace kelvane::Odt {

// The words a chart object shows besides its numbers, read from its own content.xml: "Title:
// first series, second series", the series named by the cells of the chart's table; empty
// when it names nothing.
QString chartText(const QByteArray& chartContent);

} // namespace kelvane::Odt
