#include "documents/docx/DocxBodyReader.h"

#include <QRegularExpression>

// Fields of the body reader: the result of a field shows, its instruction does not.
namespace kelvane::Docx {

using Ooxml::wAttribute;

QString hyperlinkOf(const QString& instruction) {
    static const QRegularExpression field(
        QStringLiteral(R"re(^\s*HYPERLINK\s+(\\l\s+)?"?([^"\s]+)"?)re"),
        QRegularExpression::CaseInsensitiveOption);
    const auto match = field.match(instruction);
    if (!match.hasMatch())
        return {};
    return match.capturedView(1).isEmpty() ? match.captured(2) : u'#' + match.captured(2);
}

void setLink(QTextCharFormat& format, const QString& href) {
    format.setAnchor(true);
    format.setAnchorHref(href);
}

void BodyReader::readFieldChar(const QTextCharFormat&) {
    const QString type = wAttribute(xml_, u"fldCharType");
    if (type == u"begin" && fields_.size() < static_cast<std::size_t>(maxDepth)) {
        fields_.emplace_back();
    } else if (type == u"separate" && !fields_.empty()) {
        fields_.back().inResult = true;
        fields_.back().href = hyperlinkOf(fields_.back().instruction);
    } else if (type == u"end" && !fields_.empty()) {
        fields_.pop_back();
    }
}

} // namespace kelvane::Docx
