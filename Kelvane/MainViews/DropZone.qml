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
    signal chooseFolder()

    // The full zone takes a smaller icon when the window is too short for the large one.
    readonly property real iconSize: compact ? 36 : (height >= fullHeightAt(72) ? 72 : 48)
    readonly property real lineWidth: targeted ? 2.5 : 1.5
    // The least height that shows everything: the full zone's content with the small icon.
    readonly property real minimumHeight: compact ? 72 : fullHeightAt(48)

    // The icon's circle, its gap, the texts, the buttons, the spacing and 16 above and below.
    function fullHeightAt(size) {
        return size * 1.35 + 6 + title.height + accept.height + buttons.height
            + 3 * full.spacing + 32
    }

    // The height the zone's state asks for; its implicit height animates there.
    readonly property real stateHeight: compact ? 72 : Math.max(300, fullHeightAt(72))

    implicitHeight: stateHeight
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

        component ZoneButton: Button {
            id: button
            highlighted: true
            contentItem: Text {
                text: button.text
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
                color: button.down ? Qt.darker(appearance.accent, 1.2)
                     : button.hovered ? Qt.lighter(appearance.accent, 1.1)
                     : appearance.accent
                border.width: button.visualFocus ? 2 : 0
                border.color: Qt.lighter(appearance.accent, 1.6)
            }
        }

        // Positioned rather than laid out, so that the title's wrapped height counts.
        Column {
            id: full
            visible: !zone.compact
            anchors.centerIn: parent
            width: parent.width - 48
            spacing: 10

            Item {
                width: parent.width
                height: icon.height + 6
                DropIcon { id: icon; anchors.horizontalCenter: parent.horizontalCenter }
            }
            Text {
                id: title
                objectName: "dropTitle"
                width: parent.width
                horizontalAlignment: Text.AlignHCenter
                text: zone.targeted ? store.releaseTitle : store.dropTitle
                color: appearance.text
                font.pixelSize: 20
                font.weight: Font.DemiBold
                wrapMode: Text.Wrap
            }
            Text {
                id: accept
                objectName: "acceptLine"
                width: parent.width
                horizontalAlignment: Text.AlignHCenter
                text: store.acceptLine
                color: appearance.secondaryText
                font.pixelSize: 13
                wrapMode: Text.Wrap
            }
            Flow {
                id: buttons
                anchors.horizontalCenter: parent.horizontalCenter
                width: Math.min(parent.width, implicitRowWidth)
                topPadding: 6
                spacing: 10
                readonly property real implicitRowWidth: chooseFiles.implicitWidth
                    + (chooseFolder.visible ? chooseFolder.implicitWidth + spacing : 0)
                ZoneButton {
                    id: chooseFiles
                    objectName: "chooseFilesButton"
                    text: "Choose Files…"
                    onClicked: zone.chooseFiles()
                }
                ZoneButton {
                    id: chooseFolder
                    objectName: "chooseFolderButton"
                    visible: store.choosesFolders
                    text: "Choose Folder…"
                    onClicked: zone.chooseFolder()
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
