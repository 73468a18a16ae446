#include "documents/html/HtmlChunks.h"

#include <QStringView>

#include <algorithm>
#include <array>

namespace kelvane::HtmlChunks {
namespace {

// Elements whose content a cut must not fall in: block containers, and inline formatting that
// may hold several paragraphs.
constexpr std::array<QStringView, 34> holders = {
    u"table",   u"ul",      u"ol",     u"dl",     u"div", u"pre",    u"blockquote",
    u"section", u"article", u"header", u"footer", u"nav", u"aside",  u"main",
    u"figure",  u"form",    u"center", u"b",      u"i",   u"u",      u"em",
    u"strong",  u"font",    u"span",   u"a",      u"s",   u"strike", u"big",
    u"small",   u"sub",     u"sup",    u"code",   u"tt",  u"li"};

// Elements whose content is not markup.
constexpr std::array<QStringView, 4> rawText = {u"script", u"style", u"textarea", u"title"};

bool isCutBefore(QStringView name) {
    return name == u"p" ||
           (name.size() == 2 && name[0] == u'h' && name[1] >= u'1' && name[1] <= u'6');
}

struct Tag {
    QString name; // lower case
    bool closing = false;
    bool selfClosing = false;
    qsizetype end = 0; // after its '>'
};

Tag tagAt(const QString& html, qsizetype at) {
    Tag tag;
    qsizetype i = at + 1;
    if (i < html.size() && html[i] == u'/') {
        tag.closing = true;
        ++i;
    }
    const qsizetype nameStart = i;
    while (i < html.size() && html[i].isLetterOrNumber())
        ++i;
    tag.name = html.mid(nameStart, i - nameStart).toLower();
    const qsizetype close = html.indexOf(u'>', i);
    tag.end = close < 0 ? html.size() : close + 1;
    tag.selfClosing = close > 0 && html[close - 1] == u'/';
    return tag;
}

} // namespace

qsizetype bodyStart(const QString& html) {
    const qsizetype body = html.indexOf(QStringLiteral("<body"), 0, Qt::CaseInsensitive);
    if (body < 0)
        return -1;
    const qsizetype end = html.indexOf(u'>', body);
    return end < 0 ? -1 : end + 1;
}

std::vector<qsizetype> cutsOf(const QString& html, qsizetype from, qsizetype length) {
    std::vector<qsizetype> cuts;
    if (html.size() - from < 2 * length)
        return cuts;
    int depth = 0;
    qsizetype last = from;
    for (qsizetype at = html.indexOf(u'<', from); at >= 0; at = html.indexOf(u'<', at)) {
        if (QStringView(html).mid(at).startsWith(u"<!--")) {
            const qsizetype end = html.indexOf(QStringLiteral("-->"), at);
            if (end < 0)
                break;
            at = end + 3;
            continue;
        }
        const Tag tag = tagAt(html, at);
        if (tag.name.isEmpty()) {
            ++at;
            continue;
        }
        if (!tag.closing && std::find(rawText.begin(), rawText.end(), tag.name) != rawText.end()) {
            const qsizetype end =
                html.indexOf(QStringLiteral("</") + tag.name, tag.end, Qt::CaseInsensitive);
            if (end < 0)
                break;
            at = end;
            continue;
        }
        if (std::find(holders.begin(), holders.end(), tag.name) != holders.end() &&
            !tag.selfClosing)
            depth = std::max(0, depth + (tag.closing ? -1 : 1));
        else if (!tag.closing && depth == 0 && isCutBefore(tag.name) && at - last >= length) {
            cuts.push_back(at);
            last = at;
        }
        at = tag.end;
    }
    // Elements left open at the end: the page's nesting is not what it seems.
    if (depth != 0)
        cuts.clear();
    return cuts;
}

} // namespace kelvane::HtmlChunks
