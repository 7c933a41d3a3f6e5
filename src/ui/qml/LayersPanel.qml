import QtQuick
import QtQuick.Controls
import QtQuick.Layouts

// The layers of Preview, top first: select, show or hide, lock, reorder, delete.
Rectangle {
    id: root
    property Theme theme: Theme {}
    color: theme.panel

    ColumnLayout {
        anchors.fill: parent
        anchors.margins: theme.gap
        spacing: theme.gap
        Label { text: "Layers"; color: theme.dim; font.bold: true }
        ListView {
            id: list
            objectName: "layerList"
            Layout.fillWidth: true
            Layout.fillHeight: true
            clip: true
            spacing: 2
            model: layers
            delegate: Rectangle {
                id: row
                required property int index
                required property string layerID
                required property string name
                required property bool hidden
                required property bool locked
                required property bool selected
                width: list.width
                height: 30
                radius: 3
                color: selected ? theme.selected : theme.raised
                MouseArea { anchors.fill: parent; onClicked: layers.select(row.layerID) }
                RowLayout {
                    anchors.fill: parent
                    anchors.leftMargin: 6
                    spacing: 2
                    Text {
                        text: row.name
                        color: row.hidden ? theme.dim : theme.text
                        elide: Text.ElideRight
                        Layout.fillWidth: true
                        font.pixelSize: 12
                    }
                    ToolButton {
                        text: "Hide"
                        font.pixelSize: 10
                        checkable: true
                        checked: row.hidden
                        ToolTip.visible: hovered
                        ToolTip.text: row.hidden ? "Show the layer" : "Hide the layer"
                        onClicked: layers.setHidden(row.layerID, !row.hidden)
                    }
                    ToolButton {
                        text: "Lock"
                        font.pixelSize: 10
                        checkable: true
                        checked: row.locked
                        ToolTip.visible: hovered
                        ToolTip.text: row.locked ? "Unlock: the mouse moves it again" : "Lock: the mouse leaves it where it is"
                        onClicked: layers.setLocked(row.layerID, !row.locked)
                    }
                    ToolButton {
                        text: "▲"
                        enabled: row.index > 0
                        ToolTip.visible: hovered
                        ToolTip.text: "Raise"
                        onClicked: layers.move(row.index, row.index - 1)
                    }
                    ToolButton {
                        text: "▼"
                        enabled: row.index < layers.count - 1
                        ToolTip.visible: hovered
                        ToolTip.text: "Lower"
                        onClicked: layers.move(row.index, row.index + 1)
                    }
                    ToolButton {
                        text: "✕"
                        ToolTip.visible: hovered
                        ToolTip.text: "Delete layer"
                        onClicked: layers.remove(row.layerID)
                    }
                }
            }
        }
    }
}
