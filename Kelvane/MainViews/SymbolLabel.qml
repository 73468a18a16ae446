import QtQuick

// One symbol of the icon font, named as the catalogue names it ("photo", "lock.shield").
Text {
    property string symbol
    property real size: 16

    text: store.glyph(symbol)
    font.family: store.iconFont
    font.pixelSize: size
    color: appearance.text
    horizontalAlignment: Text.AlignHCenter
    verticalAlignment: Text.AlignVCenter
    renderType: Text.QtRendering
}
