import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import "qrc:/Kelvane/MainViews"

// Settings: the Drop Dock and tray switches, and the options every job starts with.
Rectangle {
    id: settings

    implicitWidth: 480
    implicitHeight: 360
    color: appearance.window

    component SettingsTab: TabButton {
        id: tab
        property string symbol
        property string title
        width: implicitWidth
        text: title
        contentItem: Row {
            spacing: 6
            SymbolLabel { symbol: tab.symbol; size: 15; anchors.verticalCenter: parent.verticalCenter }
            Label { text: tab.title; color: appearance.text; anchors.verticalCenter: parent.verticalCenter }
        }
    }
    component SectionTitle: Label {
        color: appearance.secondaryText
        font.pixelSize: 11
        font.bold: true
        Layout.topMargin: 8
    }
    component Group: Rectangle {
        default property alias content: inner.data
        Layout.fillWidth: true
        implicitHeight: inner.implicitHeight + 20
        radius: 8
        color: appearance.card
        border.width: 0.5
        border.color: appearance.cardBorder
        ColumnLayout {
            id: inner
            x: 12
            y: 10
            width: parent.width - 24
            spacing: 8
        }
    }

    ColumnLayout {
        anchors.fill: parent
        spacing: 0

        TabBar {
            id: tabs
            objectName: "settingsTabs"
            Layout.alignment: Qt.AlignHCenter
            Layout.topMargin: 10
            SettingsTab { objectName: "generalTab"; symbol: "gearshape"; title: "General" }
            SettingsTab { objectName: "conversionsTab"; symbol: "slider.horizontal.3"; title: "Conversions" }
        }

        StackLayout {
            Layout.fillWidth: true
            Layout.fillHeight: true
            Layout.margins: 16
            currentIndex: tabs.currentIndex

            ColumnLayout {
                spacing: 6
                SectionTitle { text: "Drop Dock" }
                Group {
                    ToggleSwitch {
                        objectName: "dockSwitch"
                        Layout.fillWidth: true
                        text: "Show the Drop Dock when I drag files"
                        enabled: dropDock.unavailableReason === ""
                        checked: preferences.dropDockEnabled && enabled
                        onToggled: preferences.dropDockEnabled = checked
                    }
                    ToggleSwitch {
                        objectName: "dockKeepOpenSwitch"
                        Layout.fillWidth: true
                        visible: dropDock.unavailableReason !== ""
                        text: "Keep the Drop Dock open"
                        checked: dropDock.keepOpen
                        onToggled: dropDock.keepOpen = checked
                    }
                    Label {
                        objectName: "dockUnavailable"
                        Layout.fillWidth: true
                        visible: dropDock.unavailableReason !== ""
                        text: dropDock.unavailableReason
                        elide: Text.ElideRight
                        color: appearance.failure
                        font.pixelSize: 11
                    }
                    Label {
                        Layout.fillWidth: true
                        wrapMode: Text.WordWrap
                        text: "A slim panel slides in from the right edge of the screen while you drag files in any app. Drop on a recipe to convert; results are saved next to the original."
                        color: appearance.secondaryText
                        font.pixelSize: 11
                    }
                }
                SectionTitle { text: "Menu bar" }
                Group {
                    ToggleSwitch {
                        objectName: "menuBarSwitch"
                        Layout.fillWidth: true
                        text: "Show Kelvane in the menu bar"
                        checked: preferences.showMenuBar
                        onToggled: preferences.showMenuBar = checked
                    }
                }
                Item { Layout.fillHeight: true }
            }

            ColumnLayout {
                spacing: 6
                SectionTitle { text: "Images" }
                Group {
                    ToggleSwitch {
                        objectName: "keepMetadataSwitch"
                        Layout.fillWidth: true
                        text: "Keep camera details (EXIF) when converting"
                        checked: store.options.keepMetadata
                        onToggled: store.options.keepMetadata = checked
                    }
                    RowLayout {
                        Label { text: "JPG / HEIC quality"; color: appearance.text; Layout.fillWidth: true }
                        Slider {
                            objectName: "qualitySlider"
                            Layout.preferredWidth: 180
                            from: 0.3
                            to: 1.0
                            value: store.options.quality
                            onMoved: store.options.quality = value
                        }
                        Label {
                            objectName: "qualityLabel"
                            Layout.preferredWidth: 40
                            text: store.options.qualityText
                            color: appearance.text
                            horizontalAlignment: Text.AlignRight
                        }
                    }
                    OptionsPicker {
                        objectName: "targetPicker"
                        label: "Shrink to Size target"
                        choices: store.options.targetChoices
                        value: store.options.targetMB
                        onPicked: (value) => store.options.targetMB = value
                    }
                }
                SectionTitle { text: "Documents" }
                Group {
                    OptionsPicker {
                        objectName: "paperPicker"
                        label: "PDF paper size"
                        choices: store.options.paperChoices
                        value: store.options.pdfPageSize
                        onPicked: (value) => store.options.pdfPageSize = value
                    }
                }
                Button {
                    objectName: "resetOptions"
                    Layout.alignment: Qt.AlignRight
                    Layout.topMargin: 6
                    text: "Reset All Options"
                    onClicked: commands.resetAllOptions()
                }
                Item { Layout.fillHeight: true }
            }
        }
    }
}
