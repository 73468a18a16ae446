import QtQuick
import "qrc:/Kelvane/MainViews"

// The Settings window, of a fixed size.
ThemedWindow {
    title: "Kelvane Settings"
    width: 480
    height: 360
    minimumWidth: 480
    maximumWidth: 480
    minimumHeight: 360
    maximumHeight: 360
    visible: false

    SettingsView { anchors.fill: parent }

    Shortcut {
        sequence: StandardKey.Cancel
        onActivated: close()
    }
}
