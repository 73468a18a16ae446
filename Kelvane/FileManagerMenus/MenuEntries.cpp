#include "FileManagerMenus/MenuEntries.h"

#include "catalogue/TypeTable.h"

#include <QMimeDatabase>

#include <algorithm>

namespace kelvane::FileManagerMenus {
namespace {

constexpr FileKind::Value readableKinds[] = {FileKind::image, FileKind::video,
                                             FileKind::audio, FileKind::document,
                                             FileKind::pdf,   FileKind::archive};

std::filesystem::path sampleNamed(std::string_view extension) {
    return std::filesystem::path("file." + std::string(extension));
}

template <typename Keep> FileTypes typesWhere(Keep keep) {
    static const QMimeDatabase database;
    FileTypes types;
    for (std::string_view extension : TypeTable::declaredExtensions()) {
        if (!keep(sampleNamed(extension)))
            continue;
        types.extensions << QString::fromUtf8(extension.data(), qsizetype(extension.size()));
        const QMimeType mime = database.mimeTypeForFile(
            QString::fromStdString(sampleNamed(extension).string()), QMimeDatabase::MatchExtension);
        if (!mime.isDefault() && !types.mimeTypes.contains(mime.name()))
            types.mimeTypes << mime.name();
    }
    return types;
}

} // namespace

QString command(Recipe recipe, const QString& filesPlaceholder) {
    return QStringLiteral("kelvane --recipe %1 --quiet %2")
        .arg(QString::fromUtf8(recipe.rawValue().data(), qsizetype(recipe.rawValue().size())),
             filesPlaceholder);
}

QString flatLabel(Recipe recipe) {
    return QString::fromUtf8(recipe.title().data(), qsizetype(recipe.title().size())) +
           QStringLiteral(" with Kelvane");
}

std::vector<RecipeAction> recipeActions() {
    std::vector<RecipeAction> actions;
    for (FileKind kind : readableKinds)
        for (Recipe recipe : Recipe::offeredFor(kind)) {
            const bool listed =
                std::any_of(actions.begin(), actions.end(),
                            [&](const auto& action) { return action.recipe == recipe; });
            if (!listed)
                actions.push_back(
                    {recipe, typesWhere([&](const auto& file) { return recipe.fits(file); })});
        }
    return actions;
}

std::vector<KindMenu> kindMenus() {
    std::vector<KindMenu> menus;
    for (FileKind kind : readableKinds)
        menus.push_back({kind,
                         typesWhere([&](const auto& file) { return FileKind::of(file) == kind; }),
                         Recipe::offeredFor(kind)});
    return menus;
}

} // namespace kelvane::FileManagerMenus
