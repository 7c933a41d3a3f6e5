import QtQuick
import QtQuick.Controls
import QtQuick.Dialogs
import QtQuick.Layouts
import QtQml.Models
import Tavorin

// Every source with its picture, kind and state. Drag one onto Preview to add
// a layer; drop picture and video files here to add them.
Rectangle {
    id: root
    property Theme theme: Theme {}
    color: theme.panel

    ColumnLayout {
        anchors.fill: parent
        anchors.margins: theme.gap
        spacing: theme.gap
        RowLayout {
            Label { text: "Sources"; color: theme.dim; font.bold: true; Layout.fillWidth: true }
            Button {
                objectName: "addSourceButton"
                text: "+ Source"
                ToolTip.visible: hovered
                ToolTip.text: "Add a camera, a screen, a media file, a picture, a title, a shape, an overlay or a web page"
                onClicked: addMenu.popup()
                Menu {
                    id: addMenu
                    MenuItem { objectName: "addCameraItem"; text: "Camera…"; onTriggered: captureDialog.openOn("camera") }
                    MenuItem { text: "Screen or window…"; onTriggered: captureDialog.openOn("display") }
                    MenuItem { text: "Media file…"; onTriggered: clipDialog.open() }
                    MenuItem { objectName: "addRTSPItem"; text: "Network camera (RTSP)…"; onTriggered: rtspDialog.open() }
                    MenuItem { objectName: "addTitleItem"; text: "Title"; onTriggered: titleEditor.edit(titles.addText()) }
                    MenuItem { text: "Shape"; onTriggered: titleEditor.edit(titles.addShape(0)) }
                    MenuItem { text: "Picture file…"; onTriggered: fileDialog.open() }
                    MenuItem { text: "Black"; onTriggered: sources.addBlack() }
                    MenuItem { objectName: "addOverlayItem"; text: "Overlay…"; onTriggered: overlayLibrary.open() }
                    MenuItem { objectName: "addBrowserItem"; text: "Web page…"; onTriggered: browserDialog.open() }
                }
            }
        }
        Repeater {
            model: capture.warnings
            Label {
                required property string modelData
                Layout.fillWidth: true
                text: "⚠ " + modelData
                wrapMode: Text.Wrap
                color: theme.pending
                font.pixelSize: 11
            }
        }
        ListView {
            id: list
            objectName: "sourceList"
            Layout.fillWidth: true
            Layout.fillHeight: true
            clip: true
            spacing: 2
            model: sources
            delegate: Rectangle {
                id: row
                required property int index
                required property string sourceID
                required property string name
                required property string kind
                required property string state
                width: list.width
                height: 48
                color: dragArea.drag.active ? theme.selected : theme.raised
                radius: 3
                // What a drag carries onto Preview; it follows the pointer, the row stays.
                Item {
                    id: proxy
                    property string sourceID: row.sourceID
                    width: 1; height: 1
                    Drag.active: dragArea.drag.active
                    Drag.keys: ["application/x-tavorin-source"]
                }
                Monitor {
                    id: thumb
                    anchors { left: parent.left; verticalCenter: parent.verticalCenter; margins: 4 }
                    width: 64; height: 36
                    // A camera publishes 30 pictures a second; a thumbnail needs two.
                    pollInterval: 500
                    canvas: "source:" + row.sourceID
                }
                Column {
                    anchors { left: thumb.right; right: parent.right; verticalCenter: parent.verticalCenter; margins: 6 }
                    Text { text: row.name; color: theme.text; elide: Text.ElideRight; width: parent.width; font.pixelSize: 12 }
                    Row {
                        spacing: 4
                        Rectangle {
                            width: 8; height: 8; radius: 4
                            anchors.verticalCenter: parent.verticalCenter
                            color: row.state === "running" ? theme.preview : row.state === "failed" ? theme.program : theme.pending
                        }
                        Text { text: row.kind + " · " + row.state; color: theme.dim; font.pixelSize: 10 }
                    }
                }
                MouseArea {
                    id: dragArea
                    anchors.fill: parent
                    acceptedButtons: Qt.LeftButton | Qt.RightButton
                    drag.target: proxy
                    onPressed: (mouse) => { proxy.x = mouse.x; proxy.y = mouse.y }
                    onReleased: {
                        if (drag.active) proxy.Drag.drop()
                        proxy.x = 0; proxy.y = 0
                    }
                    onClicked: (mouse) => { if (mouse.button === Qt.RightButton) menu.popup() }
                }
                Menu {
                    id: menu
                    MenuItem { text: "Rename…"; onTriggered: renameDialog.openFor(row.index, row.name) }
                    MenuItem { text: "Restart"; onTriggered: sources.restart(row.index) }
                    MenuItem { text: "Make a cue"; onTriggered: graphics.newFromSource(row.sourceID) }
                    MenuItem {
                        text: "Edit design…"
                        enabled: titles.isTitle(row.sourceID)
                        height: enabled ? implicitHeight : 0
                        onTriggered: titleEditor.edit(row.sourceID)
                    }
                    MenuItem {
                        text: "Edit clip…"
                        enabled: clips.isClip(row.sourceID)
                        height: enabled ? implicitHeight : 0
                        onTriggered: clipEditor.edit(row.sourceID)
                    }
                    Menu {
                        id: qualityMenu
                        title: "Capture quality"
                        enabled: capture.quality(row.sourceID) >= 0
                        Instantiator {
                            model: capture.qualities
                            delegate: MenuItem {
                                required property string modelData
                                required property int index
                                text: modelData
                                checkable: true
                                checked: capture.quality(row.sourceID) === index
                                onTriggered: capture.setQuality(row.sourceID, index)
                            }
                            onObjectAdded: (index, item) => qualityMenu.insertItem(index, item)
                            onObjectRemoved: (index, item) => qualityMenu.removeItem(item)
                        }
                    }
                    MenuItem {
                        text: web.webKind(row.sourceID) === "browser" ? "Web page…" : "Edit overlay…"
                        enabled: web.webKind(row.sourceID) !== ""
                        height: enabled ? implicitHeight : 0
                        onTriggered: webEditor.edit(row.sourceID)
                    }
                    MenuItem { text: "Delete…"; onTriggered: deleteDialog.openFor(row.index, row.name) }
                }
            }
        }
    }

    DropArea {
        anchors.fill: parent
        onDropped: (drop) => {
            if (!drop.hasUrls) return
            // Moving pictures become clips; anything else is tried as a still.
            for (const url of drop.urls) {
                if (/\.(mov|mp4|m4v|mkv|webm|avi|mxf|mts|ts)$/i.test(url.toString())) clips.add(url)
                else sources.addImage(url)
            }
            drop.accept()
        }
    }
    AddCaptureDialog { id: captureDialog; theme: root.theme }
    ClipEditor { id: clipEditor; theme: root.theme }
    WebSourceEditor { id: webEditor; theme: root.theme }
    OverlayLibraryDialog { id: overlayLibrary; theme: root.theme; onAdded: (id) => webEditor.edit(id) }
    AddRTSPDialog { id: rtspDialog; theme: root.theme }
    AddBrowserDialog { id: browserDialog; theme: root.theme; onAdded: (id) => webEditor.edit(id) }
    TitleEditor { id: titleEditor; theme: root.theme }
    FileDialog {
        id: clipDialog
        title: "Add a media file"
        nameFilters: ["Video (*.mov *.mp4 *.m4v *.mkv *.webm *.avi *.mxf *.mts *.ts)", "All files (*)"]
        onAccepted: {
            const id = clips.add(selectedFile)
            if (id !== "") clipEditor.edit(id)
        }
    }
    FileDialog {
        id: fileDialog
        title: "Add a picture"
        nameFilters: ["Pictures (*.png *.jpg *.jpeg *.webp *.bmp *.gif *.tif *.tiff)"]
        onAccepted: sources.addImage(selectedFile)
    }
    NameDialog {
        id: renameDialog
        title: "Rename source"
        onNamed: (row, name) => sources.rename(row, name)
    }
    ConfirmDialog {
        id: deleteDialog
        verb: "Delete source"
        onConfirmed: (row) => sources.remove(row)
    }
}
