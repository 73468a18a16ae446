// Writes the file managers' right-click menus from the recipe catalogue, so that every
// recipe appears in them without editing any menu by hand. Run at build time.
#include "FileManagerMenus/MenuFiles.h"

#include <QCoreApplication>
#include <QDir>

#include <cstdio>

int main(int argc, char* argv[]) {
    QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.size() != 2) {
        std::fprintf(stderr, "usage: kelvane-file-manager-menus OUTPUT_FOLDER\n");
        return 2;
    }
    const QDir output(arguments[1]);
    for (const char* folder : {"kio", "nemo", "thunar"})
        if (!output.mkpath(QLatin1String(folder)))
            return 1;
    using namespace kelvane::FileManagerMenus;
    const bool written = writeServiceMenus(output.filePath("kio")) &&
                         writeNemoActions(output.filePath("nemo")) &&
                         writeThunarActions(output.filePath("thunar"));
    return written ? 0 : 1;
}
