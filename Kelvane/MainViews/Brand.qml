import QtQuick

// The application's own mark: its symbol on a tile in the brand's two colours.
GlyphTile {
    glyph: store.glyph("wand.and.stars")
    firstColor: store.brandFirst
    secondColor: store.brandSecond
}
