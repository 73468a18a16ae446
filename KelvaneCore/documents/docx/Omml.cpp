#include "documents/docx/Omml.h"

#include "documents/docx/Ooxml.h"

#include <QXmlStreamReader>

#include <map>
#include <stdexcept>

namespace kelvane::Docx {
namespace {

using Ooxml::nextChild;

const QString mathNamespace =
    QStringLiteral("http://schemas.openxmlformats.org/officeDocument/2006/math");
constexpr int maxDepth = 48;

bool isM(const QXmlStreamReader& xml, QStringView name) {
    return xml.namespaceUri() == mathNamespace && xml.name() == name;
}

QString mAttribute(const QXmlStreamReader& xml, QStringView name) {
    return xml.attributes().value(mathNamespace, name.toString()).toString();
}

// Characters with a raised or lowered form, and those forms.
const QString plain = QStringLiteral("0123456789+-=()ni");
const QString raised = QStringLiteral("⁰¹²³⁴⁵⁶⁷⁸⁹⁺⁻⁼⁽⁾ⁿⁱ");
const QString lowered = QStringLiteral("₀₁₂₃₄₅₆₇₈₉₊₋₌₍₎ₙᵢ");

// "²" for "2"; "^(n+1)" when a character has no raised form.
QString shifted(const QString& text, const QString& forms, QChar marker) {
    QString result;
    for (QChar c : text) {
        const auto index = plain.indexOf(c);
        if (index < 0)
            return text.size() == 1 ? marker + text : marker + (u'(' + text + u')');
        result += forms.at(index);
    }
    return result;
}

QString grouped(const QString& text) {
    return text.size() <= 1 ? text : u'(' + text + u')';
}

class MathReader {
public:
    explicit MathReader(QXmlStreamReader& xml)
        : xml_(xml) {}

    // The text of the current element's children.
    QString children(int depth) {
        if (depth > maxDepth)
            throw std::runtime_error("equation nests too deeply");
        QString text;
        while (nextChild(xml_))
            text += element(depth + 1);
        return text;
    }

private:
    // The named arguments of a structure (m:num, m:den, m:e, m:sup…) and its properties.
    struct Parts {
        std::map<QString, QString> arguments;
        std::map<QString, QString> characters; // m:chr, m:begChr… from the properties
        QString operator[](const char* name) const {
            const auto found = arguments.find(QString::fromLatin1(name));
            return found == arguments.end() ? QString() : found->second;
        }
        QString character(const char* name, const QString& fallback) const {
            const auto found = characters.find(QString::fromLatin1(name));
            return found == characters.end() ? fallback : found->second;
        }
    };

    Parts parts(int depth) {
        Parts result;
        while (nextChild(xml_)) {
            const QString name = xml_.name().toString();
            if (name.endsWith(u"Pr")) {
                Ooxml::forEachDescendant(xml_, [&] {
                    if (xml_.namespaceUri() == mathNamespace &&
                        xml_.attributes().hasAttribute(mathNamespace, QStringLiteral("val")))
                        result.characters[xml_.name().toString()] = mAttribute(xml_, u"val");
                });
                continue;
            }
            QString& argument = result.arguments[name];
            if (!argument.isEmpty())
                argument += u',';
            argument += children(depth + 1);
        }
        return result;
    }

    QString element(int depth) {
        if (isM(xml_, u"t") || (xml_.name() == u"t" && xml_.namespaceUri() == Ooxml::ns::w)) {
            QString text = xml_.readElementText(QXmlStreamReader::SkipChildElements);
            if (xml_.hasError())
                throw std::runtime_error("malformed XML in an equation");
            return text;
        }
        if (xml_.namespaceUri() != mathNamespace || xml_.name().endsWith(u"Pr")) {
            if (xml_.namespaceUri() == mathNamespace || xml_.name() == u"rPr") {
                xml_.skipCurrentElement();
                return {};
            }
            return children(depth); // runs of the word processor inside the equation
        }
        const QStringView name = xml_.name();
        if (name == u"f") {
            const Parts f = parts(depth);
            return grouped(f["num"]) + u'/' + grouped(f["den"]);
        }
        if (name == u"sSup") {
            const Parts s = parts(depth);
            return s["e"] + shifted(s["sup"], raised, u'^');
        }
        if (name == u"sSub") {
            const Parts s = parts(depth);
            return s["e"] + shifted(s["sub"], lowered, u'_');
        }
        if (name == u"sSubSup") {
            const Parts s = parts(depth);
            return s["e"] + shifted(s["sub"], lowered, u'_') + shifted(s["sup"], raised, u'^');
        }
        if (name == u"sPre") {
            const Parts s = parts(depth);
            return shifted(s["sub"], lowered, u'_') + shifted(s["sup"], raised, u'^') + s["e"];
        }
        if (name == u"rad") {
            const Parts r = parts(depth);
            const QString degree = r["deg"];
            return (degree.isEmpty() ? QString() : shifted(degree, raised, u'^')) + u'√' +
                   grouped(r["e"]);
        }
        if (name == u"d") {
            const Parts d = parts(depth);
            QString inside = d["e"];
            inside.replace(u',', d.character("sepChr", QStringLiteral(",")));
            return d.character("begChr", QStringLiteral("(")) + inside +
                   d.character("endChr", QStringLiteral(")"));
        }
        if (name == u"nary") {
            const Parts n = parts(depth);
            QString text = n.character("chr", QStringLiteral("∫"));
            if (!n["sub"].isEmpty())
                text += shifted(n["sub"], lowered, u'_');
            if (!n["sup"].isEmpty())
                text += shifted(n["sup"], raised, u'^');
            return text + u' ' + n["e"];
        }
        if (name == u"func") {
            const Parts f = parts(depth);
            return f["fName"] + u' ' + f["e"];
        }
        if (name == u"acc" || name == u"bar" || name == u"groupChr") {
            const Parts a = parts(depth);
            return a["e"];
        }
        if (name == u"limLow" || name == u"limUpp") {
            const Parts l = parts(depth);
            return l["e"] + u' ' + l["lim"];
        }
        if (name == u"oMath")
            return children(depth) + u' '; // one of the lines of an m:oMathPara
        return children(depth);            // m:r, m:e, m:box, m:eqArr, m:m and the like: their text
    }

    QXmlStreamReader& xml_;
};

} // namespace

QString linearMath(QXmlStreamReader& xml) {
    return MathReader(xml).children(0).trimmed();
}

} // namespace kelvane::Docx
