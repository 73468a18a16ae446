import QtQuick
import QtQuick.Window

// The floating panel the dock slides in: frameless, above other windows, out of the task
// bar, and never taking the focus from the application the files are dragged from.
Window {
    id: panel

    required property var dock
    readonly property real fittingHeight: loader.item ? loader.item.implicitHeight : 0

    // A fresh view, with no tile left hot from the last drag.
    function rebuild() {
        loader.active = false
        loader.active = true
    }

    title: "Kelvane Drop Dock"
    flags: Qt.Tool | Qt.FramelessWindowHint | Qt.WindowStaysOnTopHint | Qt.WindowDoesNotAcceptFocus
    color: "transparent"
    width: 232
    height: 400

    Loader {
        id: loader
        anchors.fill: parent
        sourceComponent: DockView {
            dockModel: panel.dock.model
            onAccepted: (recipe) => panel.dock.accept(recipe)
        }
    }
}
