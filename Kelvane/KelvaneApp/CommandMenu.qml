import QtQuick
import QtQuick.Controls

// A menu as wide as its widest item, shortcut included.
Menu {
    id: menu

    width: {
        let widest = 200
        for (let i = 0; i < menu.count; ++i) {
            const item = menu.itemAt(i)
            if (item)
                widest = Math.max(widest, item.implicitWidth)
        }
        return widest + menu.leftPadding + menu.rightPadding
    }
}
