#pragma once

#include <QByteArray>

#include <vector>

// A long page is read a run of paragraphs at a time: the parser holds a node of several
// hundred bytes for every element and every run of text it reads, many times the text.
namespace kelvane::HtmlChunks {

// The page is in an encoding whose markup is ASCII (UTF-8, a legacy code page): it is cut
// before it is decoded, each run on its own.

// Where the page's body begins (after its <body> tag), or none without one.
qsizetype bodyStart(const QByteArray& html);

// Where the body can be cut into runs of at least `length` characters: before a paragraph or
// heading that no list, table, other container or inline formatting holds. Empty when the
// page is shorter, or its elements never close enough to cut safely.
std::vector<qsizetype> cutsOf(const QByteArray& html, qsizetype from, qsizetype length);

} // namespace kelvane::HtmlChunks
