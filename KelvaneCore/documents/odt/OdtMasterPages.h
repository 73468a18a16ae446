#pragma once

#include "documents/SectionPages.h"
#include "options/ConversionOptions.h"

#include <QString>

#include <optional>
#include <vector>

class QTextBlock;
class QXmlStreamWriter;

namespace kelvane::Odt {

// The pages of the text's sections as master pages, each with a page layout: the chosen paper,
// turned as the section turns its pages, with the section's margins and its header and footer
// lines. The text starts on "Standard"; a paragraph that starts another section names its
// master page in its style. A section whose first page has lines of its own starts on a master
// page of that page, which goes on with the section's own.
class MasterPages {
public:
    explicit MasterPages(PageSize paper);

    // The master page `block` starts, for its paragraph style to name: none where it starts no
    // section, or where it starts the text, whose page Standard becomes.
    QString startedBy(const QTextBlock& block);

    // The page layouts, inside office:automatic-styles of styles.xml.
    void writeLayouts(QXmlStreamWriter& xml) const;
    // office:master-styles.
    void writeMasters(QXmlStreamWriter& xml) const;

private:
    struct Master {
        QString name;
        std::optional<SectionPages::Page> page; // none: the paper with inch margins
        QString next; // for the first page of a section that has lines of its own: the master
                      // page of the pages after it, which draws its own lines
    };
    // The master page of `page`, added when new; none past the most a document may have.
    const Master* masterOf(const SectionPages::Page& page, QString next = {});
    void writeMaster(QXmlStreamWriter& xml, const Master& master, std::size_t layout) const;

    PageSize paper_;
    std::vector<Master> masters_;
};

} // namespace kelvane::Odt
