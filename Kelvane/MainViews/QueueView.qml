import QtQuick
import QtQuick.Controls
import QtQuick.Layouts

// Every job of the store, newest first. A row is selected by clicking it; Delete then
// removes it when it has finished.
ColumnLayout {
    id: queue

    spacing: 10

    RowLayout {
        Layout.fillWidth: true
        Layout.preferredHeight: 28
        spacing: 8
        Text {
            text: "Queue"
            color: appearance.text
            font.pixelSize: 15
            font.weight: Font.Bold
        }
        Rectangle {
            objectName: "workingCapsule"
            visible: store.activeCount > 0
            implicitWidth: workingLabel.implicitWidth + 16
            implicitHeight: workingLabel.implicitHeight + 4
            radius: height / 2
            color: Qt.rgba(store.firstColor.r, store.firstColor.g, store.firstColor.b, 0.15)
            Text {
                id: workingLabel
                anchors.centerIn: parent
                text: store.workingText
                color: appearance.text
                font.pixelSize: 11
                font.weight: Font.DemiBold
            }
        }
        Item { Layout.fillWidth: true }
        Button {
            id: clearButton
            objectName: "queueClearFinished"
            visible: store.finishedCount > 0
            text: "Clear Finished"
            flat: true
            onClicked: store.clearFinished()
            contentItem: Text {
                text: clearButton.text
                color: appearance.accent
                font.pixelSize: 12
                horizontalAlignment: Text.AlignHCenter
                verticalAlignment: Text.AlignVCenter
            }
            background: Rectangle {
                implicitHeight: 26
                radius: 6
                color: clearButton.hovered || clearButton.visualFocus ? appearance.hover : "transparent"
                border.width: clearButton.visualFocus ? 1.5 : 0
                border.color: appearance.accent
            }
        }
    }

    ListView {
        id: rows
        objectName: "queueList"
        Layout.fillWidth: true
        Layout.fillHeight: true
        clip: true
        spacing: 8
        model: store.jobs
        currentIndex: -1
        activeFocusOnTab: true
        keyNavigationEnabled: true
        boundsBehavior: Flickable.StopAtBounds
        highlightMoveDuration: 0
        ScrollBar.vertical: ScrollBar { policy: ScrollBar.AsNeeded }

        Keys.onDeletePressed: store.jobs.removeIfFinished(currentIndex)
        Keys.onPressed: (event) => {
            if (event.key === Qt.Key_Backspace) {
                store.jobs.removeIfFinished(currentIndex)
                event.accepted = true
            }
        }

        delegate: QueueRow {
            width: ListView.view.width
            selected: ListView.isCurrentItem && rows.activeFocus
            onPicked: {
                rows.currentIndex = index
                rows.forceActiveFocus()
            }
        }
    }
}
