import QtQuick
import QtQuick.Controls
import QtQuick.Dialogs
import QtQuick.Layouts

// The main window: recipes on the left, the workspace in the middle and the options of the
// chosen recipe on the right.
ThemedWindow {
    id: root

    width: 1120
    height: 720
    minimumWidth: 900
    minimumHeight: 580
    visible: true
    title: store.activeCount > 0 ? "Kelvane — " + store.subtitle : "Kelvane"

    function chooseFiles() { chooser.open() }

    header: WindowToolbar {
        leadingWidth: sidebar.width
        onAddFiles: root.chooseFiles()
    }

    FileDialog {
        id: chooser
        objectName: "fileChooser"
        title: store.chooserTitle
        acceptLabel: store.recipeTitle
        fileMode: FileDialog.OpenFiles
        onAccepted: store.addChosen(selectedFiles)
    }

    RowLayout {
        anchors.fill: parent
        spacing: 0

        RecipeSidebar {
            id: sidebar
            objectName: "recipeSidebar"
            Layout.fillHeight: true
            Layout.preferredWidth: Math.max(220, Math.min(300, root.width * 0.215))
        }

        Rectangle {
            Layout.fillHeight: true
            width: 1
            color: appearance.separator
        }

        WorkspaceView {
            objectName: "workspace"
            Layout.fillWidth: true
            Layout.fillHeight: true
            onChooseFiles: root.chooseFiles()
        }

        Rectangle {
            Layout.fillHeight: true
            width: 1
            color: appearance.separator
            visible: store.showOptions
        }

        OptionsPanel {
            objectName: "optionsPanel"
            visible: store.showOptions
            Layout.fillHeight: true
            Layout.preferredWidth: Math.max(260, Math.min(340, root.width * 0.25))
        }
    }
}
