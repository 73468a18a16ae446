#pragma once

#include "documents/DocumentNotes.h"
#include "documents/PictureSlots.h"

#include <QByteArray>
#include <QColor>
#include <QHash>
#include <QStringList>
#include <QStringView>

#include <functional>
#include <vector>

class QBrush;
class QTextBlock;
class QTextCharFormat;
class QTextDocument;

namespace kelvane::Rtf {

// The fonts and colours a document uses, numbered as the \fonttbl and \colortbl written
// for them number them.
class StyleTables {
public:
    explicit StyleTables(const QTextDocument& document);

    int font(const QTextCharFormat& format) const;
    int color(const QBrush& brush) const; // 0, the automatic colour, for none
    double defaultPointSize() const { return defaultPointSize_; }

    QByteArray fontTable() const;
    QByteArray colorTable() const;

private:
    void addFont(const QString& family);
    void addColor(const QBrush& brush);

    QStringList fonts_;
    QHash<QString, int> fontNumbers_;
    std::vector<QColor> colors_;
    QHash<QRgb, int> colorNumbers_;
    double defaultPointSize_ = 12;
};

// Text with RTF's three special characters escaped and everything outside ASCII as \uN?.
void appendText(QByteArray& out, QStringView text);

// Writes the note a mark refers to, where the mark stands; false to keep the mark as text.
using NoteWriter = std::function<bool(QByteArray& out, const DocumentNotes::Note& note)>;

// A block's characters: one group per fragment, images as marks in `pictures` that become
// \pict groups as the text is written out, hyperlinks as fields. Headings without their own
// size and weight get those of their level.
void appendRuns(QByteArray& out, const QTextBlock& block, const StyleTables& tables,
                PictureSlots& pictures, const NoteWriter& notes = {});

} // namespace kelvane::Rtf
