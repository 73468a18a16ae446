import QtQuick
import QtQuick.Controls
import QtQuick.Layouts

// The bar across the top: the application's name and state above the sidebar, the
// window's commands above the workspace and the inspector.
Rectangle {
    id: bar

    property real leadingWidth: 240
    signal addFiles()

    implicitHeight: 52
    color: appearance.toolbar

    component ToolbarButton: ToolButton {
        id: button
        property string symbol
        property string tip
        objectName: text
        focusPolicy: Qt.StrongFocus
        leftPadding: 10
        rightPadding: 12
        contentItem: Row {
            spacing: 6
            opacity: button.enabled ? 1 : 0.4
            SymbolLabel {
                symbol: button.symbol
                size: 18
                anchors.verticalCenter: parent.verticalCenter
            }
            Text {
                text: button.text
                color: appearance.text
                font.pixelSize: 13
                anchors.verticalCenter: parent.verticalCenter
            }
        }
        background: Rectangle {
            radius: 7
            color: button.down ? appearance.selection
                 : (button.hovered || button.visualFocus) ? appearance.hover : "transparent"
            border.width: button.visualFocus ? 1.5 : 0
            border.color: appearance.accent
        }
        ToolTip.visible: hovered && tip.length > 0
        ToolTip.delay: 600
        ToolTip.text: tip
    }

    RowLayout {
        anchors.fill: parent
        spacing: 0

        RowLayout {
            Layout.preferredWidth: bar.leadingWidth
            Layout.fillHeight: true
            Layout.leftMargin: 16
            spacing: 10

            Brand { size: 26 }
            ColumnLayout {
                spacing: 0
                Text {
                    text: "Kelvane"
                    color: appearance.text
                    font.pixelSize: 14
                    font.weight: Font.Bold
                }
                Text {
                    objectName: "windowSubtitle"
                    text: store.subtitle
                    color: appearance.secondaryText
                    font.pixelSize: 11
                }
            }
            Item { Layout.fillWidth: true }
        }

        Item { Layout.fillWidth: true }

        RowLayout {
            Layout.rightMargin: 12
            spacing: 4
            ToolbarButton {
                text: "Add Files"
                symbol: "plus"
                tip: "Choose files to convert (Ctrl+O)"
                onClicked: bar.addFiles()
            }
            ToolbarButton {
                text: "Clear Finished"
                symbol: "checkmark.circle.badge.xmark"
                tip: "Remove finished items from the queue"
                enabled: store.finishedCount > 0
                onClicked: store.clearFinished()
            }
            ToolbarButton {
                text: "Options"
                symbol: "slider.horizontal.3"
                tip: "Show or hide options (Ctrl+Alt+I)"
                checkable: true
                checked: store.showOptions
                onToggled: store.showOptions = checked
            }
        }
    }

    Rectangle {
        anchors.bottom: parent.bottom
        width: parent.width
        height: 1
        color: appearance.separator
    }
}
