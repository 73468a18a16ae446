#include "FileManagerMenus/ServiceMenus.h"

#include "FileManagerMenus/MimeNames.h"

#include <QMimeDatabase>

#include <algorithm>
#include <filesystem>
#include <string>

namespace kelvane::FileManagerMenus {
namespace {

using Recipes = std::vector<Recipe>;

// What the window suggests for one file and for several files of a type.
struct Offer {
    Recipes one;
    Recipes several;
    bool operator==(const Offer&) const = default;
};

Recipes suggestedFor(const QString& extension, int count) {
    std::vector<std::filesystem::path> files;
    for (int index = 0; index < count; ++index)
        files.emplace_back("file" + std::to_string(index) +
                           (extension.isEmpty() ? "" : "." + extension.toStdString()));
    return Recipe::suggestions(files);
}

// The recipes offered on every extension of a type, in the order of the first: "Convert to
// JPG" is not offered on image/jpeg because ".jpg" already is one.
Offer offerFor(const QStringList& extensions) {
    Offer offer{suggestedFor(extensions.value(0), 1), suggestedFor(extensions.value(0), 2)};
    const auto keepCommon = [](Recipes& kept, const Recipes& other) {
        std::erase_if(kept, [&](Recipe recipe) {
            return std::find(other.begin(), other.end(), recipe) == other.end();
        });
    };
    for (const QString& extension : extensions) {
        keepCommon(offer.one, suggestedFor(extension, 1));
        keepCommon(offer.several, suggestedFor(extension, 2));
    }
    return offer;
}

// The catalogue's own extensions of a type it reads; every suffix of any other type.
QStringList extensionsOf(const QMimeType& type) {
    QStringList extensions;
    for (const MimeNames::Named& named : MimeNames::all())
        if (named.mimeType == type.name())
            extensions << named.extension;
    if (extensions.isEmpty())
        for (const QString& suffix : type.suffixes())
            extensions << suffix.toLower();
    return extensions;
}

QStringList readTypes() {
    QStringList names;
    for (const MimeNames::Named& named : MimeNames::all())
        if (!names.contains(named.mimeType))
            names << named.mimeType;
    return names;
}

bool inheritsAny(const QMimeType& type, const QStringList& names) {
    return std::any_of(names.begin(), names.end(),
                       [&](const QString& name) { return type.inherits(name); });
}

// The types read and those inheriting them: the ones whose menus must be told apart. Names
// are the database's own, so an alias defined as a type of its own is listed once.
QList<QMimeType> typesToSeparate(const QMimeDatabase& database) {
    const QStringList read = readTypes();
    QList<QMimeType> types;
    QStringList names;
    const auto add = [&](const QMimeType& type) {
        if (!names.contains(type.name())) {
            names << type.name();
            types << type;
        }
    };
    for (const QString& name : read)
        add(database.mimeTypeForName(name));
    for (const QMimeType& type : database.allMimeTypes())
        if (inheritsAny(type, read))
            add(database.mimeTypeForName(type.name()));
    return types;
}

// Drops the types that inherit another in the list: leaving out a type leaves out its heirs.
QStringList withoutHeirs(const QMimeDatabase& database, const QStringList& names) {
    QStringList roots;
    for (const QString& name : names) {
        const QMimeType type = database.mimeTypeForName(name);
        const bool heir = std::any_of(names.begin(), names.end(), [&](const QString& other) {
            return other != name && type.inherits(other);
        });
        if (!heir)
            roots << name;
    }
    return roots;
}

// The types that would match `own` by inheritance but belong to other menus. A type one of
// `own` inherits from can't be left out without leaving that one out too, and needn't be.
QStringList heirsOf(const QMimeDatabase& database, const QStringList& own) {
    QStringList heirs;
    for (const QMimeType& type : database.allMimeTypes()) {
        const bool ancestor = std::any_of(own.begin(), own.end(), [&](const QString& name) {
            return database.mimeTypeForName(name).inherits(type.name());
        });
        if (!own.contains(type.name()) && !ancestor && inheritsAny(type, own))
            heirs << type.name();
    }
    return withoutHeirs(database, heirs);
}

struct TypesOffered {
    QStringList mimeTypes;
    Offer offer;
};

std::vector<TypesOffered> typesByOffer(const QMimeDatabase& database) {
    std::vector<TypesOffered> groups;
    for (const QMimeType& type : typesToSeparate(database)) {
        const Offer offer = offerFor(extensionsOf(type));
        const auto group = std::find_if(groups.begin(), groups.end(),
                                        [&](const auto& found) { return found.offer == offer; });
        if (group != groups.end())
            group->mimeTypes << type.name();
        else
            groups.push_back({{type.name()}, offer});
    }
    return groups;
}

} // namespace

std::vector<ServiceMenu> serviceMenus() {
    const QMimeDatabase database;
    std::vector<ServiceMenu> menus;
    for (const TypesOffered& group : typesByOffer(database)) {
        const QStringList excluded = heirsOf(database, group.mimeTypes);
        const auto add = [&](const Recipes& recipes, SelectionSize selection) {
            if (!recipes.empty())
                menus.push_back({group.mimeTypes, excluded, recipes, selection});
        };
        if (group.offer.one == group.offer.several) {
            add(group.offer.one, SelectionSize::any);
        } else {
            add(group.offer.one, SelectionSize::one);
            add(group.offer.several, SelectionSize::several);
        }
    }
    // Any file (these menus' name for it is application/octet-stream) and any folder.
    menus.push_back(
        {{QStringLiteral("application/octet-stream"), QStringLiteral("inode/directory")},
         withoutHeirs(database, readTypes()),
         Recipe::suggestions({std::filesystem::path("folder")}),
         SelectionSize::any});
    return menus;
}

} // namespace kelvane::FileManagerMenus
