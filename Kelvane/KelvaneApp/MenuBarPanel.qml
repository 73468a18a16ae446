import QtQuick
import Kelvane.MainViews

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
}
