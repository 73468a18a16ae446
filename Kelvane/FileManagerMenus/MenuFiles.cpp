#include "FileManagerMenus/MenuFiles.h"

#include "FileManagerMenus/MenuEntries.h"
#include "FileManagerMenus/ServiceMenus.h"

#include <QFile>
#include <QTextStream>

namespace kelvane::FileManagerMenus {
namespace {

QString text(std::string_view value) {
    return QString::fromUtf8(value.data(), qsizetype(value.size()));
}

bool writeFile(const QString& path, const QString& contents) {
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate | QIODevice::Text))
        return false;
    return file.write(contents.toUtf8()) >= 0 && file.flush();
}

QString listed(const QStringList& values) {
    return values.join(';') + ';';
}

// Which selections a service menu shows for, in the keys these menus read.
QString selectionKeys(SelectionSize selection) {
    switch (selection) {
    case SelectionSize::one:
        return QStringLiteral("X-KDE-MaxNumberOfUrls=1\n");
    case SelectionSize::several:
        return QStringLiteral("X-KDE-MinNumberOfUrls=2\n");
    case SelectionSize::any:
        break;
    }
    return {};
}

QString serviceMenu(const ServiceMenu& menu) {
    QStringList ids;
    // The menus list a file's actions sorted by their names, so each name starts with its
    // place in the window's order: "01-toPNG".
    for (Recipe recipe : menu.recipes)
        ids << QStringLiteral("%1-%2")
                   .arg(ids.size() + 1, 2, 10, QLatin1Char('0'))
                   .arg(text(recipe.rawValue()));
    QString file;
    QTextStream out(&file);
    out << "[Desktop Entry]\nType=Service\nName=Convert with Kelvane\nIcon=app.kelvane.Kelvane\n"
        << "MimeType=" << listed(menu.mimeTypes) << '\n';
    if (!menu.excludedTypes.isEmpty())
        out << "ExcludeServiceTypes=" << menu.excludedTypes.join(',') << '\n';
    out << selectionKeys(menu.selection) << "Actions=" << listed(ids)
        << "\nX-KDE-Submenu=Convert with Kelvane\nX-KDE-Priority=TopLevel\n";
    for (std::size_t place = 0; place < menu.recipes.size(); ++place)
        out << "\n[Desktop Action " << ids[qsizetype(place)]
            << "]\nName=" << text(menu.recipes[place].title())
            << "\nIcon=app.kelvane.Kelvane\nExec="
            << command(menu.recipes[place], QStringLiteral("%F")) << '\n';
    return file;
}

QString nemoAction(Recipe recipe, const QString& condition) {
    return QStringLiteral(
               "[Nemo Action]\nName=%1\nComment=%2\nExec=%3\nIcon-Name=app.kelvane.Kelvane\n"
               "Selection=notnone\n%4\n")
        .arg(flatLabel(recipe), text(recipe.subtitle()), command(recipe, QStringLiteral("%F")),
             condition);
}

QString thunarPatterns(const QStringList& extensions) {
    QStringList patterns;
    for (const QString& extension : extensions)
        patterns << "*." + extension << "*." + extension.toUpper();
    return patterns.join(';');
}

QString thunarAction(Recipe recipe, const QString& patterns, const QString& conditions) {
    return QStringLiteral("<action>\n\t<icon>app.kelvane.Kelvane</icon>\n\t<name>%1</name>\n"
                          "\t<unique-id>kelvane-%2</unique-id>\n\t<command>%3</command>\n"
                          "\t<description>%4</description>\n\t<patterns>%5</patterns>\n%6"
                          "</action>\n")
        .arg(flatLabel(recipe).toHtmlEscaped(), text(recipe.rawValue()),
             command(recipe, QStringLiteral("%F")), text(recipe.subtitle()).toHtmlEscaped(),
             patterns, conditions);
}

QString thunarConditions(const FileTypes& types) {
    // Thunar shows an action only for the classes of files it names, besides the patterns.
    QString conditions;
    const auto any = [&](QLatin1String prefix) {
        return std::any_of(types.mimeTypes.begin(), types.mimeTypes.end(),
                           [&](const QString& type) { return type.startsWith(prefix); });
    };
    if (any(QLatin1String("image/")))
        conditions += "\t<image-files/>\n";
    if (any(QLatin1String("video/")))
        conditions += "\t<video-files/>\n";
    if (any(QLatin1String("audio/")))
        conditions += "\t<audio-files/>\n";
    if (any(QLatin1String("text/")))
        conditions += "\t<text-files/>\n";
    if (any(QLatin1String("application/")))
        conditions += "\t<other-files/>\n";
    return conditions;
}

} // namespace

bool writeServiceMenus(const QString& folder) {
    bool written = true;
    int number = 0;
    for (const ServiceMenu& menu : serviceMenus())
        written &= writeFile(QStringLiteral("%1/kelvane-%2.desktop")
                                 .arg(folder)
                                 .arg(++number, 2, 10, QLatin1Char('0')),
                             serviceMenu(menu));
    return written;
}

bool writeNemoActions(const QString& folder) {
    bool written = true;
    int position = 0;
    // Nemo lists actions in the order of their file names.
    const auto fileFor = [&](Recipe recipe) {
        return QStringLiteral("%1/kelvane-%2-%3.nemo_action")
            .arg(folder)
            .arg(++position, 2, 10, QLatin1Char('0'))
            .arg(text(recipe.rawValue()));
    };
    // By extension, as Kelvane itself tells files apart: Nemo matches a MIME type by
    // inheritance too, and would offer "Expand Zip" on a DOCX. The dot keeps "c" from
    // matching "music".
    for (const RecipeAction& action : recipeActions()) {
        QStringList endings;
        for (const QString& extension : action.types.extensions)
            endings << "." + extension;
        written &= writeFile(fileFor(action.recipe),
                             nemoAction(action.recipe, "Extensions=" + listed(endings)));
    }
    return written &= writeFile(fileFor(Recipe::zip),
                                nemoAction(Recipe::zip, QStringLiteral("Extensions=any;")));
}

bool writeThunarActions(const QString& folder) {
    QString actions = QStringLiteral("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<actions>\n");
    for (const RecipeAction& action : recipeActions())
        actions += thunarAction(action.recipe, thunarPatterns(action.types.extensions),
                                thunarConditions(action.types));
    actions +=
        thunarAction(Recipe::zip, QStringLiteral("*"),
                     QStringLiteral("\t<directories/>\n\t<audio-files/>\n\t<image-files/>\n"
                                    "\t<other-files/>\n\t<text-files/>\n\t<video-files/>\n"));
    return writeFile(folder + "/thunar-actions.xml", actions + "</actions>\n");
}

} // namespace kelvane::FileManagerMenus
