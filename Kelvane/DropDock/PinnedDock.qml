import QtQuick
import QtQuick.Window

// The kept-open dock: a slim tab at the screen's edge that widens to the whole dock while
// files are dragged over it.
Window {
    id: window

    required property var dock
    required property var pinned
    readonly property real fittingHeight: view.implicitHeight
    readonly property bool dragInside: tab.containsDrag || view.targetedCount > 0

    title: "Kelvane Drop Dock"
    flags: Qt.Tool | Qt.FramelessWindowHint | Qt.WindowStaysOnTopHint | Qt.WindowDoesNotAcceptFocus
    color: "transparent"

    onDragInsideChanged: {
        if (dragInside)
            leave.stop()
        else if (pinned.expanded && window.dock.model.choosing)
            leave.restart()
    }
    Timer {
        id: leave
        interval: 300
        onTriggered: window.pinned.collapse()
    }

    // Only the edge is the tab's own target: a drag that has entered a DropArea stays
    // with it, so the tab must not lie under the tiles.
    DropArea {
        id: tab
        objectName: "pinnedTab"
        anchors.right: parent.right
        width: 14
        height: parent.height
        onEntered: (drag) => {
            if (window.pinned.dragEntered(drag.urls))
                drag.accept(Qt.CopyAction)
            else
                drag.accepted = false
        }
        onPositionChanged: (drag) => drag.accept(Qt.CopyAction)
    }

    Rectangle {
        objectName: "pinnedTabStrip"
        visible: !window.pinned.expanded
        anchors.fill: parent
        radius: 6
        gradient: Gradient {
            GradientStop { position: 0; color: store.brandFirst }
            GradientStop { position: 1; color: store.brandSecond }
        }
    }

    DockView {
        id: view
        visible: window.pinned.expanded
        width: 232
        height: parent.height
        dockModel: window.dock.model
        onAccepted: (recipe) => window.dock.accept(recipe)
    }
}
