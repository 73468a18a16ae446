#pragma once

#include <QMarginsF>
#include <QSizeF>
#include <QString>
#include <QTextFormat>
#include <QVariantList>

#include <optional>
#include <utility>

// A document's sections each have their pages: size, orientation and margins. The readers
// set the page on the first block of each section; the PDF layout lays each section out on
// pages of its own, with the header and footer lines of each page.
namespace kelvane::SectionPages {

constexpr int property = QTextFormat::UserProperty + 2;

// Stands in a header or footer for the number of the page it is drawn on.
constexpr QChar pageNumberMark(0xE000);

// A header line and a footer line.
struct Lines {
    QString header;
    QString footer;
    bool operator==(const Lines&) const = default;
};

struct Page {
    Page() = default;
    Page(QSizeF size_, QMarginsF margins_, QString header_ = {}, QString footer_ = {})
        : size(size_)
        , margins(margins_)
        , header(std::move(header_))
        , footer(std::move(footer_)) {}

    QSizeF size;                // points, width across the page as it is read
    QMarginsF margins;          // points
    QString header;             // one line of text drawn above the text on each page, or empty
    QString footer;             // and below it
    std::optional<Lines> first; // the section's first page, where it has lines of its own
    std::optional<Lines> even;  // even-numbered pages, where they have lines of their own
    int firstNumber = 0;        // the number of the section's first page; 0 goes on from the last
    bool operator==(const Page&) const = default;
};

// The lines drawn on a page: `index` counts the section's pages from 0, `number` is the
// number the page shows.
inline Lines linesOn(const Page& page, int index, int number) {
    if (index == 0 && page.first)
        return *page.first;
    if (number % 2 == 0 && page.even)
        return *page.even;
    return {page.header, page.footer};
}

namespace detail {

inline void append(QVariantList& values, const std::optional<Lines>& lines) {
    values << lines.has_value() << (lines ? lines->header : QString())
           << (lines ? lines->footer : QString());
}

inline std::optional<Lines> linesAt(const QVariantList& values, qsizetype at) {
    if (!values[at].toBool())
        return std::nullopt;
    return Lines{values[at + 1].toString(), values[at + 2].toString()};
}

} // namespace detail

inline void mark(QTextBlockFormat& format, const Page& page) {
    QVariantList values{page.size.width(),  page.size.height(),   page.margins.left(),
                        page.margins.top(), page.margins.right(), page.margins.bottom(),
                        page.header,        page.footer};
    detail::append(values, page.first);
    detail::append(values, page.even);
    values << page.firstNumber;
    format.setProperty(property, values);
}

// Pages marked with their size, margins and default lines alone read as such.
inline std::optional<Page> pageOf(const QTextBlockFormat& format) {
    const QVariantList values = format.property(property).toList();
    if (values.size() != 8 && values.size() != 15)
        return std::nullopt;
    Page page(
        {values[0].toDouble(), values[1].toDouble()},
        {values[2].toDouble(), values[3].toDouble(), values[4].toDouble(), values[5].toDouble()},
        values[6].toString(), values[7].toString());
    if (values.size() == 15) {
        page.first = detail::linesAt(values, 8);
        page.even = detail::linesAt(values, 11);
        page.firstNumber = values[14].toInt();
    }
    return page;
}

} // namespace kelvane::SectionPages
