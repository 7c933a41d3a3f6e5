import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Tavorin

// The scene library: live thumbnails with their tally. A click loads to
// Preview, a double click takes; the menu renames, duplicates, moves and deletes.
Rectangle {
    id: root
    property Theme theme: Theme {}
    color: theme.panel

    ColumnLayout {
        anchors.fill: parent
        anchors.margins: theme.gap
        spacing: theme.gap
        RowLayout {
            Label { text: "Scenes"; color: theme.dim; font.bold: true; Layout.fillWidth: true }
            Button {
                objectName: "addSceneButton"
                text: "+ Scene"
                ToolTip.visible: hovered
                ToolTip.text: "A new scene from what Preview shows"
                onClicked: scenes.addFromPreview()
            }
        }
        GridView {
            id: grid
            objectName: "sceneGrid"
            Layout.fillWidth: true
            Layout.fillHeight: true
            clip: true
            cellWidth: 176
            cellHeight: 118
            model: scenes
            delegate: Rectangle {
                id: cell
                required property int index
                required property string sceneID
                required property string name
                required property bool onProgram
                required property bool onPreview
                objectName: "scene" + index
                width: grid.cellWidth - theme.gap
                height: grid.cellHeight - theme.gap
                color: theme.raised
                border.width: 3
                border.color: onProgram ? theme.program : onPreview ? theme.preview : theme.line
                radius: 4
                Monitor {
                    anchors { left: parent.left; right: parent.right; top: parent.top; margins: 4 }
                    height: width * 9 / 16
                    canvas: cell.sceneID
                }
                Text {
                    anchors { left: parent.left; right: parent.right; bottom: parent.bottom; margins: 4 }
                    text: (cell.index < 9 ? (cell.index + 1) + "  " : "") + cell.name
                    color: theme.text
                    elide: Text.ElideRight
                    font.pixelSize: 12
                }
                MouseArea {
                    anchors.fill: parent
                    acceptedButtons: Qt.LeftButton | Qt.RightButton
                    onClicked: (mouse) => {
                        if (mouse.button === Qt.RightButton) menu.popup()
                        else scenes.load(cell.index)
                    }
                    onDoubleClicked: (mouse) => { if (mouse.button === Qt.LeftButton) scenes.take(cell.index) }
                }
                Menu {
                    id: menu
                    MenuItem { text: "Rename…"; onTriggered: renameDialog.openFor(cell.index, cell.name) }
                    MenuItem { text: "Duplicate"; onTriggered: scenes.duplicate(cell.index) }
                    MenuItem { text: "Move left"; enabled: cell.index > 0; onTriggered: scenes.move(cell.index, cell.index - 1) }
                    MenuItem { text: "Move right"; enabled: cell.index < scenes.count - 1; onTriggered: scenes.move(cell.index, cell.index + 1) }
                    MenuItem { text: "Delete…"; onTriggered: deleteDialog.openFor(cell.index, cell.name) }
                }
            }
        }
    }

    NameDialog {
        id: renameDialog
        title: "Rename scene"
        onNamed: (row, name) => scenes.rename(row, name)
    }
    ConfirmDialog {
        id: deleteDialog
        verb: "Delete scene"
        onConfirmed: (row) => scenes.remove(row)
    }
}
