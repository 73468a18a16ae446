import QtQuick

// Three things worth knowing, shown under the empty drop zone. Positioners rather than
// layouts: the strip's height follows its texts as they wrap in the width it is given.
Item {
    id: strip

    readonly property real spacing: 20
    readonly property real hintWidth: (width - 2 * spacing) / 3

    implicitHeight: Math.max(drag.height, never.height, local.height)

    component Hint: Column {
        property string symbol
        property string title
        property string caption
        width: strip.hintWidth
        spacing: 4
        SymbolLabel {
            symbol: parent.symbol
            size: 18
            color: store.firstColor
            bottomPadding: 2
        }
        Text {
            width: parent.width
            text: parent.title
            color: appearance.text
            font.pixelSize: 13
            font.weight: Font.Bold
            wrapMode: Text.Wrap
        }
        Text {
            width: parent.width
            text: parent.caption
            color: appearance.secondaryText
            font.pixelSize: 12
            wrapMode: Text.Wrap
            lineHeight: 1.1
        }
    }

    Row {
        spacing: strip.spacing

        Hint {
            id: drag
            symbol: "sidebar.right"
            title: "Drag anywhere"
            caption: "The Drop Dock slides in from the right edge with recipes that fit."
        }
        Hint {
            id: never
            symbol: "doc.on.doc"
            title: "Never overwrites"
            caption: "Results land next to the original with “(converted)” added."
        }
        Hint {
            id: local
            symbol: "lock.shield"
            title: "Stays on your computer"
            caption: "Everything runs locally with open-source libraries on this computer."
        }
    }
}
