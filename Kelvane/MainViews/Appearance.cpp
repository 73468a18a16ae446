#include "MainViews/Appearance.h"

#include <QEvent>
#include <QGuiApplication>
#include <QPalette>

namespace kelvane {

Appearance::Appearance(QObject* parent)
    : QObject(parent) {
    if (qApp != nullptr)
        qApp->installEventFilter(this);
}

bool Appearance::dark() const {
    if (forced_)
        return *forced_;
    return QGuiApplication::palette().color(QPalette::Window).lightnessF() < 0.5;
}

void Appearance::force(std::optional<bool> dark) {
    forced_ = dark;
    emit changed();
}

bool Appearance::eventFilter(QObject* watched, QEvent* event) {
    if (watched == qApp && event->type() == QEvent::ApplicationPaletteChange && !forced_)
        emit changed();
    return QObject::eventFilter(watched, event);
}

// Dark is its own design, not an inversion: surfaces step up in lightness from the window
// to the cards, and the secondary text keeps the same contrast against both.
QColor Appearance::window() const {
    return pick(QColor(0xFB, 0xFB, 0xFC), QColor(0x1C, 0x1D, 0x21));
}
QColor Appearance::sidebar() const {
    return pick(QColor(0xEF, 0xF0, 0xF3), QColor(0x24, 0x25, 0x2A));
}
QColor Appearance::inspector() const {
    return pick(QColor(0xF4, 0xF5, 0xF7), QColor(0x21, 0x22, 0x27));
}
QColor Appearance::toolbar() const {
    return pick(QColor(0xE9, 0xEA, 0xEE), QColor(0x2A, 0x2B, 0x31));
}
QColor Appearance::text() const {
    return pick(QColor(0x1D, 0x1D, 0x1F), QColor(0xEC, 0xEC, 0xEF));
}
QColor Appearance::secondaryText() const {
    return pick(QColor(0x6B, 0x6D, 0x74), QColor(0x9C, 0x9E, 0xA6));
}
QColor Appearance::separator() const {
    return pick(QColor(0xD8, 0xD9, 0xDE), QColor(0x37, 0x38, 0x3F));
}
QColor Appearance::card() const {
    return pick(QColor(0xFF, 0xFF, 0xFF), QColor(0x2A, 0x2B, 0x31));
}
QColor Appearance::cardBorder() const {
    return pick(QColor(0, 0, 0, 30), QColor(255, 255, 255, 26));
}
QColor Appearance::hover() const {
    return pick(QColor(0, 0, 0, 10), QColor(255, 255, 255, 14));
}
QColor Appearance::selection() const {
    return pick(QColor(0x35, 0x84, 0xE4, 46), QColor(0x35, 0x84, 0xE4, 110));
}
QColor Appearance::accent() const {
    return pick(QColor(0x1C, 0x71, 0xD8), QColor(0x62, 0xA0, 0xEA));
}
QColor Appearance::control() const {
    return pick(QColor(0xFF, 0xFF, 0xFF), QColor(0x33, 0x34, 0x3B));
}
QColor Appearance::success() const {
    return pick(QColor(0x26, 0xA2, 0x69), QColor(0x33, 0xD1, 0x7A));
}
QColor Appearance::failure() const {
    return pick(QColor(0xE0, 0x6C, 0x00), QColor(0xFF, 0xA3, 0x48));
}

QColor Appearance::bevelLight() const {
    return pick(QColor(0xFF, 0xFF, 0xFF), control().lighter(130));
}
QColor Appearance::bevelMidlight() const {
    return pick(QColor(0xF2, 0xF2, 0xF4), control().lighter(115));
}
QColor Appearance::bevelDark() const {
    return pick(QColor(0xB8, 0xB9, 0xBF), QColor(0x15, 0x16, 0x1A));
}

} // namespace kelvane
