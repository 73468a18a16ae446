import QtQuick
import QtQuick.Layouts

// The chosen recipe, large, with what this session has saved so far.
RowLayout {
    spacing: 14

    GlyphTile {
        size: 48
        glyph: store.recipeGlyph
        firstColor: store.firstColor
        secondColor: store.secondColor
    }

    ColumnLayout {
        Layout.fillWidth: true
        spacing: 2
        Text {
            objectName: "recipeTitle"
            Layout.fillWidth: true
            text: store.recipeTitle
            color: appearance.text
            font.pixelSize: 24
            font.weight: Font.Bold
            elide: Text.ElideRight
        }
        Text {
            Layout.fillWidth: true
            text: store.recipeSubtitle
            color: appearance.secondaryText
            font.pixelSize: 13
            elide: Text.ElideRight
        }
    }

    ColumnLayout {
        objectName: "savedSummary"
        visible: store.savedBytes > 0
        spacing: 0
        Text {
            Layout.alignment: Qt.AlignRight
            text: store.savedText
            color: appearance.text
            font.pixelSize: 20
            font.weight: Font.DemiBold
        }
        Text {
            Layout.alignment: Qt.AlignRight
            text: "saved this session"
            color: appearance.secondaryText
            font.pixelSize: 11
        }
    }
}
