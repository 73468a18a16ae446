import QtQuick
import QtQuick.Window

// The dock view with a tile hovered, on a plain backdrop: what snapshot mode draws.
Window {
    id: snapshot

    required property var dockModel
    required property string highlight
    required property bool dark

    width: view.implicitWidth + 60
    height: view.implicitHeight + 60
    color: snapshot.dark ? Qt.rgba(0.16, 0.16, 0.16, 1) : Qt.rgba(0.86, 0.86, 0.86, 1)

    DockView {
        id: view
        x: 30
        y: 30
        width: implicitWidth
        height: implicitHeight
        dockModel: snapshot.dockModel
        highlight: snapshot.highlight
    }
}
