import QtQuick
import QtQuick.Dialogs

// The choosers behind "Add Files" and "Choose Files…", and "Choose Folder…" for a recipe
// that takes folders too. What the user picks is queued with the chosen recipe.
Item {
    function chooseFiles() { files.open() }
    function chooseFolder() { folder.open() }

    FileDialog {
        id: files
        objectName: "fileChooser"
        title: store.chooserTitle
        acceptLabel: store.recipeTitle
        fileMode: FileDialog.OpenFiles
        onAccepted: store.addChosen(selectedFiles)
    }

    FolderDialog {
        id: folder
        objectName: "folderChooser"
        title: store.chooserTitle
        acceptLabel: store.recipeTitle
        onAccepted: store.addChosen([selectedFolder])
    }
}
