import QtQuick
import QtQuick.Controls
import QtQuick.Layouts

// A menu item that shows its action's shortcut at the right edge.
MenuItem {
    id: item

    contentItem: RowLayout {
        spacing: 28
        Text {
            Layout.fillWidth: true
            leftPadding: item.checkable && item.indicator ? item.indicator.width + item.spacing : 0
            text: item.text.replace("&", "")
            font: item.font
            color: item.highlighted ? item.palette.highlightedText : item.palette.windowText
            opacity: item.enabled ? 1 : 0.45
        }
        Text {
            text: item.action && item.action.shortcut ? item.action.shortcut : ""
            font: item.font
            color: item.highlighted ? item.palette.highlightedText : appearance.secondaryText
            opacity: item.enabled ? 1 : 0.45
        }
    }
}
