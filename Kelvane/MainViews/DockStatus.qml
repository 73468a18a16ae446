import QtQuick
import QtQuick.Controls

// The Drop Dock's row at the foot of the sidebar: what it does now, and its switch.
Rectangle {
    id: row

    readonly property bool dockEnabled: preferences.dropDockEnabled
    // Where drags can't be watched the dock is off, unless kept open at the edge.
    readonly property bool watchable: typeof dropDock === "undefined"
                                      || dropDock.unavailableReason === ""
    readonly property bool keptOpen: !watchable && dropDock.keepOpen

    implicitHeight: Math.max(52, lines.implicitHeight + 20)
    radius: 10
    color: appearance.card
    border.width: 1
    border.color: appearance.cardBorder

    Text {
        id: symbol
        x: 10
        anchors.verticalCenter: parent.verticalCenter
        text: store.glyph("sidebar.right")
        color: appearance.secondaryText
        font.family: store.iconFont
        font.pixelSize: 13
    }
    Column {
        id: lines
        anchors.left: symbol.right
        anchors.leftMargin: 8
        anchors.right: toggle.left
        anchors.rightMargin: 8
        anchors.verticalCenter: parent.verticalCenter
        Text {
            text: "Drop Dock"
            color: appearance.text
            font.pixelSize: 12
        }
        Text {
            objectName: "dockStatusLine"
            width: parent.width
            text: row.keptOpen ? "Kept open at the screen edge"
                 : row.dockEnabled && row.watchable ? "Appears when you drag files" : "Off"
            color: appearance.secondaryText
            font.pixelSize: 10
            wrapMode: Text.WordWrap
        }
    }
    ToggleSwitch {
        id: toggle
        objectName: "dockStatusSwitch"
        anchors.right: parent.right
        anchors.rightMargin: 10
        anchors.verticalCenter: parent.verticalCenter
        enabled: row.watchable
        checked: row.dockEnabled && row.watchable
        onToggled: preferences.dropDockEnabled = checked
    }
}
