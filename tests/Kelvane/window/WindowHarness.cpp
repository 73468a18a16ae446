#include "WindowHarness.h"

#include "MainViews/MainViews.h"

#include <QCoreApplication>
#include <QMimeData>
#include <QtTest/QTest>

namespace kelvane::testing {

WindowHarness::WindowHarness() {
    model.jobs()->setOpener([this](const auto& file) { opened.push_back(file); });
    model.jobs()->setRevealer([this](const auto& files) { revealed.push_back(files); });
    window = MainViews::load(engine, model, appearance);
    if (window == nullptr)
        throw std::runtime_error("the main window did not load");
    window->resize(1120, 720);
    window->show();
    window->requestActivate();
    if (!QTest::qWaitForWindowExposed(window))
        throw std::runtime_error("the main window was never exposed");
}

// Jobs still running when a test ends deliver to a store that drops them on destruction.
WindowHarness::~WindowHarness() = default;

namespace {

// Delegates of lists belong to their list only as visual children, so search both trees.
void collect(QObject* node, const QString& name, QList<QObject*>& found) {
    if (node->objectName() == name && !found.contains(node))
        found << node;
    for (QObject* child : node->children())
        collect(child, name, found);
    if (auto* visual = qobject_cast<QQuickItem*>(node))
        for (QQuickItem* child : visual->childItems())
            if (child->parent() != node)
                collect(child, name, found);
}

} // namespace

QList<QObject*> WindowHarness::all(QObject* root, const QString& name) {
    QList<QObject*> found;
    collect(root, name, found);
    return found;
}

QObject* WindowHarness::object(const QString& name) const {
    const QList<QObject*> found = all(window, name) + all(window->contentItem(), name);
    EXPECT_FALSE(found.isEmpty()) << "no object named " << name.toStdString();
    return found.isEmpty() ? nullptr : found.front();
}

QQuickItem* WindowHarness::item(const QString& name) const {
    auto* found = qobject_cast<QQuickItem*>(object(name));
    if (found == nullptr)
        throw std::runtime_error("no item named " + name.toStdString());
    return found;
}

QQuickItem* WindowHarness::row(int index) const {
    // Rows are made by the list when it next lays itself out; wait for the live one.
    QQuickItem* live = nullptr;
    waitUntil([&] {
        for (QObject* candidate :
             all(item(QStringLiteral("queueList")), QStringLiteral("job-%1").arg(index)))
            if (auto* found = qobject_cast<QQuickItem*>(candidate); found && found->isVisible())
                live = found;
        return live != nullptr;
    });
    if (live == nullptr)
        throw std::runtime_error("no queue row " + std::to_string(index));
    return live;
}

QQuickItem* WindowHarness::inRow(int index, const QString& name) const {
    const QList<QObject*> candidates = all(row(index), name);
    auto* found = candidates.isEmpty() ? nullptr : qobject_cast<QQuickItem*>(candidates.front());
    if (found == nullptr)
        throw std::runtime_error("no " + name.toStdString() + " in row " + std::to_string(index));
    return found;
}

QString WindowHarness::textOf(const QString& name) const {
    return item(name)->property("text").toString();
}

bool WindowHarness::shows(const QString& name) const {
    return item(name)->isVisible();
}

void WindowHarness::click(QQuickItem* target, Qt::MouseButton button) {
    // Let the scene lay itself out first, so the item stands where it will be drawn.
    QCoreApplication::processEvents();
    const QPointF centre = target->mapToScene(QPointF(target->width() / 2, target->height() / 2));
    QTest::mouseClick(window, button, {}, centre.toPoint());
    QCoreApplication::processEvents();
}

QPoint WindowHarness::workspaceCentre() const {
    const QQuickItem* workspace = item(QStringLiteral("workspace"));
    return workspace->mapToScene(QPointF(workspace->width() / 2, workspace->height() / 2))
        .toPoint();
}

void WindowHarness::dragOver(const QList<QUrl>& urls) {
    QMimeData data;
    data.setUrls(urls);
    QDragEnterEvent enter(workspaceCentre(), Qt::CopyAction, &data, Qt::LeftButton, {});
    QCoreApplication::sendEvent(window, &enter);
    QDragMoveEvent move(workspaceCentre() + QPoint(1, 1), Qt::CopyAction, &data, Qt::LeftButton,
                        {});
    QCoreApplication::sendEvent(window, &move);
}

void WindowHarness::dragAway() {
    QDragLeaveEvent leave;
    QCoreApplication::sendEvent(window, &leave);
}

void WindowHarness::drop(const QList<QUrl>& urls) {
    dragOver(urls);
    QMimeData data;
    data.setUrls(urls);
    QDropEvent dropped(workspaceCentre(), Qt::CopyAction, &data, Qt::LeftButton, {});
    QCoreApplication::sendEvent(window, &dropped);
}

void WindowHarness::dropFiles(const std::vector<std::filesystem::path>& files) {
    QList<QUrl> urls;
    for (const auto& file : files)
        urls << QUrl::fromLocalFile(QString::fromStdString(file.string()));
    drop(urls);
}

} // namespace kelvane::testing
