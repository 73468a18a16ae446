// Writes the desktop entry from its template at build time: the MIME types of every kind of
// file the recipes read, and one action per recipe group, so that a type or a group added to
// the catalogue reaches the file managers' "Open With" without an edit here.
// Usage: kelvane-desktop-entry TEMPLATE OUTPUT

#include "FileManagerMenus/MimeNames.h"
#include "catalogue/FileKind.h"
#include "catalogue/Recipe.h"

#include <QCoreApplication>
#include <QFile>
#include <QStringList>

#include <cstdio>

namespace {

using kelvane::FileKind;

bool someRecipeReads(FileKind kind) {
    for (kelvane::Recipe recipe : kelvane::Recipe::allCases())
        if (recipe != kelvane::Recipe::zip && recipe.accepts().contains(kind))
            return true;
    return false;
}

// The types of every kind of file some recipe reads, named as the file managers' menus name
// them.
QString mimeTypes() {
    QStringList names;
    for (const kelvane::MimeNames::Named& named : kelvane::MimeNames::all())
        if (someRecipeReads(named.kind))
            names << named.mimeType;
    names.sort();
    names.removeDuplicates();
    return names.join(QLatin1Char(';')) + QLatin1Char(';');
}

QString fromView(std::string_view text) {
    return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

// "Images: Convert to JPG", as the Recipe menu names the group.
QString actions(QString& identifiers) {
    QString sections;
    for (kelvane::RecipeGroup group : kelvane::RecipeGroup::allCases()) {
        const kelvane::Recipe first = group.recipes().front();
        const QString id = fromView(group.rawValue()).toLower();
        identifiers += id + QLatin1Char(';');
        sections +=
            QStringLiteral("\n[Desktop Action %1]\nName=%2: %3\nExec=kelvane --recipe=%4 %F\n")
                .arg(id, fromView(group.title()), fromView(first.title()),
                     fromView(first.rawValue()));
    }
    return sections;
}

} // namespace

int main(int argc, char** argv) {
    QCoreApplication application(argc, argv);
    if (argc != 3) {
        std::fputs("usage: kelvane-desktop-entry TEMPLATE OUTPUT\n", stderr);
        return 2;
    }
    QFile input(QString::fromLocal8Bit(argv[1]));
    if (!input.open(QIODevice::ReadOnly)) {
        std::fprintf(stderr, "kelvane-desktop-entry: cannot read %s\n", argv[1]);
        return 1;
    }
    QString entry = QString::fromUtf8(input.readAll());
    QString identifiers;
    const QString sections = actions(identifiers);
    entry.replace(QLatin1String("@MIME_TYPES@"), mimeTypes());
    entry.replace(QLatin1String("@ACTION_IDS@"), identifiers);
    entry += sections;
    QFile output(QString::fromLocal8Bit(argv[2]));
    if (!output.open(QIODevice::WriteOnly | QIODevice::Truncate) ||
        output.write(entry.toUtf8()) < 0) {
        std::fprintf(stderr, "kelvane-desktop-entry: cannot write %s\n", argv[2]);
        return 1;
    }
    return 0;
}
