import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import "qrc:/Kelvane/MainViews"

// One job in the tray panel: its recipe's symbol, its name and where it stands.
Item {
    id: row

    required property int index
    required property string title
    required property string jobState
    required property real progress
    required property string doneLabel
    required property string failureLabel
    required property string typeGlyph
    required property color tint
    required property bool hasOutputs

    implicitHeight: line.implicitHeight + 10
    implicitWidth: 308

    RowLayout {
        id: line
        anchors.fill: parent
        anchors.leftMargin: 8
        anchors.rightMargin: 8
        anchors.topMargin: 5
        anchors.bottomMargin: 5
        spacing: 8

        Text {
            Layout.preferredWidth: 18
            text: row.typeGlyph
            font.family: store.iconFont
            font.pixelSize: 16
            color: row.tint
            horizontalAlignment: Text.AlignHCenter
        }
        ColumnLayout {
            Layout.fillWidth: true
            spacing: 2
            Label {
                Layout.fillWidth: true
                text: row.title
                elide: Text.ElideMiddle
                color: appearance.text
                font.pixelSize: 12
            }
            Label {
                Layout.fillWidth: true
                visible: row.jobState !== "running"
                text: row.jobState === "queued" ? "Waiting…"
                    : row.jobState === "done" ? row.doneLabel
                    : row.jobState === "stopped" ? "Stopped" : row.failureLabel
                elide: Text.ElideRight
                color: row.jobState === "failed" ? appearance.failure : appearance.secondaryText
                font.pixelSize: 11
            }
            ProgressBar {
                Layout.fillWidth: true
                visible: row.jobState === "running"
                implicitHeight: 4
                value: row.progress
            }
        }
        ToolButton {
            visible: row.jobState === "done"
            flat: true
            implicitWidth: 24
            implicitHeight: 24
            contentItem: SymbolLabel { symbol: "magnifyingglass"; size: 15; color: appearance.secondaryText }
            onClicked: if (row.hasOutputs) store.jobs.reveal(row.index) // the panel shows the first rows as they are
        }
    }
}
