import QtQuick
import QtQuick.Controls
import QtQuick.Layouts

// The main window: recipes on the left, the workspace in the middle and the options of the
// chosen recipe on the right.
ApplicationWindow {
    id: root

    width: 1120
    height: 720
    minimumWidth: 900
    minimumHeight: 580
    visible: true
    // The platform adds the application's name to a title that does not end with it.
    title: store.activeCount > 0 ? store.subtitle + " — Kelvane" : "Kelvane"
    color: appearance.window

    palette.window: appearance.window
    palette.windowText: appearance.text
    palette.base: appearance.control
    palette.alternateBase: appearance.sidebar
    palette.text: appearance.text
    palette.button: appearance.control
    palette.buttonText: appearance.text
    palette.brightText: appearance.text
    palette.highlight: appearance.accent
    palette.highlightedText: "#ffffff"
    palette.placeholderText: appearance.secondaryText
    palette.light: appearance.dark ? Qt.lighter(appearance.control, 1.3) : "#ffffff"
    palette.midlight: appearance.dark ? Qt.lighter(appearance.control, 1.15) : "#f2f2f4"
    palette.mid: appearance.separator
    palette.dark: appearance.dark ? "#15161a" : "#b8b9bf"
    palette.shadow: "#000000"
    palette.toolTipBase: appearance.card
    palette.toolTipText: appearance.text

    function chooseFiles() { chooser.chooseFiles() }

    header: WindowToolbar {
        leadingWidth: sidebar.width
        onAddFiles: root.chooseFiles()
    }

    Shortcut {
        sequence: "Ctrl+O"
        onActivated: root.chooseFiles()
    }
    Shortcut {
        sequence: "Ctrl+Alt+I"
        onActivated: store.showOptions = !store.showOptions
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
