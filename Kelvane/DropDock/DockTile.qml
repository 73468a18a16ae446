import QtQuick
import "qrc:/Kelvane/MainViews"

// One recipe offered by the dock: a drop target for the dragged files. Hot while files
// hover over it (or when told to look so): tinted, bordered and a little larger.
Item {
    id: tile

    property string recipe
    property string label
    property string glyph
    property color firstColor
    property color secondColor
    property bool forceHover: false
    readonly property bool targeted: target.containsDrag
    readonly property bool hot: targeted || forceHover
    signal dropped()

    implicitHeight: 40

    Item {
        anchors.fill: parent
        scale: tile.hot ? 1.03 : 1.0
        Behavior on scale { NumberAnimation { duration: 200; easing.type: Easing.OutCubic } }

        Rectangle {
            anchors.fill: parent
            radius: 12
            color: tile.hot ? Qt.rgba(tile.firstColor.r, tile.firstColor.g, tile.firstColor.b, 0.2)
                            : Qt.rgba(appearance.text.r, appearance.text.g, appearance.text.b, 0.05)
            border.width: tile.hot ? 1.5 : 0
            border.color: Qt.rgba(tile.firstColor.r, tile.firstColor.g, tile.firstColor.b, 0.8)
        }

        Row {
            x: 8
            anchors.verticalCenter: parent.verticalCenter
            spacing: 8
            GlyphTile {
                size: 26
                glyph: tile.glyph
                firstColor: tile.firstColor
                secondColor: tile.secondColor
                anchors.verticalCenter: parent.verticalCenter
            }
            Text {
                anchors.verticalCenter: parent.verticalCenter
                text: tile.label
                color: appearance.text
                font.pixelSize: 13
                font.weight: Font.DemiBold
            }
        }

        Text {
            objectName: "dockTileArrow"
            visible: tile.hot
            anchors.right: parent.right
            anchors.rightMargin: 8
            anchors.verticalCenter: parent.verticalCenter
            text: store.glyph("arrow.down.circle.fill")
            color: tile.firstColor
            font.family: store.iconFont
            font.pixelSize: 18
        }
    }

    DropArea {
        id: target
        objectName: "dockTileTarget"
        anchors.fill: parent
        // Always a copy: a source offering a move would otherwise delete the originals.
        onEntered: (drag) => {
            if (drag.hasUrls)
                drag.accept(Qt.CopyAction)
            else
                drag.accepted = false
        }
        onPositionChanged: (drag) => drag.accept(Qt.CopyAction)
        onDropped: (drop) => {
            drop.accept(Qt.CopyAction)
            tile.dropped()
        }
    }
}
