import QtQuick
import QtQuick.Controls

// The switch every window draws alike: its label on the left, a rounded track on the right,
// dimmed while disabled.
Switch {
    id: control

    padding: 0
    spacing: 10
    Accessible.name: text

    indicator: Rectangle {
        implicitWidth: 36
        implicitHeight: 20
        x: control.width - width - control.rightPadding
        y: control.topPadding + (control.availableHeight - height) / 2
        radius: height / 2
        opacity: control.enabled ? 1 : 0.45
        color: control.checked ? appearance.accent : appearance.separator
        border.width: control.visualFocus ? 2 : 0
        border.color: Qt.lighter(appearance.accent, 1.5)
        Behavior on color { ColorAnimation { duration: 120 } }

        Rectangle {
            width: 16
            height: 16
            radius: 8
            y: 2
            x: control.checked ? parent.width - width - 2 : 2
            color: "white"
            border.width: 0.5
            border.color: Qt.rgba(0, 0, 0, 0.15)
            Behavior on x { NumberAnimation { duration: 120 } }
        }
    }

    contentItem: Text {
        rightPadding: control.indicator.width + (control.text.length > 0 ? control.spacing : 0)
        text: control.text
        font: control.font
        color: control.enabled ? appearance.text : appearance.secondaryText
        wrapMode: Text.WordWrap
        verticalAlignment: Text.AlignVCenter
    }
}
