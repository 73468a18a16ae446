import QtQuick
import QtQuick.Shapes

// The window's background with a soft glow of the chosen group's colour from the top.
Rectangle {
    id: background

    color: appearance.window

    Shape {
        anchors.fill: parent
        ShapePath {
            strokeWidth: -1
            strokeColor: "transparent"
            fillGradient: RadialGradient {
                centerX: background.width / 2
                centerY: 0
                centerRadius: 520
                focalX: centerX
                focalY: centerY
                GradientStop {
                    position: 0
                    color: Qt.rgba(store.firstColor.r, store.firstColor.g, store.firstColor.b,
                                   appearance.glowOpacity)
                }
                GradientStop {
                    position: 1
                    color: Qt.rgba(store.firstColor.r, store.firstColor.g, store.firstColor.b, 0)
                }
            }
            startX: 0; startY: 0
            PathLine { x: background.width; y: 0 }
            PathLine { x: background.width; y: background.height }
            PathLine { x: 0; y: background.height }
            PathLine { x: 0; y: 0 }
        }
    }
}
