import QtQuick
import QtQuick.Controls
import QtQuick.Layouts

// The cues: each fired over Program with one press and hidden with the next,
// red while on air and amber while it leaves. New cues come from an overlay
// of the library or a source of the show, or from a layer's ✨.
Rectangle {
    id: root
    property Theme theme: Theme {}
    color: theme.panel

    ColumnLayout {
        anchors.fill: parent
        anchors.margins: theme.gap
        spacing: theme.gap
        RowLayout {
            spacing: 4
            Label { text: "Graphics"; color: theme.dim; font.bold: true; Layout.fillWidth: true; elide: Text.ElideRight }
            Button {
                objectName: "newCue"
                text: "+ Cue"
                font.pixelSize: 11
                padding: 4
                leftPadding: 8
                rightPadding: 8
                implicitWidth: implicitContentWidth + leftPadding + rightPadding
                implicitHeight: 26
                ToolTip.visible: hovered
                ToolTip.text: "A new cue of an overlay or a source"
                onClicked: newMenu.popup()
                Menu {
                    id: newMenu
                    Menu {
                        id: overlayMenu
                        objectName: "newCueOverlayMenu"
                        title: "Overlay"
                        Instantiator {
                            model: newMenu.visible ? graphics.overlayChoices() : []
                            delegate: MenuItem {
                                required property var modelData
                                text: modelData.name
                                onTriggered: graphics.newFromOverlay(modelData.id)
                            }
                            onObjectAdded: (index, object) => overlayMenu.insertItem(index, object)
                            onObjectRemoved: (index, object) => overlayMenu.removeItem(object)
                        }
                    }
                    Menu {
                        id: sourceMenu
                        title: "Source"
                        Instantiator {
                            model: newMenu.visible ? graphics.sourceChoices() : []
                            delegate: MenuItem {
                                required property var modelData
                                text: modelData.name
                                onTriggered: graphics.newFromSource(modelData.id)
                            }
                            onObjectAdded: (index, object) => sourceMenu.insertItem(index, object)
                            onObjectRemoved: (index, object) => sourceMenu.removeItem(object)
                        }
                    }
                }
            }
        }
        Label {
            visible: graphics.cues.length === 0
            Layout.fillWidth: true
            wrapMode: Text.WordWrap
            text: "No cues yet. Make one from an overlay or a source with + Cue, or place a layer on the canvas and press ✨ in its row."
            color: theme.dim
            font.pixelSize: 11
        }
        ListView {
            id: list
            objectName: "cueList"
            Layout.fillWidth: true
            Layout.fillHeight: true
            clip: true
            spacing: 2
            model: graphics.cues
            ScrollBar.vertical: ScrollBar {}
            delegate: Rectangle {
                id: row
                required property var modelData
                required property int index
                readonly property color tally: modelData.onAir ? theme.program : modelData.leaving ? theme.pending : "transparent"
                width: list.width
                height: 34
                radius: 3
                color: theme.raised
                border.color: tally
                border.width: 2
                RowLayout {
                    anchors.fill: parent
                    anchors.leftMargin: 3
                    anchors.rightMargin: 2
                    spacing: 4
                    Button {
                        objectName: "fireCue" + row.index
                        text: row.modelData.onAir ? "HIDE" : "FIRE"
                        enabled: !row.modelData.missing || row.modelData.onAir
                        font.pixelSize: 10
                        font.bold: true
                        implicitWidth: 48
                        implicitHeight: 26
                        palette.button: row.modelData.onAir ? theme.program : theme.line
                        ToolTip.visible: hovered
                        ToolTip.text: row.modelData.onAir ? "Take " + row.modelData.name + " off Program"
                                                          : "Fire " + row.modelData.name + " over Program"
                        onClicked: graphics.fire(row.modelData.id)
                    }
                    ColumnLayout {
                        Layout.fillWidth: true
                        spacing: 0
                        Label {
                            Layout.fillWidth: true
                            text: row.modelData.name
                            color: theme.text
                            font.pixelSize: 12
                            elide: Text.ElideRight
                        }
                        Label {
                            Layout.fillWidth: true
                            text: row.modelData.shows + " · " + row.modelData.autoHide
                            color: row.modelData.missing ? theme.pending : theme.dim
                            font.pixelSize: 9
                            elide: Text.ElideRight
                        }
                    }
                    ToolButton {
                        objectName: "editCue" + row.index
                        text: "✎"
                        implicitWidth: 24
                        implicitHeight: 24
                        ToolTip.visible: hovered
                        ToolTip.text: "Edit the cue"
                        onClicked: editor.edit(row.modelData.id)
                    }
                    ToolButton {
                        text: "✕"
                        implicitWidth: 22
                        implicitHeight: 24
                        ToolTip.visible: hovered
                        ToolTip.text: "Delete the cue"
                        onClicked: deleteDialog.ask(row.modelData.id, row.modelData.name)
                    }
                }
            }
        }
    }

    FireGraphicEditor { id: editor; objectName: "cueEditor"; theme: root.theme }
    // A cue made from a layer or the library opens at once for its moves and timing.
    Connections {
        target: graphics
        function onPendingEditChanged() {
            if (graphics.pendingEdit === "") return
            const id = graphics.pendingEdit
            graphics.clearPendingEdit()
            editor.edit(id)
        }
    }
    ConfirmDialog {
        id: deleteDialog
        verb: "Delete cue"
        property string cueID
        function ask(id, name) { cueID = id; openFor(0, name) }
        onConfirmed: graphics.remove(cueID)
    }
}
