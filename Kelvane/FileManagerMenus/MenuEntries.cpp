#include "FileManagerMenus/MenuEntries.h"

#include "FileManagerMenus/MimeNames.h"

#include <algorithm>

namespace kelvane::FileManagerMenus {
namespace {

constexpr FileKind::Value readableKinds[] = {FileKind::image, FileKind::video,
                                             FileKind::audio, FileKind::document,
                                             FileKind::pdf,   FileKind::archive};

std::filesystem::path sampleNamed(std::string_view extension) {
    return std::filesystem::path("file." + std::string(extension));
}

// A type is offered a recipe when every extension of it is: image/jpeg, which also names the
// rare ".jpe", is not offered "Convert to JPG". The extensions are matched one by one.
template <typename Keep> FileTypes typesWhere(Keep keep) {
    FileTypes types;
    QStringList refused;
    for (const MimeNames::Named& named : MimeNames::all()) {
        if (keep(sampleNamed(named.extension.toStdString()))) {
            if (!types.extensions.contains(named.extension))
                types.extensions << named.extension;
            if (!types.mimeTypes.contains(named.mimeType))
                types.mimeTypes << named.mimeType;
        } else {
            refused << named.mimeType;
        }
    }
    for (const QString& type : refused)
        types.mimeTypes.removeAll(type);
    return types;
}

// The recipes in the order one file of the kind is offered them, the usual right-click.
std::vector<Recipe> offeredForOneFile(FileKind kind) {
    std::vector<Recipe> recipes = Recipe::offeredFor(kind);
    if (kind == FileKind::image) {
        // One image makes a one-page PDF, the least likely wish: it comes last.
        const auto pdf = std::find(recipes.begin(), recipes.end(), Recipe::imagesToPDF);
        std::rotate(pdf, pdf + 1, recipes.end());
    }
    return recipes;
}

// Whether one file of this name is offered the recipe: an audio recipe reads videos too, but
// is not among a video's suggestions.
bool offeredOn(Recipe recipe, const std::filesystem::path& file) {
    const std::vector<Recipe> offered = Recipe::offeredFor(FileKind::of(file));
    return recipe.fits(file) && std::find(offered.begin(), offered.end(), recipe) != offered.end();
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
        for (Recipe recipe : offeredForOneFile(kind)) {
            const bool listed =
                std::any_of(actions.begin(), actions.end(),
                            [&](const auto& action) { return action.recipe == recipe; });
            if (!listed)
                actions.push_back({recipe, typesWhere([&](const auto& file) {
                                       return offeredOn(recipe, file);
                                   })});
        }
    return actions;
}

} // namespace kelvane::FileManagerMenus
