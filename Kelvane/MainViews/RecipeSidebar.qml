import QtQuick
import QtQuick.Controls
import QtQuick.Layouts

// Every recipe, one section per group. Choosing a row (pointer, or arrow keys once the
// list has focus) makes it the store's recipe.
Rectangle {
    id: sidebar

    color: appearance.sidebar

    function choose(row) {
        const raw = store.recipes.rawValueAt(row)
        if (raw.length > 0)
            store.recipe = raw
    }

    ColumnLayout {
        anchors.fill: parent
        spacing: 0

        ListView {
            id: list
            objectName: "recipeList"
            Layout.fillWidth: true
            Layout.fillHeight: true
            clip: true
            focus: true
            activeFocusOnTab: true
            keyNavigationEnabled: false
            boundsBehavior: Flickable.StopAtBounds
            topMargin: 8
            bottomMargin: 8
            model: store.recipes
            currentIndex: store.recipes.rowOf(store.recipe)
            highlightMoveDuration: 0
            ScrollBar.vertical: ScrollBar { policy: ScrollBar.AsNeeded }

            Keys.onUpPressed: sidebar.choose(Math.max(0, currentIndex - 1))
            Keys.onDownPressed: sidebar.choose(Math.min(count - 1, currentIndex + 1))
            Keys.onPressed: (event) => {
                if (event.key === Qt.Key_Home) { sidebar.choose(0); event.accepted = true }
                else if (event.key === Qt.Key_End) { sidebar.choose(count - 1); event.accepted = true }
            }

            section.property: "groupTitle"
            section.criteria: ViewSection.FullString
            section.delegate: Item {
                id: sectionHeader
                required property string section
                width: ListView.view.width
                height: 34
                Row {
                    anchors.left: parent.left
                    anchors.leftMargin: 18
                    anchors.bottom: parent.bottom
                    anchors.bottomMargin: 6
                    spacing: 6
                    SymbolLabel {
                        text: store.recipes.groupGlyph(sectionHeader.section)
                        size: 14
                        color: appearance.secondaryText
                        anchors.verticalCenter: parent.verticalCenter
                    }
                    Text {
                        text: sectionHeader.section
                        color: appearance.secondaryText
                        font.pixelSize: 11
                        font.weight: Font.Bold
                        anchors.verticalCenter: parent.verticalCenter
                    }
                }
            }

            delegate: Item {
                id: row
                required property int index
                required property string rawValue
                required property string title
                required property string glyph
                required property color firstColor
                required property color secondColor
                readonly property bool selected: ListView.isCurrentItem

                objectName: "recipe-" + rawValue
                width: ListView.view.width
                height: 32

                Rectangle {
                    anchors.fill: parent
                    anchors.leftMargin: 10
                    anchors.rightMargin: 10
                    radius: 7
                    color: row.selected ? appearance.selection
                         : hover.hovered ? appearance.hover : "transparent"
                    border.width: row.selected && list.activeFocus ? 1 : 0
                    border.color: appearance.accent
                }

                Row {
                    anchors.left: parent.left
                    anchors.leftMargin: 18
                    anchors.verticalCenter: parent.verticalCenter
                    spacing: 9
                    GlyphTile {
                        size: 20
                        glyph: row.glyph
                        firstColor: row.firstColor
                        secondColor: row.secondColor
                        anchors.verticalCenter: parent.verticalCenter
                    }
                    Text {
                        text: row.title
                        color: appearance.text
                        font.pixelSize: 13
                        font.weight: row.selected ? Font.DemiBold : Font.Normal
                        anchors.verticalCenter: parent.verticalCenter
                    }
                }

                HoverHandler { id: hover }
                TapHandler {
                    onTapped: {
                        list.forceActiveFocus()
                        sidebar.choose(row.index)
                    }
                }
            }
        }

        DockStatus {
            objectName: "dockStatusSlot"
            Layout.fillWidth: true
            Layout.margins: 10
        }
    }
}
