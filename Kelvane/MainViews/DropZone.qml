import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import QtQuick.Shapes

// Where files go: large with a button while the queue is empty, a short bar once it is not.
// Lights up in the group's colour while a drag is over the workspace.
Item {
    id: zone

    property bool targeted: false
    property bool compact: false
    signal chooseFiles()

    readonly property real iconSize: compact ? 36 : 72
    readonly property real lineWidth: targeted ? 2.5 : 1.5

    implicitHeight: compact ? 72 : 300
    Behavior on implicitHeight { NumberAnimation { duration: 180; easing.type: Easing.OutCubic } }

    Item {
        id: frame
        anchors.fill: parent
        scale: zone.targeted ? 1.01 : 1.0
        Behavior on scale { NumberAnimation { duration: 150 } }

        Rectangle {
            anchors.fill: parent
            radius: 20
            color: Qt.rgba(store.firstColor.r, store.firstColor.g, store.firstColor.b,
                           zone.targeted ? 0.16 : 0.04)
            Behavior on color { ColorAnimation { duration: 150 } }
        }

        // The dashed outline; dash lengths count in line widths.
        Shape {
            anchors.fill: parent
            antialiasing: true
            ShapePath {
                readonly property real r: 20
                readonly property real inset: zone.lineWidth / 2
                fillColor: "transparent"
                strokeWidth: zone.lineWidth
                strokeColor: zone.targeted
                    ? store.firstColor
                    : Qt.rgba(appearance.secondaryText.r, appearance.secondaryText.g,
                              appearance.secondaryText.b, 0.35)
                strokeStyle: ShapePath.DashLine
                dashPattern: [10 / zone.lineWidth, 6 / zone.lineWidth]
                startX: inset + r; startY: inset
                PathLine { x: frame.width - 20 - zone.lineWidth / 2; y: zone.lineWidth / 2 }
                PathArc { x: frame.width - zone.lineWidth / 2; y: 20 + zone.lineWidth / 2; radiusX: 20; radiusY: 20 }
                PathLine { x: frame.width - zone.lineWidth / 2; y: frame.height - 20 - zone.lineWidth / 2 }
                PathArc { x: frame.width - 20 - zone.lineWidth / 2; y: frame.height - zone.lineWidth / 2; radiusX: 20; radiusY: 20 }
                PathLine { x: 20 + zone.lineWidth / 2; y: frame.height - zone.lineWidth / 2 }
                PathArc { x: zone.lineWidth / 2; y: frame.height - 20 - zone.lineWidth / 2; radiusX: 20; radiusY: 20 }
                PathLine { x: zone.lineWidth / 2; y: 20 + zone.lineWidth / 2 }
                PathArc { x: 20 + zone.lineWidth / 2; y: zone.lineWidth / 2; radiusX: 20; radiusY: 20 }
            }
        }

        component DropIcon: Rectangle {
            implicitWidth: zone.iconSize * 1.35
            implicitHeight: implicitWidth
            radius: width / 2
            gradient: Gradient {
                GradientStop { position: 0; color: store.firstColor }
                GradientStop { position: 1; color: store.secondColor }
            }
            SymbolLabel {
                anchors.centerIn: parent
                symbol: "arrow.down.doc.fill"
                size: Math.round(zone.iconSize * 0.55 * 1.15)
                color: "white"
            }
        }

        ColumnLayout {
            visible: !zone.compact
            anchors.centerIn: parent
            width: parent.width - 48
            spacing: 10

            DropIcon { Layout.alignment: Qt.AlignHCenter; Layout.bottomMargin: 6 }
            Text {
                objectName: "dropTitle"
                Layout.fillWidth: true
                horizontalAlignment: Text.AlignHCenter
                text: zone.targeted ? store.releaseTitle : store.dropTitle
                color: appearance.text
                font.pixelSize: 20
                font.weight: Font.DemiBold
                elide: Text.ElideRight
            }
            Text {
                objectName: "acceptLine"
                Layout.fillWidth: true
                horizontalAlignment: Text.AlignHCenter
                text: store.acceptLine
                color: appearance.secondaryText
                font.pixelSize: 13
                wrapMode: Text.WordWrap
            }
            Button {
                id: chooseButton
                objectName: "chooseFilesButton"
                Layout.alignment: Qt.AlignHCenter
                Layout.topMargin: 6
                text: "Choose Files…"
                highlighted: true
                onClicked: zone.chooseFiles()
                contentItem: Text {
                    text: chooseButton.text
                    color: "white"
                    font.pixelSize: 13
                    font.weight: Font.DemiBold
                    horizontalAlignment: Text.AlignHCenter
                    verticalAlignment: Text.AlignVCenter
                }
                background: Rectangle {
                    implicitWidth: 140
                    implicitHeight: 32
                    radius: 8
                    color: chooseButton.down ? Qt.darker(appearance.accent, 1.2)
                         : chooseButton.hovered ? Qt.lighter(appearance.accent, 1.1)
                         : appearance.accent
                    border.width: chooseButton.visualFocus ? 2 : 0
                    border.color: Qt.lighter(appearance.accent, 1.6)
                }
            }
        }

        RowLayout {
            visible: zone.compact
            anchors.centerIn: parent
            width: Math.min(implicitWidth, parent.width - 32)
            spacing: 12

            DropIcon {}
            ColumnLayout {
                spacing: 1
                Text {
                    objectName: "compactTitle"
                    text: zone.targeted ? store.releaseTitle : "Drop more files here"
                    color: appearance.text
                    font.pixelSize: 14
                    font.weight: Font.DemiBold
                }
                Text {
                    visible: !zone.targeted
                    Layout.maximumWidth: zone.width - 120
                    text: store.acceptLine
                    color: appearance.secondaryText
                    font.pixelSize: 12
                    elide: Text.ElideRight
                }
            }
        }
    }
}
