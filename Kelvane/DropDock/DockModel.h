#pragma once

#include "catalogue/Recipe.h"

#include <QObject>
#include <QVariantList>

#include <filesystem>
#include <optional>
#include <vector>

namespace kelvane {

class Store;

// What the dock shows: the files of the current drag, the recipes offered for them (at
// most `maxRecipes`) and whether it offers them or confirms a drop. The views observe it;
// it keeps the last drag's files and recipes after the dock hid.
class DockModel : public QObject {
    Q_OBJECT
    Q_PROPERTY(QString fileLine READ fileLine NOTIFY urlsChanged)
    Q_PROPERTY(int fileCount READ fileCount NOTIFY urlsChanged)
    Q_PROPERTY(QVariantList tiles READ tiles NOTIFY recipesChanged)
    Q_PROPERTY(bool choosing READ choosing NOTIFY phaseChanged)
    Q_PROPERTY(QString acceptedTitle READ acceptedTitle NOTIFY phaseChanged)

public:
    static constexpr std::size_t maxRecipes = 9;

    // `choosing` while the dock offers recipes; `accepted` holds the recipe the files were
    // dropped on.
    struct Phase {
        std::optional<Recipe> accepted;
        bool operator==(const Phase& other) const { return accepted == other.accepted; }
    };

    // The store supplies the target size some tiles name.
    explicit DockModel(const Store& store, QObject* parent = nullptr);

    const std::vector<std::filesystem::path>& urls() const { return urls_; }
    const std::vector<Recipe>& recipes() const { return recipes_; }
    Phase phase() const { return phase_; }

    // The files, the first fitting recipes, and the choosing phase.
    void fill(std::vector<std::filesystem::path> urls);
    void setPhase(Phase phase);

    // The only file's name, or "3 items · drop on a recipe".
    QString fileLine() const;
    int fileCount() const { return static_cast<int>(urls_.size()); }
    // One entry per offered recipe: recipe (its raw value), label, glyph, firstColor and
    // secondColor.
    QVariantList tiles() const;
    bool choosing() const { return !phase_.accepted; }
    QString acceptedTitle() const;

signals:
    void urlsChanged();
    void recipesChanged();
    void phaseChanged();

private:
    const Store& store_;
    std::vector<std::filesystem::path> urls_;
    std::vector<Recipe> recipes_;
    Phase phase_;
};

} // namespace kelvane
