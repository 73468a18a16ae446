import QtQuick
import QtQuick.Controls
import QtQuick.Layouts

// The inspector: the chosen recipe and only the options that matter for it, each bound to
// the store's options, ending with where results go.
Rectangle {
    id: panel

    readonly property var options: store.options
    readonly property var shown: options.sections

    color: appearance.inspector

    component Caption: Text {
        Layout.fillWidth: true
        color: appearance.secondaryText
        font.pixelSize: 11
        wrapMode: Text.WordWrap
        lineHeight: 1.1
    }

    component Toggle: RowLayout {
        id: toggle
        property alias text: label.text
        property alias checked: control.checked
        signal toggled(bool checked)
        Layout.fillWidth: true
        Text {
            id: label
            Layout.fillWidth: true
            color: appearance.text
            font.pixelSize: 12
            elide: Text.ElideRight
        }
        ToggleSwitch {
            id: control
            objectName: toggle.objectName + "Switch"
            Accessible.name: label.text
            Layout.preferredWidth: 36
            onToggled: toggle.toggled(checked)
        }
    }

    component QualitySlider: ColumnLayout {
        id: qualityBlock
        property string label
        Layout.fillWidth: true
        spacing: 2
        Text {
            visible: qualityBlock.label.length > 0
            text: qualityBlock.label
            color: appearance.text
            font.pixelSize: 12
            Layout.fillWidth: true
        }
        RowLayout {
            Layout.fillWidth: true
            spacing: 6
            SymbolLabel { symbol: "tortoise"; size: 15; color: appearance.secondaryText }
            Slider {
                id: slider
                objectName: "qualitySlider"
                Layout.fillWidth: true
                from: 0.3
                to: 1.0
                value: panel.options.quality
                onMoved: panel.options.quality = value
                Accessible.name: "Quality"
            }
            SymbolLabel { symbol: "sparkles"; size: 15; color: appearance.secondaryText }
            Text {
                objectName: "qualityText"
                text: panel.options.qualityText
                color: appearance.text
                font.pixelSize: 12
                Layout.preferredWidth: 34
                horizontalAlignment: Text.AlignRight
            }
        }
    }

    ScrollView {
        id: scroller
        anchors.fill: parent
        contentWidth: availableWidth
        clip: true

        ColumnLayout {
            width: scroller.availableWidth
            spacing: 16

            // Header: the recipe itself.
            RowLayout {
                Layout.fillWidth: true
                Layout.topMargin: 18
                Layout.leftMargin: 16
                Layout.rightMargin: 16
                spacing: 12
                GlyphTile {
                    size: 40
                    glyph: store.recipeGlyph
                    firstColor: store.firstColor
                    secondColor: store.secondColor
                    Layout.alignment: Qt.AlignTop
                }
                ColumnLayout {
                    Layout.fillWidth: true
                    spacing: 2
                    Text {
                        Layout.fillWidth: true
                        text: store.recipeTitle
                        color: appearance.text
                        font.pixelSize: 15
                        font.weight: Font.Bold
                        elide: Text.ElideRight
                    }
                    Text {
                        Layout.fillWidth: true
                        text: store.recipeSubtitle
                        color: appearance.secondaryText
                        font.pixelSize: 12
                        wrapMode: Text.WordWrap
                    }
                }
            }

            ColumnLayout {
                Layout.fillWidth: true
                Layout.leftMargin: 14
                Layout.rightMargin: 14
                Layout.bottomMargin: 18
                spacing: 16

                OptionsSection {
                    objectName: "sectionTargetSize"
                    visible: panel.shown.targetSize
                    title: "Target size"
                    Layout.fillWidth: true
                    Row {
                        objectName: "targetPicker"
                        Layout.fillWidth: true
                        Layout.preferredHeight: 26
                        spacing: 0
                        Repeater {
                            model: panel.options.targetChoices
                            Button {
                                id: segment
                                required property var modelData
                                required property int index
                                readonly property bool chosen: panel.options.targetMB === modelData.value
                                objectName: "target-" + modelData.label
                                width: parent.width / 5
                                height: 26
                                padding: 0
                                text: modelData.label
                                onClicked: panel.options.targetMB = modelData.value
                                Accessible.name: "Target size " + modelData.label
                                contentItem: Text {
                                    text: segment.text
                                    color: segment.chosen ? "white" : appearance.text
                                    font.pixelSize: 11
                                    font.weight: segment.chosen ? Font.DemiBold : Font.Normal
                                    horizontalAlignment: Text.AlignHCenter
                                    verticalAlignment: Text.AlignVCenter
                                }
                                background: Rectangle {
                                    radius: 6
                                    color: segment.chosen ? appearance.accent
                                         : segment.hovered ? appearance.hover : "transparent"
                                    border.width: segment.visualFocus ? 1.5 : 0
                                    border.color: appearance.accent
                                }
                            }
                        }
                    }
                    Caption {
                        objectName: "shrinkCaption"
                        text: panel.options.shrinkCaption
                    }
                }

                OptionsSection {
                    objectName: "sectionPages"
                    visible: panel.shown.imagePages
                    title: "Pages"
                    Layout.fillWidth: true
                    Caption {
                        text: "Each image becomes one page, in name order. Pages take each image’s own shape."
                        color: appearance.text
                        font.pixelSize: 12
                    }
                }

                OptionsSection {
                    objectName: "sectionQuality"
                    visible: panel.shown.quality
                    title: "Quality"
                    Layout.fillWidth: true
                    QualitySlider {}
                    Caption { text: "Applies to JPG and HEIC. PNG, TIFF and BMP are lossless." }
                }

                OptionsSection {
                    objectName: "sectionSize"
                    visible: panel.shown.size
                    title: "Size"
                    Layout.fillWidth: true
                    Toggle {
                        objectName: "limitToggle"
                        visible: !panel.shown.sizeAlwaysOn
                        text: "Limit longest side"
                        checked: panel.options.limitDimension
                        onToggled: (on) => panel.options.limitDimension = on
                    }
                    OptionsPicker {
                        objectName: "longestSidePicker"
                        visible: panel.shown.sizeAlwaysOn || panel.options.limitDimension
                        label: "Longest side"
                        choices: panel.options.dimensionChoices
                        value: panel.options.maxDimension
                        onPicked: (v) => panel.options.maxDimension = v
                    }
                    Caption { text: "Smaller images are never enlarged." }
                }

                OptionsSection {
                    objectName: "sectionDetails"
                    visible: panel.shown.details
                    title: "Details"
                    Layout.fillWidth: true
                    Toggle {
                        objectName: "exifToggle"
                        text: "Keep camera details (EXIF)"
                        checked: panel.options.keepMetadata
                        onToggled: (on) => panel.options.keepMetadata = on
                    }
                    Caption { text: "Use Strip Metadata to remove location and camera information." }
                }

                OptionsSection {
                    objectName: "sectionAnimation"
                    visible: panel.shown.animation
                    title: "Animation"
                    Layout.fillWidth: true
                    OptionsPicker {
                        objectName: "fpsPicker"
                        label: "Frame rate"
                        choices: panel.options.fpsChoices
                        value: panel.options.gifFPS
                        onPicked: (v) => panel.options.gifFPS = v
                    }
                    OptionsPicker {
                        objectName: "widthPicker"
                        label: "Width"
                        choices: panel.options.widthChoices
                        value: panel.options.gifWidth
                        onPicked: (v) => panel.options.gifWidth = v
                    }
                    OptionsPicker {
                        objectName: "lengthPicker"
                        label: "Length"
                        choices: panel.options.lengthChoices
                        value: panel.options.gifMaxSeconds
                        onPicked: (v) => panel.options.gifMaxSeconds = v
                    }
                    Caption { text: "GIFs grow quickly. 480 px at 12 fps is a good start for sharing." }
                }

                OptionsSection {
                    objectName: "sectionPdfPages"
                    visible: panel.shown.pdfPages
                    title: "Pages"
                    Layout.fillWidth: true
                    OptionsPicker {
                        objectName: "dpiPicker"
                        label: "Resolution"
                        choices: panel.options.dpiChoices
                        value: panel.options.pdfImageDPI
                        onPicked: (v) => panel.options.pdfImageDPI = v
                    }
                    QualitySlider {
                        visible: panel.shown.pdfQuality
                        label: "Quality " + panel.options.qualityText
                    }
                    Caption { text: "Pages are saved into a new folder beside the PDF." }
                }

                OptionsSection {
                    objectName: "sectionPaper"
                    visible: panel.shown.paper
                    title: "Page"
                    Layout.fillWidth: true
                    OptionsPicker {
                        objectName: "paperPicker"
                        label: "Paper size"
                        choices: panel.options.paperChoices
                        value: panel.options.pdfPageSize
                        onPicked: (v) => panel.options.pdfPageSize = v
                    }
                }

                OptionsSection {
                    objectName: "sectionSettings"
                    visible: panel.shown.settings
                    title: "Settings"
                    Layout.fillWidth: true
                    Caption {
                        objectName: "presetDescription"
                        text: panel.options.presetDescription
                        color: appearance.secondaryText
                        font.pixelSize: 12
                    }
                }

                OptionsSection {
                    objectName: "sectionWhere"
                    title: "Where results go"
                    Layout.fillWidth: true
                    RowLayout {
                        Layout.fillWidth: true
                        spacing: 8
                        SymbolLabel {
                            symbol: "folder"
                            size: 18
                            color: store.firstColor
                            Layout.alignment: Qt.AlignTop
                        }
                        Caption {
                            objectName: "whereResultsGo"
                            text: panel.options.whereResultsGo
                            color: appearance.text
                            font.pixelSize: 12
                        }
                    }
                }
            }
        }
    }
}
