#include "MainViews/RecipeListModel.h"

#include "MainViews/GroupColors.h"
#include "MainViews/Symbols.h"
#include "catalogue/Recipe.h"

namespace kelvane {
namespace {

QString text(std::string_view view) {
    return QString::fromUtf8(view.data(), static_cast<qsizetype>(view.size()));
}

} // namespace

int RecipeListModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(Recipe::count);
}

QVariant RecipeListModel::data(const QModelIndex& index, int role) const {
    if (!index.isValid() || index.row() < 0 || index.row() >= rowCount())
        return {};
    const Recipe recipe = Recipe::allCases()[static_cast<std::size_t>(index.row())];
    switch (role) {
    case RawValueRole:
        return text(recipe.rawValue());
    case TitleRole:
        return text(recipe.title());
    case SubtitleRole:
        return text(recipe.subtitle());
    case GlyphRole:
        return Symbols::glyph(recipe.symbol());
    case GroupTitleRole:
        return text(recipe.group().title());
    case GroupGlyphRole:
        return Symbols::glyph(recipe.group().symbol());
    case FirstColorRole:
        return groupColors(recipe.group()).first;
    case SecondColorRole:
        return groupColors(recipe.group()).second;
    default:
        return {};
    }
}

QHash<int, QByteArray> RecipeListModel::roleNames() const {
    return {
        {RawValueRole, "rawValue"},     {TitleRole, "title"},
        {SubtitleRole, "subtitle"},     {GlyphRole, "glyph"},
        {GroupTitleRole, "groupTitle"}, {GroupGlyphRole, "groupGlyph"},
        {FirstColorRole, "firstColor"}, {SecondColorRole, "secondColor"},
    };
}

int RecipeListModel::rowOf(const QString& rawValue) const {
    const auto recipe = Recipe::fromRawValue(rawValue.toStdString());
    return recipe ? static_cast<int>(static_cast<Recipe::Value>(*recipe)) : -1;
}

QString RecipeListModel::rawValueAt(int row) const {
    return data(index(row), RawValueRole).toString();
}

QString RecipeListModel::groupGlyph(const QString& groupTitle) const {
    const auto group = RecipeGroup::fromRawValue(groupTitle.toStdString());
    return group ? Symbols::glyph(group->symbol()) : QString();
}

} // namespace kelvane
