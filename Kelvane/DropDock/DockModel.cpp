#include "DropDock/DockModel.h"

#include "MainViews/GroupColors.h"
#include "MainViews/Symbols.h"
#include "Store/Store.h"

#include <QVariantMap>

namespace kelvane {

DockModel::DockModel(const Store& store, QObject* parent)
    : QObject(parent)
    , store_(store) {
    connect(&store, &Store::optionsChanged, this, &DockModel::recipesChanged);
}

void DockModel::fill(std::vector<std::filesystem::path> urls) {
    auto recipes = Recipe::suggestions(urls);
    if (recipes.size() > maxRecipes)
        recipes.erase(recipes.begin() + static_cast<std::ptrdiff_t>(maxRecipes), recipes.end());
    urls_ = std::move(urls);
    recipes_ = std::move(recipes);
    emit urlsChanged();
    emit recipesChanged();
    setPhase({});
}

void DockModel::setPhase(Phase phase) {
    if (phase == phase_)
        return;
    phase_ = phase;
    emit phaseChanged();
}

QString DockModel::fileLine() const {
    if (urls_.size() == 1)
        return QString::fromStdString(urls_.front().filename().string());
    return QStringLiteral("%1 items · drop on a recipe").arg(urls_.size());
}

QVariantList DockModel::tiles() const {
    QVariantList tiles;
    for (const Recipe recipe : recipes_) {
        const auto [first, second] = groupColors(recipe.group());
        tiles.append(QVariantMap{
            {QStringLiteral("recipe"), QString::fromUtf8(recipe.rawValue())},
            {QStringLiteral("label"),
             QString::fromStdString(recipe.dockTitle(store_.options().targetMB))},
            {QStringLiteral("glyph"), Symbols::glyph(recipe.symbol())},
            {QStringLiteral("firstColor"), first},
            {QStringLiteral("secondColor"), second},
        });
    }
    return tiles;
}

QString DockModel::acceptedTitle() const {
    return phase_.accepted ? QString::fromUtf8(phase_.accepted->title()) : QString();
}

} // namespace kelvane
