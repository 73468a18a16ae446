import QtQuick
import QtQuick.Layouts

// One group of the inspector's form: a small heading over a rounded card of controls.
ColumnLayout {
    id: section

    property string title
    default property alias content: card.data

    spacing: 6

    Text {
        visible: section.title.length > 0
        text: section.title
        Layout.leftMargin: 4
        color: appearance.secondaryText
        font.pixelSize: 11
        font.weight: Font.Bold
    }

    Rectangle {
        Layout.fillWidth: true
        implicitHeight: card.implicitHeight + 20
        radius: 10
        color: appearance.card
        border.width: 0.5
        border.color: appearance.cardBorder

        ColumnLayout {
            id: card
            anchors.fill: parent
            anchors.margins: 10
            anchors.leftMargin: 12
            anchors.rightMargin: 12
            spacing: 8
        }
    }
}
