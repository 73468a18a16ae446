import QtQuick
import QtQuick.Controls
import QtQuick.Layouts

// The middle column: the chosen recipe, the drop zone and the queue (or, while the queue is
// empty, the hints). The whole column takes dropped files.
Item {
    id: workspace

    signal chooseFiles()
    signal chooseFolder()
    readonly property bool hasJobs: store.jobCount > 0

    WorkspaceBackground { anchors.fill: parent }

    // Folders that hold more files than anyone drops by accident: asked once.
    Dialog {
        id: manyFiles
        objectName: "manyFilesDialog"
        property int count: 0
        anchors.centerIn: parent
        modal: true
        title: "Convert " + count.toLocaleString(Qt.locale(), "f", 0) + " files?"
        standardButtons: Dialog.Ok | Dialog.Cancel
        Component.onCompleted: standardButton(Dialog.Ok).text = "Convert"
        onAccepted: store.confirmManyFiles(true)
        onRejected: store.confirmManyFiles(false)
    }
    Connections {
        target: store
        function onManyFilesToConfirm(count) {
            manyFiles.count = count
            manyFiles.open()
        }
    }

    DropArea {
        id: dropTarget
        objectName: "workspaceDropArea"
        anchors.fill: parent
        keys: ["text/uri-list"]
        // Files are only ever read: a move proposed by a file manager would delete them.
        onEntered: (drag) => drag.accept(Qt.CopyAction)
        onPositionChanged: (drag) => drag.accept(Qt.CopyAction)
        onDropped: (drop) => {
            if (drop.hasUrls)
                store.dropURLs(drop.urls)
            else
                store.dropUriList(drop.getDataAsString("text/uri-list"))
            drop.accept(Qt.CopyAction)
        }
    }

    ColumnLayout {
        anchors.fill: parent
        anchors.margins: 24
        spacing: 18

        RecipeHeader { Layout.fillWidth: true; Layout.fillHeight: false }

        // While the hints show, the full zone gives up height down to what its content needs.
        DropZone {
            id: zone
            objectName: "dropZone"
            Layout.fillWidth: true
            Layout.fillHeight: !compact
            Layout.minimumHeight: minimumHeight
            Layout.preferredHeight: implicitHeight
            Layout.maximumHeight: implicitHeight
            compact: workspace.hasJobs
            targeted: dropTarget.containsDrag
            onChooseFiles: workspace.chooseFiles()
            onChooseFolder: workspace.chooseFolder()
        }

        QueueView {
            objectName: "queueView"
            visible: workspace.hasJobs
            Layout.fillWidth: true
            Layout.fillHeight: true
        }

        Item {
            visible: !workspace.hasJobs
            Layout.fillHeight: true
        }

        HintStrip {
            objectName: "hintStrip"
            visible: !workspace.hasJobs
            Layout.fillWidth: true
            Layout.fillHeight: false
            Layout.bottomMargin: 4
        }
    }
}
