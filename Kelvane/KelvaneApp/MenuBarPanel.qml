import QtQuick
import "qrc:/Kelvane/MainViews"

// The tray panel's own window: frameless beside the tray icon, gone when it loses focus.
ThemedWindow {
    id: window

    flags: Qt.Tool | Qt.FramelessWindowHint | Qt.WindowStaysOnTopHint
    width: view.implicitWidth
    height: view.implicitHeight
    visible: false

    onActiveChanged: if (!active) hide()

    MenuBarView {
        id: view
        anchors.fill: parent
        onOpenKelvane: { window.hide(); commands.openMainWindow() }
        onQuitKelvane: { window.hide(); commands.quit() }
    }

    // Without a frame the panel needs an edge of its own against what lies behind it.
    Rectangle {
        anchors.fill: parent
        color: "transparent"
        border.width: 1
        border.color: appearance.separator
    }
}
