#pragma once

#include "MainViews/Appearance.h"
#include "MainViews/JobListModel.h"
#include "MainViews/OptionsModel.h"
#include "MainViews/RecipeListModel.h"
#include "Store/Store.h"

#include <QColor>
#include <QObject>
#include <QUrl>

namespace kelvane {

// The store as the main window's views read and change it: the chosen recipe and what
// follows from it, the counts of the queue, and the operations behind the window's
// controls. QML sees this object as `store`.
class WindowModel : public QObject {
    Q_OBJECT
    Q_PROPERTY(QString recipe READ recipe WRITE setRecipe NOTIFY recipeChanged)
    Q_PROPERTY(QString recipeTitle READ recipeTitle NOTIFY recipeChanged)
    Q_PROPERTY(QString recipeSubtitle READ recipeSubtitle NOTIFY recipeChanged)
    Q_PROPERTY(QString recipeGlyph READ recipeGlyph NOTIFY recipeChanged)
    Q_PROPERTY(QColor firstColor READ firstColor NOTIFY recipeChanged)
    Q_PROPERTY(QColor secondColor READ secondColor NOTIFY recipeChanged)
    Q_PROPERTY(QString acceptLine READ acceptLine NOTIFY recipeChanged)
    Q_PROPERTY(QString dropTitle READ dropTitle NOTIFY recipeChanged)
    Q_PROPERTY(QString releaseTitle READ releaseTitle NOTIFY recipeChanged)
    Q_PROPERTY(QString chooserTitle READ chooserTitle NOTIFY recipeChanged)
    Q_PROPERTY(bool choosesFolders READ choosesFolders NOTIFY recipeChanged)
    Q_PROPERTY(bool showOptions READ showOptions WRITE setShowOptions NOTIFY showOptionsChanged)
    Q_PROPERTY(int activeCount READ activeCount NOTIFY queueChanged)
    Q_PROPERTY(int finishedCount READ finishedCount NOTIFY queueChanged)
    Q_PROPERTY(int jobCount READ jobCount NOTIFY queueChanged)
    Q_PROPERTY(QString subtitle READ subtitle NOTIFY queueChanged)
    Q_PROPERTY(QString workingText READ workingText NOTIFY queueChanged)
    Q_PROPERTY(qint64 savedBytes READ savedBytes NOTIFY queueChanged)
    Q_PROPERTY(QString savedText READ savedText NOTIFY queueChanged)
    Q_PROPERTY(QString iconFont READ iconFont CONSTANT)
    Q_PROPERTY(QColor brandFirst READ brandFirst CONSTANT)
    Q_PROPERTY(QColor brandSecond READ brandSecond CONSTANT)
    Q_PROPERTY(kelvane::JobListModel* jobs READ jobs CONSTANT)
    Q_PROPERTY(kelvane::RecipeListModel* recipes READ recipes CONSTANT)
    Q_PROPERTY(kelvane::OptionsModel* options READ options CONSTANT)

public:
    explicit WindowModel(Store& store, QObject* parent = nullptr);

    Store& store() { return store_; }

    QString recipe() const;
    void setRecipe(const QString& rawValue);
    QString recipeTitle() const;
    QString recipeSubtitle() const;
    QString recipeGlyph() const;
    QColor firstColor() const;
    QColor secondColor() const;
    QString acceptLine() const;
    // "Drop files to convert to jpg"
    QString dropTitle() const;
    // "Release to convert to jpg"
    QString releaseTitle() const;
    // The file chooser's message.
    QString chooserTitle() const;
    bool choosesFolders() const;
    bool showOptions() const { return store_.showOptions(); }
    void setShowOptions(bool show) { store_.setShowOptions(show); }

    int activeCount() const { return store_.activeCount(); }
    int finishedCount() const { return store_.finishedCount(); }
    int jobCount() const { return static_cast<int>(store_.jobs().size()); }
    // "Offline file converter", or "3 converting…".
    QString subtitle() const;
    // "2 working"
    QString workingText() const;
    qint64 savedBytes() const { return store_.savedBytes(); }
    QString savedText() const;

    QString iconFont() const;
    QColor brandFirst() const;
    QColor brandSecond() const;

    JobListModel* jobs() { return &jobs_; }
    RecipeListModel* recipes() { return &recipes_; }
    OptionsModel* options() { return &options_; }

    // Files dropped on the workspace: queued with the chosen recipe in name order.
    Q_INVOKABLE void dropURLs(const QList<QUrl>& urls);
    // A drop whose only payload is the text of a "text/uri-list".
    Q_INVOKABLE void dropUriList(const QString& uriList);
    // Files picked in the file chooser, queued with the chosen recipe.
    Q_INVOKABLE void addChosen(const QList<QUrl>& urls);
    Q_INVOKABLE void clearFinished() { store_.clearFinished(); }
    // "Stop All": every running and waiting job.
    Q_INVOKABLE void stopAll() { store_.stopAll(); }
    Q_INVOKABLE QString glyph(const QString& symbol) const;
    // The answer to manyFilesToConfirm: queue the files held back, or let them go.
    Q_INVOKABLE void confirmManyFiles(bool queue);
    // Files handed over on the command line, for a recipe or the chosen one. Asked about like
    // a drop, except quietly: then no window is showing to ask in, and they are queued.
    void open(std::vector<std::filesystem::path> files, std::optional<Recipe> recipe, bool quiet);

signals:
    void recipeChanged();
    void showOptionsChanged();
    void queueChanged();
    // Folders that expand to more than Store::askAbove files: asked once before queuing.
    void manyFilesToConfirm(int count);

private:
    void queue(std::vector<std::filesystem::path> files,
               std::optional<Recipe> recipe = std::nullopt);

    Store& store_;
    std::vector<std::filesystem::path> awaitingConfirmation_;
    std::optional<Recipe> awaitingRecipe_;
    JobListModel jobs_;
    RecipeListModel recipes_;
    OptionsModel options_;
};

} // namespace kelvane
