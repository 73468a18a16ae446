import QtQuick
import QtQuick.Controls

// The main window's menus. The actions are the menu bar's own children, so their shortcuts
// work while the menus are closed; the window declares no shortcuts of its own.
MenuBar {
    id: bar

    Action { id: addFiles; text: "Add Files…"; shortcut: "Ctrl+O"; onTriggered: commands.addFiles() }
    Action { id: settings; text: "Settings…"; shortcut: "Ctrl+,"; onTriggered: commands.openSettings() }
    Action { id: panel; text: "Show Kelvane Panel"; enabled: commands.panelInMenu; onTriggered: commands.openPanel() }
    Action { id: quit; text: "Quit"; shortcut: "Ctrl+Q"; onTriggered: commands.quit() }
    Action {
        id: clearFinished
        text: "Clear Finished"
        shortcut: "Ctrl+K"
        enabled: commands.canClearFinished
        onTriggered: commands.clearFinished()
    }
    Action { id: stopAll; text: "Stop All"; enabled: commands.canStopAll; onTriggered: commands.stopAll() }
    Action {
        id: dropDock
        text: "Drop Dock"
        shortcut: "Ctrl+Shift+D"
        checkable: true
        checked: preferences.dropDockEnabled
        onTriggered: commands.toggleDropDock()
    }
    Action { id: group1; text: commands.recipeGroups[0].title; shortcut: "Ctrl+1"; onTriggered: commands.chooseGroup(1) }
    Action { id: group2; text: commands.recipeGroups[1].title; shortcut: "Ctrl+2"; onTriggered: commands.chooseGroup(2) }
    Action { id: group3; text: commands.recipeGroups[2].title; shortcut: "Ctrl+3"; onTriggered: commands.chooseGroup(3) }
    Action { id: group4; text: commands.recipeGroups[3].title; shortcut: "Ctrl+4"; onTriggered: commands.chooseGroup(4) }
    Action { id: group5; text: commands.recipeGroups[4].title; shortcut: "Ctrl+5"; onTriggered: commands.chooseGroup(5) }
    Action { id: options; text: commands.optionsTitle; shortcut: "Ctrl+Alt+I"; onTriggered: commands.toggleOptions() }
    Action { id: updates; text: "Check for Updates…"; onTriggered: commands.checkForUpdates() }

    CommandMenu {
        title: "&File"
        CommandItem { action: addFiles; objectName: "addFilesItem" }
        MenuSeparator {}
        CommandItem { action: settings }
        CommandItem {
            action: panel
            visible: commands.panelInMenu
            height: visible ? implicitHeight : 0
        }
        MenuSeparator {}
        CommandItem { action: quit }
    }
    CommandMenu {
        title: "&Queue"
        CommandItem { action: clearFinished; objectName: "clearFinishedItem" }
        CommandItem { action: stopAll; objectName: "stopAllItem" }
        MenuSeparator {}
        CommandItem { action: dropDock; objectName: "dropDockItem" }
    }
    CommandMenu {
        title: "&Recipe"
        CommandItem { action: group1 }
        CommandItem { action: group2 }
        CommandItem { action: group3 }
        CommandItem { action: group4 }
        CommandItem { action: group5 }
        MenuSeparator {}
        CommandItem { action: options }
    }
    CommandMenu {
        title: "&Help"
        CommandItem { action: updates }
    }
}
