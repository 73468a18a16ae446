#pragma once

#include <QMarginsF>
#include <QSizeF>
#include <QString>
#include <QTextFormat>
#include <QVariantList>

#include <optional>

// A document's sections each have their pages: size, orientation and margins. The readers
// set the page on the first block of each section; the PDF layout lays each section out on
// pages of its own.
namespace kelvane::SectionPages {

constexpr int property = QTextFormat::UserProperty + 2;

// Stands in a header or footer for the number of the page it is drawn on.
constexpr QChar pageNumberMark(0xE000);

struct Page {
    QSizeF size;       // points, width across the page as it is read
    QMarginsF margins; // points
    QString header;    // one line of text drawn above the text on each page, or empty
    QString footer;    // and below it
    bool operator==(const Page&) const = default;
};

inline void mark(QTextBlockFormat& format, const Page& page) {
    format.setProperty(property,
                       QVariantList{page.size.width(), page.size.height(), page.margins.left(),
                                    page.margins.top(), page.margins.right(), page.margins.bottom(),
                                    page.header, page.footer});
}

inline std::optional<Page> pageOf(const QTextBlockFormat& format) {
    const QVariantList values = format.property(property).toList();
    if (values.size() != 8)
        return std::nullopt;
    return Page{
        {values[0].toDouble(), values[1].toDouble()},
        {values[2].toDouble(), values[3].toDouble(), values[4].toDouble(), values[5].toDouble()},
        values[6].toString(),
        values[7].toString()};
}

} // namespace kelvane::SectionPages
