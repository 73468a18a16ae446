#pragma once

#include <QMarginsF>
#include <QSizeF>
#include <QTextFormat>
#include <QVariantList>

#include <optional>

// A document's sections each have their pages: size, orientation and margins. The readers
// set the page on the first block of each section; the PDF layout lays each section out on
// pages of its own.
namespace kelvane::SectionPages {

constexpr int property = QTextFormat::UserProperty + 2;

struct Page {
    QSizeF size;       // points, width across the page as it is read
    QMarginsF margins; // points
    bool operator==(const Page&) const = default;
};

inline void mark(QTextBlockFormat& format, const Page& page) {
    format.setProperty(property, QVariantList{page.size.width(), page.size.height(),
                                              page.margins.left(), page.margins.top(),
                                              page.margins.right(), page.margins.bottom()});
}

inline std::optional<Page> pageOf(const QTextBlockFormat& format) {
    const QVariantList values = format.property(property).toList();
    if (values.size() != 6)
        return std::nullopt;
    return Page{
        {values[0].toDouble(), values[1].toDouble()},
        {values[2].toDouble(), values[3].toDouble(), values[4].toDouble(), values[5].toDouble()}};
}

} // namespace kelvane::SectionPages
