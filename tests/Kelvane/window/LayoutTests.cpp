#include "WindowHarness.h"

#include <QQuickItem>
#include <QtTest/QTest>

#include <cstdlib>

namespace kelvane::testing {
namespace {

QRectF sceneRect(const QQuickItem* item) {
    return item->mapRectToScene(QRectF(0, 0, item->width(), item->height()));
}

// Where an item shows: its bounds in the scene, cut by every clipping ancestor.
QRectF shownRect(const QQuickItem* item) {
    QRectF rect = sceneRect(item);
    for (const QQuickItem* up = item->parentItem(); up != nullptr; up = up->parentItem())
        if (up->clip())
            rect &= sceneRect(up);
    return rect;
}

bool isAncestor(const QQuickItem* ancestor, const QQuickItem* item) {
    for (const QQuickItem* up = item->parentItem(); up != nullptr; up = up->parentItem())
        if (up == ancestor)
            return true;
    return false;
}

void collectTexts(QQuickItem* item, QList<QQuickItem*>& texts) {
    if (!item->isVisible() || item->opacity() <= 0)
        return;
    if (item->inherits("QQuickText") && !item->property("text").toString().isEmpty() &&
        !shownRect(item).isEmpty())
        texts << item;
    for (QQuickItem* child : item->childItems())
        collectTexts(child, texts);
}

// The text, where it is, and the kinds of its nearest ancestors, to find it by.
QString describe(const QQuickItem* text) {
    const QRectF rect = sceneRect(text);
    QStringList path;
    for (const QQuickItem* up = text->parentItem(); up != nullptr && path.size() < 3;
         up = up->parentItem())
        path << (up->objectName().isEmpty() ? QString::fromLatin1(up->metaObject()->className())
                                                  .section(QLatin1Char('_'), 0, 0)
                                            : up->objectName());
    return QStringLiteral("“%1” in %6 at (%2, %3, %4 × %5)")
        .arg(text->property("text").toString().left(40))
        .arg(rect.x())
        .arg(rect.y())
        .arg(rect.width())
        .arg(rect.height())
        .arg(path.join(QStringLiteral(" < ")));
}

// Every text shown: drawn within its own bounds (or elided), inside its parent and the
// window, and clear of every other text.
QStringList layoutFaults(QQuickWindow* window) {
    constexpr qreal slack = 1;
    QList<QQuickItem*> texts;
    collectTexts(window->contentItem(), texts);
    QStringList faults;
    const QRectF windowRect(0, 0, window->width(), window->height());
    for (const QQuickItem* text : texts) {
        const bool elides = text->property("elide").toInt() != 0;
        if (!elides && text->property("contentWidth").toReal() > text->width() + slack)
            faults << describe(text) + QStringLiteral(" is wider than its box");
        if (text->property("contentHeight").toReal() > text->height() + slack)
            faults << describe(text) + QStringLiteral(" is taller than its box");
        // Rows scrolled partly out of a list are cut by the list, as they should be.
        if (shownRect(text) != sceneRect(text))
            continue;
        const QQuickItem* parent = text->parentItem();
        const QRectF inParent =
            text->mapRectToItem(parent, QRectF(0, 0, text->width(), text->height()));
        if (!QRectF(0, 0, parent->width(), parent->height())
                 .adjusted(-slack, -slack, slack, slack)
                 .contains(inParent))
            faults << describe(text) + QStringLiteral(" sticks out of its parent");
        if (!windowRect.adjusted(-slack, -slack, slack, slack).contains(sceneRect(text)))
            faults << describe(text) + QStringLiteral(" sticks out of the window");
        for (const QQuickItem* up = parent; up != nullptr; up = up->parentItem())
            if (up->objectName().startsWith(QLatin1String("job-")) &&
                !sceneRect(up).adjusted(-slack, -slack, slack, slack).contains(sceneRect(text)))
                faults << describe(text) + QStringLiteral(" sticks out of its queue row");
    }
    for (qsizetype first = 0; first < texts.size(); ++first)
        for (qsizetype second = first + 1; second < texts.size(); ++second) {
            const QRectF overlap = shownRect(texts[first]) & shownRect(texts[second]);
            if (overlap.width() > slack && overlap.height() > slack &&
                !isAncestor(texts[first], texts[second]) &&
                !isAncestor(texts[second], texts[first]))
                faults << describe(texts[first]) + QStringLiteral(" overlaps ") +
                              describe(texts[second]);
        }
    return faults;
}

struct LayoutTest : WindowHarness {
    void expectCleanAt(QSize size, const char* state) {
        window->resize(size);
        // The drop zone's height animates between its states, and frames drawn move
        // animations on: draw until it has reached its state's height and stands still.
        const QQuickItem* zone = item(QStringLiteral("dropZone"));
        qreal last = -1;
        for (int frame = 0;
             frame < 200 && (zone->height() != last ||
                             zone->implicitHeight() != zone->property("stateHeight").toReal());
             ++frame) {
            last = zone->height();
            window->grabWindow();
            QTest::qWait(50);
        }
        window->grabWindow(); // lists place the rows they made in the last frame
        QTest::qWait(50);
        // A result's name is cut only when it is longer than a whole line of its row.
        for (QObject* name : all(window->contentItem(), QStringLiteral("doneLine"))) {
            const auto* text = qobject_cast<QQuickItem*>(name);
            if (text == nullptr || !text->isVisible() || !text->property("truncated").toBool())
                continue;
            const qreal line = text->parentItem()->parentItem()->width();
            EXPECT_GT(text->width(), line - 30)
                << size.width() << " × " << size.height() << ": " << describe(text).toStdString();
        }
        for (const QString& fault : layoutFaults(window))
            ADD_FAILURE() << size.width() << " × " << size.height() << ", " << state << ": "
                          << fault.toStdString();
    }
};

// Run by CTest at the scales 1, 1.5 and 2 (QT_SCALE_FACTOR).
TEST_F(LayoutTest, EveryTextFitsFromTheSmallestWindowToA4kScreen) {
    const QSize sizes[] = {{900, 580}, {1120, 720}, {3840, 2160}};
    for (const QSize size : sizes) {
        // Hiding the options panel widens the workspace; that matters at the smallest size.
        for (const bool options : {true, false}) {
            if (!options && size != sizes[0])
                continue;
            store.setShowOptions(options);
            store.clearAll();
            for (Recipe recipe :
                 {Recipe::toJPG, Recipe::docToTXT, Recipe::video1080, Recipe::zip}) {
                store.setRecipe(recipe);
                expectCleanAt(size, recipe.rawValue().data());
            }
            for (RecipeGroup group :
                 {RecipeGroup::images, RecipeGroup::video, RecipeGroup::documents}) {
                store.seedDemo(group);
                expectCleanAt(size, "demo queue");
            }
        }
    }
    EXPECT_EQ(window->minimumSize(), QSize(900, 580));
}

} // namespace
} // namespace kelvane::testing
