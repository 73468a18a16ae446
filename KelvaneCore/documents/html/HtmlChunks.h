#pragma once

#include <QString>

#include <vector>

// A long page is read a run of paragraphs at a time: the parser holds a node of several
// hundred bytes for every element and every run of text it reads, many times the text.
namespace kelvane::HtmlChunks {

// Where the page's body begins (after its <body> tag), or none without one.
qsizetype bodyStart(const QString& html);

// Where the body can be cut into runs of at least `length` characters: before a paragraph or
// heading that no list, table, other container or inline formatting holds. Empty when the
// page is shorter, or its elements never close enough to cut safely.
std::vector<qsizetype> cutsOf(const QString& html, qsizetype from, qsizetype length);

} // namespace kelvane::HtmlChunks
