import QtQuick
import QtQuick.Controls
import QtQuick.Dialogs
import QtQuick.Layouts
import Tavorin

// The overlay library: new ones from the starter designs or from an HTML
// file, each added to the show, duplicated, renamed or deleted.
Dialog {
    id: root
    property Theme theme: Theme {}
    // Opens the editor of a source just added.
    signal added(string sourceID)
    title: "Overlays"
    modal: false
    anchors.centerIn: Overlay.overlay
    width: Math.min(520, Overlay.overlay ? Overlay.overlay.width - 40 : 520)
    height: Math.min(480, Overlay.overlay ? Overlay.overlay.height - 40 : 480)
    standardButtons: Dialog.Close

    function addedSource(id) {
        if (id === "") return
        root.close()
        root.added(id)
    }

    ColumnLayout {
        anchors.fill: parent
        spacing: theme.gap
        RowLayout {
            Button {
                objectName: "newOverlayButton"
                text: "+ New from design"
                ToolTip.visible: hovered
                ToolTip.text: "Add a ready-made overlay to the library, the show and the scene being edited"
                onClicked: starterMenu.popup()
                Menu {
                    id: starterMenu
                    Instantiator {
                        model: web.starters
                        delegate: MenuItem {
                            required property string modelData
                            required property int index
                            objectName: "starter" + index
                            text: modelData
                            onTriggered: root.addedSource(web.addStarter(index))
                        }
                        onObjectAdded: (index, item) => starterMenu.insertItem(index, item)
                        onObjectRemoved: (index, item) => starterMenu.removeItem(item)
                    }
                }
            }
            Button {
                text: "Import…"
                ToolTip.visible: hovered
                ToolTip.text: "Copy an HTML overlay into the library"
                onClicked: importDialog.open()
            }
            Item { Layout.fillWidth: true }
        }
        Label {
            visible: web.overlays.length === 0
            text: "The library is empty. Pick a design above or import an HTML file."
            color: theme.dim
            wrapMode: Text.Wrap
            Layout.fillWidth: true
        }
        ListView {
            id: list
            objectName: "overlayLibrary"
            Layout.fillWidth: true
            Layout.fillHeight: true
            clip: true
            spacing: 2
            model: web.overlays
            delegate: Rectangle {
                id: row
                required property var modelData
                required property int index
                width: list.width
                height: 40
                radius: 3
                color: theme.raised
                RowLayout {
                    anchors.fill: parent
                    anchors.margins: 6
                    Label { text: row.modelData.name; color: theme.text; elide: Text.ElideRight; Layout.fillWidth: true }
                    Button {
                        objectName: "addOverlay" + row.index
                        text: "Add to show"
                        onClicked: root.addedSource(web.addOverlay(row.modelData.id))
                    }
                    Button {
                        text: "⋯"
                        ToolTip.visible: hovered
                        ToolTip.text: "Make a cue, duplicate, rename or delete"
                        onClicked: itemMenu.popup()
                        Menu {
                            id: itemMenu
                            MenuItem { text: "Make a cue"; onTriggered: { graphics.newFromOverlay(row.modelData.id); root.close() } }
                            MenuItem { text: "Duplicate"; onTriggered: web.duplicateOverlay(row.modelData.id) }
                            MenuItem { text: "Rename…"; onTriggered: renameDialog.openFor(row.index, row.modelData.name) }
                            MenuItem { text: "Delete…"; onTriggered: deleteDialog.openFor(row.index, row.modelData.name) }
                        }
                    }
                }
            }
        }
    }
    FileDialog {
        id: importDialog
        title: "Import an overlay"
        nameFilters: ["HTML (*.html *.htm)", "All files (*)"]
        onAccepted: web.importOverlay(selectedFile)
    }
    NameDialog {
        id: renameDialog
        title: "Rename overlay"
        onNamed: (row, name) => web.renameOverlay(web.overlays[row].id, name)
    }
    ConfirmDialog {
        id: deleteDialog
        verb: "Delete overlay"
        onConfirmed: (row) => web.deleteOverlay(web.overlays[row].id)
    }
}
