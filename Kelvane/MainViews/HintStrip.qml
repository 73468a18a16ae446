import QtQuick
import QtQuick.Layouts

// Three things worth knowing, shown under the empty drop zone.
RowLayout {
    spacing: 20

    component Hint: ColumnLayout {
        property string symbol
        property string title
        property string caption
        Layout.fillWidth: true
        Layout.preferredWidth: 1
        Layout.alignment: Qt.AlignTop
        spacing: 4
        SymbolLabel {
            symbol: parent.symbol
            size: 18
            color: store.firstColor
            Layout.alignment: Qt.AlignLeft
            Layout.bottomMargin: 2
        }
        Text {
            text: parent.title
            Layout.fillWidth: true
            color: appearance.text
            font.pixelSize: 13
            font.weight: Font.Bold
            wrapMode: Text.WordWrap
        }
        Text {
            text: parent.caption
            Layout.fillWidth: true
            color: appearance.secondaryText
            font.pixelSize: 12
            wrapMode: Text.WordWrap
            lineHeight: 1.1
        }
    }

    Hint {
        symbol: "sidebar.right"
        title: "Drag anywhere"
        caption: "The Drop Dock slides in from the right edge with recipes that fit."
    }
    Hint {
        symbol: "doc.on.doc"
        title: "Never overwrites"
        caption: "Results land next to the original with “(converted)” added."
    }
    Hint {
        symbol: "lock.shield"
        title: "Stays on your computer"
        caption: "Everything runs locally with open-source libraries on this computer."
    }
}
