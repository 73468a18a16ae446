#include "documents/html/HtmlChunks.h"

#include <QByteArrayView>

#include <algorithm>
#include <array>
#include <cctype>

namespace kelvane::HtmlChunks {
namespace {

// Elements whose content a cut must not fall in: block containers, and inline formatting that
// may hold several paragraphs.
constexpr std::array<QByteArrayView, 34> holders = {
    "table",  "ul",     "ol",  "dl",     "div",  "pre",    "blockquote", "section", "article",
    "header", "footer", "nav", "aside",  "main", "figure", "form",       "center",  "b",
    "i",      "u",      "em",  "strong", "font", "span",   "a",          "s",       "strike",
    "big",    "small",  "sub", "sup",    "code", "tt",     "li"};

// Elements whose content is not markup.
constexpr std::array<QByteArrayView, 4> rawText = {"script", "style", "textarea", "title"};

bool isCutBefore(QByteArrayView name) {
    return name == "p" || (name.size() == 2 && name[0] == 'h' && name[1] >= '1' && name[1] <= '6');
}

// Where `text` (lower case) next begins at or after `from`, in any case.
qsizetype indexOfAnyCase(const QByteArray& html, QByteArrayView text, qsizetype from) {
    for (qsizetype at = html.indexOf(text[0], from); at >= 0; at = html.indexOf(text[0], at + 1))
        if (at + text.size() <= html.size() &&
            qstrnicmp(html.constData() + at, text.data(), static_cast<std::size_t>(text.size())) ==
                0)
            return at;
    return -1;
}

struct Tag {
    QByteArray name; // lower case
    bool closing = false;
    bool selfClosing = false;
    qsizetype end = 0; // after its '>'
};

Tag tagAt(const QByteArray& html, qsizetype at) {
    Tag tag;
    qsizetype i = at + 1;
    if (i < html.size() && html[i] == '/') {
        tag.closing = true;
        ++i;
    }
    const qsizetype nameStart = i;
    while (i < html.size() && std::isalnum(static_cast<unsigned char>(html[i])))
        ++i;
    tag.name = html.mid(nameStart, i - nameStart).toLower();
    const qsizetype close = html.indexOf('>', i);
    tag.end = close < 0 ? html.size() : close + 1;
    tag.selfClosing = close > 0 && html[close - 1] == '/';
    return tag;
}

} // namespace

qsizetype bodyStart(const QByteArray& html) {
    const qsizetype body = indexOfAnyCase(html, "<body", 0);
    if (body < 0)
        return -1;
    const qsizetype end = html.indexOf('>', body);
    return end < 0 ? -1 : end + 1;
}

std::vector<qsizetype> cutsOf(const QByteArray& html, qsizetype from, qsizetype length) {
    std::vector<qsizetype> cuts;
    if (html.size() - from < 2 * length)
        return cuts;
    int depth = 0;
    qsizetype last = from;
    for (qsizetype at = html.indexOf('<', from); at >= 0; at = html.indexOf('<', at)) {
        if (QByteArrayView(html).sliced(at).startsWith("<!--")) {
            const qsizetype end = html.indexOf("-->", at);
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
            const qsizetype end = indexOfAnyCase(html, "</" + tag.name, tag.end);
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
