import QtQuick
import QtQuick.Controls
import QtQuick.Layouts

// A labelled pop-up choice among {value, label} entries, bound to one option.
RowLayout {
    id: picker

    property string label
    property var choices: []
    property var value
    signal picked(var value)

    readonly property int selectedIndex: {
        for (let i = 0; i < choices.length; ++i)
            if (choices[i].value === value)
                return i
        return -1
    }

    Layout.fillWidth: true
    spacing: 8

    // The label is shown whole; in a narrow inspector the box gives up width instead.
    Text {
        text: picker.label
        color: appearance.text
        font.pixelSize: 12
        Layout.fillWidth: true
        Layout.minimumWidth: implicitWidth
    }

    ComboBox {
        id: box
        objectName: picker.objectName + "Box"
        Layout.fillWidth: true
        Layout.minimumWidth: 90
        Layout.maximumWidth: 140
        font.pixelSize: 12
        model: picker.choices
        textRole: "label"
        valueRole: "value"
        currentIndex: picker.selectedIndex
        onActivated: (index) => {
            picker.picked(picker.choices[index].value)
            currentIndex = Qt.binding(() => picker.selectedIndex)
        }
        Accessible.name: picker.label
    }
}
