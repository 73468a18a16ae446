#include "documents/docx/DocxPictures.h"

#include <QStringList>
#include <QXmlStreamReader>

namespace kelvane::Docx {
namespace {

constexpr qsizetype maxSeries = 64;
constexpr qsizetype maxNameLength = 400;

void appendBounded(QString& to, QStringView text) {
    to.append(text.first(std::min(text.size(), std::max<qsizetype>(0, maxNameLength - to.size()))));
}

} // namespace

QString chartText(const QByteArray& chartPart) {
    QXmlStreamReader xml(chartPart);
    QStringList path; // local names from the root to the current element
    QString title;
    QStringList series;
    int titleDepth = 0;  // the depth of the chart's own title while inside it
    int seriesDepth = 0; // the depth of a series name while inside it
    while (!xml.atEnd() && !xml.hasError()) {
        const auto token = xml.readNext();
        if (token == QXmlStreamReader::StartElement) {
            const QStringView name = xml.name();
            const QString parent = path.isEmpty() ? QString() : path.last();
            path.append(name.toString());
            const int depth = static_cast<int>(path.size());
            if (name == u"title" && parent == u"chart" && titleDepth == 0)
                titleDepth = depth;
            else if (name == u"tx" && parent == u"ser" && seriesDepth == 0 &&
                     series.size() < maxSeries) {
                seriesDepth = depth;
                series.append(QString());
            }
        } else if (token == QXmlStreamReader::EndElement) {
            const int depth = static_cast<int>(path.size());
            if (depth == titleDepth)
                titleDepth = 0;
            if (depth == seriesDepth)
                seriesDepth = 0;
            if (!path.isEmpty())
                path.removeLast();
        } else if (token == QXmlStreamReader::Characters && !path.isEmpty()) {
            const QString& element = path.last();
            if (titleDepth > 0 && element == u"t")
                appendBounded(title, xml.text());
            else if (seriesDepth > 0 && (element == u"v" || element == u"t"))
                appendBounded(series.last(), xml.text());
        }
    }
    series.removeAll(QString());
    title = title.simplified();
    const QString names = series.join(QStringLiteral(", ")).simplified();
    if (title.isEmpty() || names.isEmpty())
        return title + names;
    return title + QStringLiteral(": ") + names;
}

} // namespace kelvane::Docx
