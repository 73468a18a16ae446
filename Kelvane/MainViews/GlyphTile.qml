import QtQuick
import QtQuick.Shapes

// A recipe's (or the application's) symbol in white on a rounded square filled with a
// diagonal gradient of two colours, lifted by a soft shadow.
Item {
    id: tile

    property string glyph
    property color firstColor
    property color secondColor
    property real size: 32
    readonly property real radius: 0.28 * size

    implicitWidth: size
    implicitHeight: size

    // A blur stands in as three widening layers of the shadow's 0.12 black.
    Repeater {
        model: 3
        Rectangle {
            required property int index
            readonly property real spread: (index + 1) * tile.size * 0.08 / 3
            x: -spread / 2
            y: tile.size * 0.04 - spread / 2
            width: tile.size + spread
            height: tile.size + spread
            radius: tile.radius + spread / 2
            color: "black"
            opacity: 0.05
            antialiasing: true
        }
    }

    Shape {
        anchors.fill: parent
        antialiasing: true

        ShapePath {
            strokeWidth: -1
            strokeColor: "transparent"
            fillGradient: LinearGradient {
                x1: 0; y1: 0
                x2: tile.size; y2: tile.size
                GradientStop { position: 0; color: tile.firstColor }
                GradientStop { position: 1; color: tile.secondColor }
            }
            startX: tile.radius; startY: 0
            PathLine { x: tile.size - tile.radius; y: 0 }
            PathArc { x: tile.size; y: tile.radius; radiusX: tile.radius; radiusY: tile.radius }
            PathLine { x: tile.size; y: tile.size - tile.radius }
            PathArc { x: tile.size - tile.radius; y: tile.size; radiusX: tile.radius; radiusY: tile.radius }
            PathLine { x: tile.radius; y: tile.size }
            PathArc { x: 0; y: tile.size - tile.radius; radiusX: tile.radius; radiusY: tile.radius }
            PathLine { x: 0; y: tile.radius }
            PathArc { x: tile.radius; y: 0; radiusX: tile.radius; radiusY: tile.radius }
        }
    }

    Text {
        anchors.centerIn: parent
        text: tile.glyph
        color: "white"
        font.family: store.iconFont
        font.pixelSize: Math.round(0.48 * tile.size * 1.15)
        font.weight: Font.DemiBold
    }
}
