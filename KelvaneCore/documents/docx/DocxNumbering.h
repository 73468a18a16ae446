#pragma once

#include <QByteArray>
#include <QTextListFormat>

#include <map>
#include <optional>

class QXmlStreamReader;

namespace kelvane::Docx {

// numbering.xml: which list style each numId and level stands for.
class Numbering {
public:
    // Throws on malformed XML.
    void read(const QByteArray& xml);

    // None for numId 0 (numbering switched off) and for unknown ids.
    std::optional<QTextListFormat::Style> style(int numId, int level) const;

private:
    void readAbstract(QXmlStreamReader& xml);
    void readNum(QXmlStreamReader& xml);

    std::map<int, std::map<int, QTextListFormat::Style>> abstracts_;
    std::map<int, int> nums_; // numId to abstractNumId
};

} // namespace kelvane::Docx
