import QtQuick
import QtQuick.Controls
import QtQuick.Layouts

// One job: what it converts, where it stands, what came out, and what can be done with it.
Rectangle {
    id: row

    required property int index
    required property string title
    required property string jobState
    required property real progress
    required property string percentText
    required property string doneLabel
    required property string failureLabel
    required property string sizeLine
    required property string typeGlyph
    required property color tint
    required property bool fromDock
    required property bool removable
    required property bool hasOutputs

    property bool selected: false
    readonly property bool hovering: hover.hovered
    signal picked()

    objectName: "job-" + index
    implicitHeight: content.implicitHeight + 22
    radius: 10
    color: hovering ? Qt.tint(appearance.card, appearance.hover) : appearance.card
    border.width: selected ? 1.5 : 0.5
    border.color: selected ? appearance.accent : appearance.cardBorder

    HoverHandler { id: hover }
    TapHandler {
        acceptedButtons: Qt.LeftButton | Qt.RightButton
        onTapped: (point, button) => {
            row.picked()
            if (button === Qt.RightButton)
                menu.popup()
        }
    }

    component RowButton: ToolButton {
        id: button
        property string symbol
        property string tip
        implicitWidth: 30
        implicitHeight: 30
        contentItem: SymbolLabel { symbol: button.symbol; size: 18; color: appearance.secondaryText }
        background: Rectangle {
            radius: 6
            color: button.down ? appearance.selection
                 : (button.hovered || button.visualFocus) ? appearance.hover : "transparent"
            border.width: button.visualFocus ? 1.5 : 0
            border.color: appearance.accent
        }
        ToolTip.visible: hovered
        ToolTip.delay: 600
        ToolTip.text: tip
    }

    RowLayout {
        id: content
        anchors.fill: parent
        anchors.leftMargin: 14
        anchors.rightMargin: 14
        anchors.topMargin: 11
        anchors.bottomMargin: 11
        spacing: 12

        Text {
            text: row.typeGlyph
            font.family: store.iconFont
            font.pixelSize: 28
            color: row.tint
            Layout.alignment: Qt.AlignVCenter
        }

        ColumnLayout {
            Layout.fillWidth: true
            spacing: 4

            RowLayout {
                Layout.fillWidth: true
                spacing: 6
                Text {
                    objectName: "jobTitle"
                    Layout.fillWidth: !row.fromDock
                    text: row.title
                    color: appearance.text
                    font.pixelSize: 13
                    font.weight: Font.DemiBold
                    elide: Text.ElideMiddle
                }
                Rectangle {
                    visible: row.fromDock
                    implicitWidth: 14 + 14
                    implicitHeight: 14 + 4
                    radius: height / 2
                    color: Qt.rgba(row.tint.r, row.tint.g, row.tint.b, 0.14)
                    SymbolLabel { anchors.centerIn: parent; symbol: "sidebar.right"; size: 12; color: row.tint }
                    HoverHandler { id: dockTagHover }
                    ToolTip.visible: dockTagHover.hovered
                    ToolTip.text: "Started from the Drop Dock"
                }
                Item { visible: row.fromDock; Layout.fillWidth: true }
            }

            // The status line, by state.
            Text {
                objectName: "waitingLine"
                visible: row.jobState === "queued"
                Layout.fillWidth: true
                text: "Waiting…"
                color: appearance.secondaryText
                font.pixelSize: 12
            }
            RowLayout {
                visible: row.jobState === "running"
                Layout.fillWidth: true
                spacing: 8
                Rectangle {
                    Layout.preferredWidth: Math.min(260, content.width - 110)
                    Layout.preferredHeight: 6
                    radius: 3
                    color: appearance.separator
                    Rectangle {
                        width: parent.width * Math.max(0, Math.min(1, row.progress))
                        height: parent.height
                        radius: 3
                        color: row.tint
                        Behavior on width { NumberAnimation { duration: 120 } }
                    }
                }
                Text {
                    objectName: "percentLine"
                    text: row.percentText
                    color: appearance.secondaryText
                    font.pixelSize: 12
                }
                Item { Layout.fillWidth: true }
            }
            // The result's name, then its sizes, which move to a line of their own when
            // both do not fit; the name elides only when it is longer than the whole row.
            ColumnLayout {
                id: doneRow
                visible: row.jobState === "done"
                Layout.fillWidth: true
                spacing: 2
                readonly property bool sizesBelow: doneMark.width + doneName.implicitWidth
                    + dot.implicitWidth + sizeInline.implicitWidth + 15 > width
                // Takes the column's width rather than asking for its own, which would
                // follow the name's elided width and so shrink the name further.
                Row {
                    Layout.fillWidth: true
                    Layout.preferredWidth: 0
                    spacing: 5
                    SymbolLabel {
                        id: doneMark
                        symbol: "checkmark.circle.fill"
                        size: 14
                        color: appearance.success
                        anchors.verticalCenter: parent.verticalCenter
                    }
                    Text {
                        id: doneName
                        objectName: "doneLine"
                        width: Math.min(implicitWidth, doneRow.width - doneMark.width - 5)
                        text: row.doneLabel
                        color: appearance.text
                        font.pixelSize: 12
                        elide: Text.ElideMiddle
                    }
                    Text {
                        id: dot
                        visible: !doneRow.sizesBelow
                        text: "·"
                        color: appearance.secondaryText
                        font.pixelSize: 12
                    }
                    Text {
                        id: sizeInline
                        objectName: doneRow.sizesBelow ? "" : "sizeLine"
                        visible: !doneRow.sizesBelow
                        text: row.sizeLine
                        color: appearance.secondaryText
                        font.pixelSize: 12
                    }
                }
                Text {
                    objectName: doneRow.sizesBelow ? "sizeLine" : ""
                    visible: doneRow.sizesBelow
                    leftPadding: doneMark.width + 5
                    text: row.sizeLine
                    color: appearance.secondaryText
                    font.pixelSize: 12
                }
            }
            Text {
                objectName: "stoppedLine"
                visible: row.jobState === "stopped"
                Layout.fillWidth: true
                text: "Stopped"
                color: appearance.secondaryText
                font.pixelSize: 12
            }
            RowLayout {
                visible: row.jobState === "failed"
                Layout.fillWidth: true
                spacing: 5
                SymbolLabel { symbol: "exclamationmark.triangle.fill"; size: 14; color: appearance.failure }
                Text {
                    objectName: "failureLine"
                    Layout.fillWidth: true
                    text: row.failureLabel
                    color: appearance.secondaryText
                    font.pixelSize: 12
                    elide: Text.ElideRight
                }
            }
        }

        // The trailing control, by state.
        SymbolLabel {
            visible: row.jobState === "queued"
            symbol: "clock"
            size: 16
            color: appearance.secondaryText
        }
        RowButton {
            objectName: "stopButton"
            visible: row.jobState === "running"
            symbol: "stop.circle"
            tip: "Stop"
            onClicked: store.jobs.stop(row.index)
        }
        RowButton {
            objectName: "openButton"
            visible: row.jobState === "done"
            symbol: "arrow.up.forward.app"
            tip: "Open"
            onClicked: store.jobs.open(row.index)
        }
        RowButton {
            objectName: "revealButton"
            visible: row.jobState === "done"
            symbol: "magnifyingglass"
            tip: "Show in Folder"
            onClicked: store.jobs.reveal(row.index)
        }
        Button {
            id: retryButton
            objectName: "retryButton"
            visible: row.jobState === "failed" || row.jobState === "stopped"
            text: "Try Again"
            onClicked: store.jobs.retry(row.index)
            font.pixelSize: 12
        }
    }

    // The colours are set on each item: a menu's items do not follow later changes of the
    // window's palette, and its palette gives disabled items the enabled colour.
    component JobMenuItem: MenuItem {
        palette.text: enabled ? appearance.text
                              : Qt.rgba(appearance.secondaryText.r, appearance.secondaryText.g,
                                        appearance.secondaryText.b, 0.5)
    }

    Menu {
        id: menu
        objectName: "jobMenu"
        JobMenuItem {
            objectName: "menuOpen"
            text: "Open"
            visible: row.jobState === "done"
            height: visible ? implicitHeight : 0
            onTriggered: store.jobs.open(row.index)
        }
        JobMenuItem {
            objectName: "menuReveal"
            text: "Show in Folder"
            visible: row.jobState === "done"
            height: visible ? implicitHeight : 0
            onTriggered: store.jobs.reveal(row.index)
        }
        JobMenuItem {
            objectName: "menuRetry"
            text: "Try Again"
            visible: row.jobState === "failed" || row.jobState === "stopped"
            height: visible ? implicitHeight : 0
            onTriggered: store.jobs.retry(row.index)
        }
        JobMenuItem {
            objectName: "menuStop"
            text: "Stop"
            visible: row.jobState === "running"
            height: visible ? implicitHeight : 0
            onTriggered: store.jobs.stop(row.index)
        }
        JobMenuItem {
            objectName: "menuRemove"
            text: "Remove from Queue"
            enabled: row.removable
            onTriggered: store.jobs.remove(row.index)
        }
    }
}
