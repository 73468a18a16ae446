#include "documents/SymbolFonts.h"

namespace kelvane::SymbolFonts {
namespace {

// The Symbol font from 0x20 to 0x7E and from 0xA0 to 0xFE; U+FFFD where it draws nothing.
const QString symbolLow = QStringLiteral(" !∀#∃%&∋()∗+,−./0123456789:;<=>?≅"
                                         "ΑΒΧΔΕΦΓΗΙϑΚΛΜΝΟΠΘΡΣΤΥςΩΞΨΖ[∴]⊥_‾"
                                         "αβχδεφγηιϕκλμνοπθρστυϖωξψζ{|}∼");
const QString symbolHigh = QStringLiteral("€ϒ′≤⁄∞ƒ♣♦♥♠↔←↑→↓°±″≥×∝∂•÷≠≡≈…⏐⎯↵"
                                          "ℵℑℜ℘⊗⊕∅∩∪⊃⊇⊄⊂⊆∈∉∠∇®©™∏√⋅¬∧∨⇔⇐⇑⇒⇓"
                                          "◊〈®©™∑⎛⎜⎝⎡⎢⎣⎧⎨⎩⎪\uFFFD〉∫⌠⎮⌡⎞⎟⎠⎤⎥⎦⎫⎬⎭");

// The Wingdings characters documents use most: check marks, crosses, bullets and arrows.
QString wingdings(char32_t code) {
    switch (code) {
    case 0x6C:
        return QStringLiteral("●");
    case 0x6E:
    case 0xA7:
        return QStringLiteral("▪");
    case 0x6F:
    case 0xA8:
        return QStringLiteral("□");
    case 0x71:
        return QStringLiteral("❑");
    case 0x76:
        return QStringLiteral("❖");
    case 0x9F:
        return QStringLiteral("•");
    case 0xD8:
        return QStringLiteral("➢");
    case 0xE0:
    case 0xE8:
        return QStringLiteral("➔");
    case 0xFB:
        return QStringLiteral("✗");
    case 0xFC:
        return QStringLiteral("✓");
    case 0xFD:
        return QStringLiteral("☒");
    case 0xFE:
        return QStringLiteral("☑");
    default:
        return {};
    }
}

QString fromTable(const QString& table, char32_t first, char32_t code) {
    if (code < first || code - first >= static_cast<char32_t>(table.size()))
        return {};
    const QChar c = table.at(static_cast<qsizetype>(code - first));
    return c == QChar::ReplacementCharacter ? QString() : QString(c);
}

} // namespace

QString character(const QString& font, char32_t code) {
    const char32_t low = code >= 0xF020 && code <= 0xF0FF ? code - 0xF000 : code;
    QString mapped;
    if (font.compare(QLatin1String("Symbol"), Qt::CaseInsensitive) == 0)
        mapped = low >= 0xA0 ? fromTable(symbolHigh, 0xA0, low) : fromTable(symbolLow, 0x20, low);
    else if (font.startsWith(QLatin1String("Wingdings"), Qt::CaseInsensitive))
        mapped = wingdings(low);
    if (!mapped.isEmpty())
        return mapped;
    if (code == 0 || code > 0x10FFFF || (code >= 0xD800 && code <= 0xDFFF))
        return {};
    return QString::fromUcs4(&code, 1);
}

} // namespace kelvane::SymbolFonts
