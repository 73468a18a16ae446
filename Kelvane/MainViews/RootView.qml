import QtQuick
import QtQuick.Controls
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
    // The application's name ends the title, as the desktop's window lists read it.
    title: store.activeCount > 0 ? store.subtitle + " — Kelvane" : "Kelvane"

    function chooseFiles() { chooser.chooseFiles() }

    header: WindowToolbar {
        leadingWidth: sidebar.width
        onAddFiles: root.chooseFiles()
    }

    FileChooser { id: chooser }

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
            onChooseFolder: chooser.chooseFolder()
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
