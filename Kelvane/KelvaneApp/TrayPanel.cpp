#include "KelvaneApp/TrayPanel.h"

#include "KelvaneApp/Preferences.h"
#include "MainViews/Symbols.h"
#include "MainViews/WindowModel.h"

#include <QCursor>
#include <QFont>
#include <QGuiApplication>
#include <QLinearGradient>
#include <QPainter>
#include <QQmlComponent>
#include <QQmlEngine>
#include <QQuickWindow>
#include <QScreen>
#include <QSystemTrayIcon>

#include <algorithm>

namespace kelvane {
namespace {

// The application's mark, drawn for the tray: its symbol on the brand's gradient tile.
QIcon trayIcon(const WindowModel& store) {
    QIcon icon;
    for (const int size : {16, 22, 24, 32, 48, 64}) {
        QPixmap pixmap(size, size);
        pixmap.fill(Qt::transparent);
        QPainter painter(&pixmap);
        painter.setRenderHint(QPainter::Antialiasing);
        QLinearGradient gradient(0, 0, size, size);
        gradient.setColorAt(0, store.brandFirst());
        gradient.setColorAt(1, store.brandSecond());
        painter.setPen(Qt::NoPen);
        painter.setBrush(gradient);
        painter.drawRoundedRect(QRectF(0, 0, size, size), 0.28 * size, 0.28 * size);
        QFont font(Symbols::fontFamily());
        font.setPixelSize(size * 3 / 4);
        painter.setFont(font);
        painter.setPen(Qt::white);
        painter.drawText(QRect(0, 0, size, size), Qt::AlignCenter,
                         Symbols::glyph("wand.and.stars"));
        painter.end();
        icon.addPixmap(pixmap);
    }
    return icon;
}

// The panel's place: under (or over) the icon, inside the screen.
QPoint placeBeside(const QRect& anchor, const QSize& size) {
    const QScreen* screen = QGuiApplication::screenAt(anchor.center());
    if (screen == nullptr)
        screen = QGuiApplication::primaryScreen();
    const QRect area = screen != nullptr ? screen->availableGeometry() : QRect(0, 0, 1920, 1080);
    QPoint place(anchor.center().x() - size.width() / 2, anchor.bottom() + 4);
    if (place.y() + size.height() > area.bottom())
        place.setY(anchor.top() - size.height() - 4);
    place.setX(
        std::clamp(place.x(), area.left(), std::max(area.left(), area.right() - size.width())));
    place.setY(
        std::clamp(place.y(), area.top(), std::max(area.top(), area.bottom() - size.height())));
    return place;
}

} // namespace

TrayPanel::TrayPanel(QQmlEngine& engine, WindowModel& store, Preferences& preferences,
                     QObject* parent)
    : QObject(parent)
    , engine_(engine)
    , store_(store)
    , preferences_(preferences) {
    if (trayAvailable()) {
        icon_ = std::make_unique<QSystemTrayIcon>(trayIcon(store));
        icon_->setToolTip(QStringLiteral("Kelvane"));
        connect(icon_.get(), &QSystemTrayIcon::activated, this, [this] {
            QQuickWindow* window = panel();
            if (window != nullptr && window->isVisible())
                window->hide();
            else
                open();
        });
    }
    connect(&preferences_, &Preferences::showMenuBarChanged, this, &TrayPanel::follow);
    follow();
}

TrayPanel::~TrayPanel() = default;

bool TrayPanel::trayAvailable() {
    return QSystemTrayIcon::isSystemTrayAvailable();
}

bool TrayPanel::inMenu() const {
    return icon_ == nullptr && preferences_.showMenuBar();
}

bool TrayPanel::showsIcon() const {
    return icon_ != nullptr && preferences_.showMenuBar();
}

void TrayPanel::follow() {
    if (icon_ != nullptr)
        icon_->setVisible(preferences_.showMenuBar());
    if (!preferences_.showMenuBar() && panel_ != nullptr)
        panel_->hide();
    emit inMenuChanged();
}

void TrayPanel::open() {
    QQuickWindow* window = panel();
    if (window == nullptr)
        return;
    const QRect anchor = icon_ != nullptr && icon_->geometry().isValid()
                             ? icon_->geometry()
                             : QRect(QCursor::pos(), QSize(1, 1));
    window->setPosition(placeBeside(anchor, window->size()));
    window->show();
    window->raise();
    window->requestActivate();
}

QQuickWindow* TrayPanel::panel() {
    if (panel_ == nullptr) {
        QQmlComponent component(&engine_,
                                QUrl(QStringLiteral("qrc:/Kelvane/KelvaneApp/MenuBarPanel.qml")));
        panel_.reset(qobject_cast<QQuickWindow*>(component.create()));
        if (panel_ == nullptr)
            qWarning("%s", qPrintable(component.errorString()));
    }
    return panel_.get();
}

} // namespace kelvane
