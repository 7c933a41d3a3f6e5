import QtQuick
import QtQuick.Controls
import QtQuick.Layouts

// Going live: each saved destination with its state and health, live or off
// one by one or all together, added and edited in the destination editor.
Popup {
    id: root
    property Theme theme: Theme {}
    width: 480
    height: Math.min(420, implicitHeight)
    padding: 10
    // Stays open while its own dialogs are used; Escape or × closes it.
    closePolicy: Popup.CloseOnEscape
    background: Rectangle { color: theme.panel; border.color: theme.line; radius: 4 }

    ColumnLayout {
        anchors.fill: parent
        spacing: theme.gap
        RowLayout {
            Label { text: "Destinations"; color: theme.text; font.bold: true; Layout.fillWidth: true }
            Button {
                objectName: "goLiveAllButton"
                text: streams.anyActive ? "Stop all" : "Go live: all"
                enabled: streams.count > 0
                palette.button: streams.anyActive ? theme.program : theme.raised
                onClicked: streams.anyActive ? streams.stopAll() : streams.goLiveAll()
            }
            Button { objectName: "addDestinationButton"; text: "+ Destination"; onClicked: editor.edit("") }
            ToolButton { text: "×"; onClicked: root.close() }
        }
        Label {
            visible: streams.count === 0
            text: "No destinations yet: add one with its server and stream key"
            color: theme.dim
        }
        ListView {
            id: list
            Layout.fillWidth: true
            // From the count, not the content: a view with no height makes no rows to measure.
            Layout.preferredHeight: Math.min(streams.count * 58, 300)
            clip: true
            spacing: 4
            model: streams
            delegate: Rectangle {
                id: row
                required property int index
                required property string destinationID
                required property string name
                required property string platformName
                required property string qualityText
                required property bool vertical
                required property string state
                required property string stateText
                required property bool active
                required property string healthText
                objectName: "destination" + index
                width: list.width
                height: 54
                radius: 3
                color: theme.raised
                border.color: state === "live" ? theme.program : state === "error" ? theme.pending : "transparent"
                RowLayout {
                    anchors.fill: parent
                    anchors.margins: 6
                    ColumnLayout {
                        Layout.fillWidth: true
                        spacing: 1
                        Label {
                            text: row.name + "  ·  " + row.platformName + (row.vertical ? "  ·  vertical" : "")
                            color: theme.text
                            font.bold: true
                            elide: Text.ElideRight
                            Layout.fillWidth: true
                        }
                        Label {
                            objectName: "stateText"
                            text: row.stateText + (row.healthText !== "" ? "  ·  " + row.healthText : "  ·  " + row.qualityText)
                            color: row.state === "live" ? theme.program : row.state === "error" ? theme.pending : theme.dim
                            font.pixelSize: 11
                            elide: Text.ElideRight
                            Layout.fillWidth: true
                        }
                    }
                    Button {
                        objectName: "liveToggle"
                        text: row.active ? "Stop" : "Go live"
                        palette.button: row.active ? theme.program : theme.raised
                        onClicked: streams.toggle(row.destinationID)
                    }
                    ToolButton { text: "Edit"; enabled: !row.active; onClicked: editor.edit(row.destinationID) }
                    ToolButton { text: "×"; enabled: !row.active; onClicked: streams.remove(row.destinationID) }
                }
            }
        }
    }

    DestinationEditor { id: editor; theme: root.theme }
}
