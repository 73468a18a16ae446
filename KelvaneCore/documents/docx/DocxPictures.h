#pragma once

#include <QByteArray>
#include <QSizeF>
#include <QString>

#include <functional>

class QXmlStreamReader;
class QXmlStreamWriter;

namespace kelvane::Docx {

// The picture a drawing shows: the relationship of its image part and its size on the page.
struct PictureReference {
    QString relationshipId;      // empty when the drawing holds no embedded picture
    QSizeF points;               // empty when the drawing gives no usable size
    QString description;         // the alternative text, shown when the picture cannot be
    QString chartRelationshipId; // the chart part a chart drawing shows, if any
};

// The words a chart part (word/charts/chart1.xml) shows besides its numbers, "Title: first
// series, second series"; empty when it names nothing.
QString chartText(const QByteArray& chartPart);

// Called at each w:txbxContent (the text of a text box or shape); reads it to its end.
using TextBoxReader = std::function<void()>;

// Scans the current w:drawing (DrawingML) to its end for its first embedded picture.
PictureReference readDrawing(QXmlStreamReader& xml, const TextBoxReader& readTextBox);
// Scans the current w:pict or w:object (VML) to its end for its image data.
PictureReference readVmlPicture(QXmlStreamReader& xml, const TextBoxReader& readTextBox);

struct InlinePicture {
    QString relationshipId;
    int number; // unique among the document's drawings
    long cx;    // EMU
    long cy;
};

// A w:r holding an inline DrawingML picture, complete enough for strict consumers.
void writeInlinePicture(QXmlStreamWriter& xml, const InlinePicture& picture);

} // namespace kelvane::Docx
