#include "MainViews/WindowModel.h"

#include "MainViews/ByteCount.h"
#include "MainViews/DropLoading.h"
#include "MainViews/GroupColors.h"
#include "MainViews/OptionsText.h"
#include "MainViews/Symbols.h"

#include <utility>

namespace kelvane {
namespace {

QString text(std::string_view view) {
    return QString::fromUtf8(view.data(), static_cast<qsizetype>(view.size()));
}

} // namespace

WindowModel::WindowModel(Store& store, QObject* parent)
    : QObject(parent)
    , store_(store)
    , jobs_(store)
    , options_(store) {
    connect(&store_, &Store::recipeChanged, this, &WindowModel::recipeChanged);
    connect(&store_, &Store::showOptionsChanged, this, &WindowModel::showOptionsChanged);
    connect(&store_, &Store::jobsChanged, this, &WindowModel::queueChanged);
    connect(&store_, &Store::jobsUpdated, this, &WindowModel::queueChanged);
}

QString WindowModel::recipe() const {
    return text(store_.recipe().rawValue());
}

void WindowModel::setRecipe(const QString& rawValue) {
    if (const auto chosen = Recipe::fromRawValue(rawValue.toStdString()))
        store_.setRecipe(*chosen);
}

QString WindowModel::recipeTitle() const {
    return text(store_.recipe().title());
}

QString WindowModel::recipeSubtitle() const {
    return text(store_.recipe().subtitle());
}

QString WindowModel::recipeGlyph() const {
    return Symbols::glyph(store_.recipe().symbol());
}

QColor WindowModel::firstColor() const {
    return groupColors(store_.recipe().group()).first;
}

QColor WindowModel::secondColor() const {
    return groupColors(store_.recipe().group()).second;
}

QString WindowModel::acceptLine() const {
    return OptionsText::acceptLine(store_.recipe());
}

QString WindowModel::dropTitle() const {
    return QStringLiteral("Drop files to ") + recipeTitle().toLower();
}

QString WindowModel::releaseTitle() const {
    return QStringLiteral("Release to ") + recipeTitle().toLower();
}

QString WindowModel::chooserTitle() const {
    return QStringLiteral("Choose files for “") + recipeTitle() +
           QStringLiteral("”. Results are saved next to the originals.");
}

bool WindowModel::choosesFolders() const {
    return store_.recipe() == Recipe::zip;
}

QString WindowModel::subtitle() const {
    const int active = activeCount();
    return active > 0 ? QStringLiteral("%1 converting…").arg(active)
                      : QStringLiteral("Offline file converter");
}

QString WindowModel::workingText() const {
    return QStringLiteral("%1 working").arg(activeCount());
}

QString WindowModel::savedText() const {
    return ByteCount::format(savedBytes());
}

QString WindowModel::iconFont() const {
    return Symbols::fontFamily();
}

QColor WindowModel::brandFirst() const {
    return brandColors().first;
}

QColor WindowModel::brandSecond() const {
    return brandColors().second;
}

void WindowModel::dropURLs(const QList<QUrl>& urls) {
    queue(loadURLs(urls));
}

void WindowModel::dropUriList(const QString& uriList) {
    dropURLs(urlsFromUriList(uriList.toUtf8()));
}

void WindowModel::addChosen(const QList<QUrl>& urls) {
    std::vector<std::filesystem::path> files;
    for (const QUrl& url : urls)
        if (url.isLocalFile())
            files.emplace_back(url.toLocalFile().toStdString());
    queue(std::move(files));
}

void WindowModel::queue(std::vector<std::filesystem::path> files, std::optional<Recipe> recipe) {
    if (files.empty())
        return;
    const std::size_t count = store_.countToQueue(files, recipe);
    if (count > Store::askAbove) {
        awaitingConfirmation_ = std::move(files);
        awaitingRecipe_ = recipe;
        emit manyFilesToConfirm(static_cast<int>(count));
        return;
    }
    store_.add(files, recipe);
}

void WindowModel::confirmManyFiles(bool queue) {
    std::vector<std::filesystem::path> files = std::exchange(awaitingConfirmation_, {});
    if (queue && !files.empty())
        store_.add(files, awaitingRecipe_);
}

void WindowModel::open(std::vector<std::filesystem::path> files, std::optional<Recipe> recipe,
                       bool quiet) {
    if (quiet)
        store_.add(files, recipe);
    else
        queue(std::move(files), recipe);
}

QString WindowModel::glyph(const QString& symbol) const {
    return Symbols::glyph(symbol.toStdString());
}

} // namespace kelvane
