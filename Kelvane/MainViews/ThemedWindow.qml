import QtQuick
import QtQuick.Controls

// Every window of the application: its colours and its controls' palette come from the one
// shared appearance, so a forced appearance reaches all windows at once.
ApplicationWindow {
    color: appearance.window

    palette.window: appearance.window
    palette.windowText: appearance.text
    palette.base: appearance.control
    palette.alternateBase: appearance.sidebar
    palette.text: appearance.text
    palette.button: appearance.control
    palette.buttonText: appearance.text
    palette.brightText: appearance.text
    palette.highlight: appearance.accent
    palette.highlightedText: appearance.highlightedText
    palette.placeholderText: appearance.secondaryText
    palette.light: appearance.bevelLight
    palette.midlight: appearance.bevelMidlight
    palette.mid: appearance.separator
    palette.dark: appearance.bevelDark
    palette.shadow: "#000000"
    palette.toolTipBase: appearance.card
    palette.toolTipText: appearance.text
}
