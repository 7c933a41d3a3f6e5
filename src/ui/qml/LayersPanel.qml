import QtQuick
import QtQuick.Controls
import QtQuick.Layouts

// The layers of Preview, top first: select, show or hide, lock, reorder,
// delete, and group (a group's header hides, locks, renames or ungroups it).
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
            section.property: "groupID"
            section.delegate: Rectangle {
                id: header
                required property string section
                width: list.width
                height: section === "" ? 0 : 26
                visible: section !== ""
                color: theme.window
                RowLayout {
                    anchors.fill: parent
                    anchors.leftMargin: 4
                    Text {
                        text: "Group"
                        color: theme.dim
                        font.pixelSize: 11
                        Layout.fillWidth: true
                        MouseArea { anchors.fill: parent; onDoubleClicked: groupName.openFor(0, "") }
                    }
                    ToolButton { text: "Hide"; font.pixelSize: 10; onClicked: layers.setGroupHidden(header.section, true) }
                    ToolButton { text: "Show"; font.pixelSize: 10; onClicked: layers.setGroupHidden(header.section, false) }
                    ToolButton { text: "Lock"; font.pixelSize: 10; onClicked: layers.setGroupLocked(header.section, true) }
                    ToolButton { text: "Ungroup"; font.pixelSize: 10; onClicked: layers.ungroup(header.section) }
                }
                NameDialog {
                    id: groupName
                    title: "Rename group"
                    onNamed: (row, name) => layers.renameGroup(header.section, name)
                }
            }
            delegate: Rectangle {
                id: row
                required property int index
                required property string layerID
                required property string name
                required property bool hidden
                required property bool locked
                required property bool selected
                required property string groupID
                required property string groupName
                width: list.width
                height: 30
                radius: 3
                color: selected ? theme.selected : theme.raised
                MouseArea {
                    anchors.fill: parent
                    acceptedButtons: Qt.LeftButton | Qt.RightButton
                    onClicked: (mouse) => {
                        layers.select(row.layerID)
                        if (mouse.button === Qt.RightButton) menu.popup()
                    }
                }
                Menu {
                    id: menu
                    MenuItem { text: "Group with the layer below"; enabled: row.index < layers.count - 1; onTriggered: layers.groupWithNext(row.index) }
                    MenuItem { text: "Leave the group"; enabled: row.groupID !== ""; onTriggered: layers.leaveGroup(row.layerID) }
                }
                RowLayout {
                    anchors.fill: parent
                    anchors.leftMargin: 6
                    spacing: 2
                    Text {
                        text: (row.groupID !== "" ? "   " : "") + row.name + (row.groupName !== "" ? "  · " + row.groupName : "")
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
                        objectName: "saveCue" + row.index
                        text: "✨"
                        ToolTip.visible: hovered
                        ToolTip.text: graphics.staging ? "Save this layer back into the cue being edited"
                                                         : "Save this layer as a cue to fire over Program"
                        onClicked: graphics.saveLayerAsCue(row.layerID)
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
