import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import "qrc:/Kelvane/MainViews"

// The tray panel: what is converting, the last few jobs, the Drop Dock switch and the way
// back to the window.
Rectangle {
    id: panel

    signal openKelvane()
    signal quitKelvane()

    implicitWidth: 320
    implicitHeight: column.implicitHeight
    color: appearance.window

    ColumnLayout {
        id: column
        width: parent.width
        spacing: 0

        RowLayout {
            Layout.margins: 12
            spacing: 10
            Brand { size: 32 }
            ColumnLayout {
                spacing: 1
                Label { text: "Kelvane"; font.bold: true; color: appearance.text }
                Label {
                    objectName: "panelCaption"
                    text: store.activeCount > 0 ? store.activeCount + " converting…" : "Ready"
                    color: appearance.secondaryText
                    font.pixelSize: 11
                }
            }
            Item { Layout.fillWidth: true }
        }

        Rectangle { Layout.fillWidth: true; implicitHeight: 1; color: appearance.separator }

        ColumnLayout {
            Layout.fillWidth: true
            Layout.margins: 6
            visible: store.jobCount > 0
            spacing: 0
            Repeater {
                objectName: "panelJobs"
                model: panelJobs
                delegate: PanelJobRow { Layout.fillWidth: true }
            }
        }

        ColumnLayout {
            Layout.fillWidth: true
            Layout.topMargin: 20
            Layout.bottomMargin: 20
            visible: store.jobCount === 0
            spacing: 6
            SymbolLabel {
                Layout.alignment: Qt.AlignHCenter
                symbol: "arrow.down.doc"
                size: 26
                color: appearance.secondaryText
            }
            Label {
                Layout.fillWidth: true
                Layout.leftMargin: 12
                Layout.rightMargin: 12
                horizontalAlignment: Text.AlignHCenter
                wrapMode: Text.WordWrap
                text: "Drag a file anywhere to convert it"
                color: appearance.secondaryText
            }
        }

        Rectangle { Layout.fillWidth: true; implicitHeight: 1; color: appearance.separator }

        ToggleSwitch {
            objectName: "panelDockSwitch"
            Layout.margins: 12
            Layout.fillWidth: true
            text: "Drop Dock when dragging files"
            font.pixelSize: 12
            checked: preferences.dropDockEnabled
            onToggled: preferences.dropDockEnabled = checked
        }

        Rectangle { Layout.fillWidth: true; implicitHeight: 1; color: appearance.separator }

        RowLayout {
            Layout.margins: 12
            Layout.fillWidth: true
            Button { text: "Open Kelvane"; flat: true; onClicked: panel.openKelvane() }
            Item { Layout.fillWidth: true }
            Button { text: "Quit"; flat: true; onClicked: panel.quitKelvane() }
        }
    }
}
