import QtQuick
import QtQuick.Controls
import QtQuick.Layouts

// The middle column: the chosen recipe, the drop zone and the queue (or, while the queue is
// empty, the hints). The whole column takes dropped files.
Item {
    id: workspace

    signal chooseFiles()
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
        onDropped: (drop) => {
            if (drop.hasUrls)
                store.dropURLs(drop.urls)
            else
                store.dropUriList(drop.getDataAsString("text/uri-list"))
            drop.acceptProposedAction()
        }
    }

    ColumnLayout {
        anchors.fill: parent
        anchors.margins: 24
        spacing: 18

        RecipeHeader { Layout.fillWidth: true; Layout.fillHeight: false }

        DropZone {
            objectName: "dropZone"
            Layout.fillWidth: true
            Layout.preferredHeight: implicitHeight
            compact: workspace.hasJobs
            targeted: dropTarget.containsDrag
            onChooseFiles: workspace.chooseFiles()
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
