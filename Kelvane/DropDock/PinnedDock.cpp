#include "DropDock/PinnedDock.h"

#include "DropDock/DropDock.h"
#include "DropDock/QuickDockPanel.h"
#include "MainViews/DropLoading.h"

#include <QGuiApplication>
#include <QQmlComponent>
#include <QQmlEngine>
#include <QQuickWindow>
#include <QScreen>

#include <algorithm>

namespace kelvane {

PinnedDock::PinnedDock(QQmlEngine& engine, DropDock& dock, QObject* parent)
    : QObject(parent)
    , dock_(dock) {
    addViewImports(engine);
    QQmlComponent component(&engine, QUrl(QStringLiteral("qrc:/Kelvane/DropDock/PinnedDock.qml")));
    QObject* made = component.createWithInitialProperties(
        {{QStringLiteral("dock"), QVariant::fromValue(&dock)},
         {QStringLiteral("pinned"), QVariant::fromValue(this)}});
    window_.reset(qobject_cast<QQuickWindow*>(made));
    if (!window_) {
        qWarning("%s", qPrintable(component.errorString()));
        delete made;
    }
    afterDrop_.setSingleShot(true);
    afterDrop_.setInterval(DropDock::hideAfterAcceptMs);
    connect(&afterDrop_, &QTimer::timeout, this, &PinnedDock::collapse);
    connect(dock.model(), &DockModel::phaseChanged, this, [this] {
        if (expanded_ && !dock_.model()->choosing())
            afterDrop_.start();
    });
}

PinnedDock::~PinnedDock() = default;

QRect PinnedDock::freeArea() {
    const QScreen* screen = QGuiApplication::primaryScreen();
    return screen != nullptr ? screen->availableGeometry() : QRect(0, 0, 1280, 800);
}

void PinnedDock::show() {
    if (!window_)
        return;
    setExpanded(false);
    window_->show();
}

void PinnedDock::hide() {
    if (window_)
        window_->hide();
}

bool PinnedDock::dragEntered(const QList<QUrl>& urls) {
    if (expanded_)
        return true;
    auto files = loadURLs(urls);
    if (files.empty())
        return false;
    dock_.model()->fill(std::move(files));
    if (dock_.model()->recipes().empty())
        return false;
    setExpanded(true);
    return true;
}

void PinnedDock::collapse() {
    afterDrop_.stop();
    setExpanded(false);
}

// The tab stays under the pointer while it widens: the dock grows leftwards from the edge.
void PinnedDock::setExpanded(bool expanded) {
    const QRect free = freeArea();
    const int right = free.x() + free.width();
    const int middle = free.center().y();
    if (expanded) {
        const double fitting = fittingHeight(*window_);
        const int height = static_cast<int>(std::min(fitting, free.height() - 40.0));
        const int width = static_cast<int>(DropDock::width + DropDock::edgeInset);
        window_->setGeometry(right - width, middle - height / 2, width, height);
    } else {
        window_->setGeometry(right - tabWidth, middle - tabHeight / 2, tabWidth, tabHeight);
    }
    if (expanded_ != expanded) {
        expanded_ = expanded;
        emit expandedChanged();
    }
}

} // namespace kelvane
