import QtQuick
import "qrc:/Kelvane/MainViews"

// The dock's content: the dragged files, one drop target per offered recipe, then the
// confirmation once files were dropped on one of them.
Rectangle {
    id: view

    required property var dockModel
    // The raw value of a recipe whose tile is drawn as if files hovered over it.
    property string highlight: ""
    // How many tiles have files dragged over them now.
    property int targetedCount: 0
    signal accepted(string recipe)

    implicitWidth: 232
    implicitHeight: column.implicitHeight + 2 * column.y
    radius: 22
    color: appearance.dark ? Qt.rgba(0.17, 0.17, 0.18, 0.94) : Qt.rgba(0.97, 0.97, 0.98, 0.94)
    border.width: 1
    border.color: Qt.rgba(1, 1, 1, 0.18)
    clip: true

    Column {
        id: column
        x: 12
        y: 12
        width: parent.width - 2 * x
        spacing: 10

        Row {
            leftPadding: 4
            rightPadding: 4
            topPadding: 2
            spacing: 8
            width: parent.width

            Brand {
                size: 26
                anchors.verticalCenter: parent.verticalCenter
            }
            Column {
                anchors.verticalCenter: parent.verticalCenter
                width: parent.width - 26 - 8 - 8
                Text {
                    text: "Kelvane"
                    color: appearance.text
                    font.pixelSize: 13
                    font.bold: true
                }
                Text {
                    objectName: "dockFileLine"
                    width: parent.width
                    text: view.dockModel.fileLine
                    color: appearance.secondaryText
                    font.pixelSize: 11
                    elide: Text.ElideMiddle
                }
            }
        }

        Column {
            visible: view.dockModel.choosing
            width: parent.width
            spacing: 6

            Repeater {
                model: view.dockModel.tiles
                DockTile {
                    required property var modelData
                    required property int index
                    objectName: "dockTile" + index
                    width: parent.width
                    recipe: modelData.recipe
                    label: modelData.label
                    glyph: modelData.glyph
                    firstColor: modelData.firstColor
                    secondColor: modelData.secondColor
                    forceHover: modelData.recipe === view.highlight
                    onDropped: view.accepted(modelData.recipe)
                    onTargetedChanged: view.targetedCount += targeted ? 1 : -1
                }
            }
        }

        Column {
            objectName: "dockConfirmation"
            visible: !view.dockModel.choosing
            width: parent.width
            topPadding: 24
            bottomPadding: 24
            spacing: 6

            Text {
                anchors.horizontalCenter: parent.horizontalCenter
                text: store.glyph("checkmark.circle.fill")
                color: appearance.success
                font.family: store.iconFont
                font.pixelSize: 38
            }
            Text {
                objectName: "dockAcceptedTitle"
                anchors.horizontalCenter: parent.horizontalCenter
                text: view.dockModel.acceptedTitle
                color: appearance.text
                font.pixelSize: 15
                font.weight: Font.DemiBold
            }
            Text {
                anchors.horizontalCenter: parent.horizontalCenter
                text: "Saving next to the original…"
                color: appearance.secondaryText
                font.pixelSize: 12
            }
        }
    }
}
