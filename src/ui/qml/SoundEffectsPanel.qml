import QtQuick
import QtQuick.Controls
import QtQuick.Dialogs
import QtQuick.Layouts

// The sound-effects library: built-ins first, then imported files. Each plays
// through the mixer's Sound FX channel with a tally while it is heard; audio
// files dropped here or picked with Import… join the library.
Rectangle {
    id: root
    property Theme theme: Theme {}
    color: theme.panel
    readonly property string audioFiles: "*.mp3 *.m4a *.aac *.wav *.flac *.ogg *.opus *.aif *.aiff"

    ColumnLayout {
        anchors.fill: parent
        anchors.margins: theme.gap
        spacing: theme.gap
        RowLayout {
            spacing: 4
            Label { text: "Sound effects"; color: theme.dim; font.bold: true; Layout.fillWidth: true; elide: Text.ElideRight }
            BusyIndicator {
                visible: soundEffects.importing > 0
                running: visible
                Layout.preferredWidth: 20
                Layout.preferredHeight: 20
                ToolTip.visible: visible && importHover.hovered
                ToolTip.text: "Importing…"
                HoverHandler { id: importHover }
            }
            Button {
                objectName: "sfxImport"
                text: "Import…"
                font.pixelSize: 11
                padding: 4
                leftPadding: 8
                rightPadding: 8
                // Sized by its text: the panel is narrow.
                implicitWidth: implicitContentWidth + leftPadding + rightPadding
                implicitHeight: 26
                ToolTip.visible: hovered
                ToolTip.text: "Add audio files to the library"
                onClicked: importDialog.open()
            }
            Button {
                objectName: "sfxStopAll"
                text: "Stop all"
                font.pixelSize: 11
                padding: 4
                leftPadding: 8
                rightPadding: 8
                // Sized by its text: the panel is narrow.
                implicitWidth: implicitContentWidth + leftPadding + rightPadding
                implicitHeight: 26
                palette.button: soundEffects.playing ? theme.program : theme.raised
                ToolTip.visible: hovered
                ToolTip.text: "Stop every sound effect, a loop too"
                onClicked: soundEffects.stopAll()
            }
        }
        ListView {
            id: list
            objectName: "sfxList"
            Layout.fillWidth: true
            Layout.fillHeight: true
            clip: true
            spacing: 2
            model: soundEffects
            ScrollBar.vertical: ScrollBar {}
            delegate: Rectangle {
                id: row
                required property int index
                required property string soundID
                required property string name
                required property bool builtin
                readonly property bool heard: soundEffects.playingID === soundID
                width: list.width
                height: 28
                radius: 3
                color: theme.raised
                border.color: heard ? theme.program : "transparent"
                RowLayout {
                    anchors.fill: parent
                    anchors.leftMargin: 2
                    anchors.rightMargin: 2
                    spacing: 4
                    ToolButton {
                        objectName: "sfxPlay_" + row.name
                        text: "▶"
                        implicitWidth: 26
                        implicitHeight: 24
                        background: Rectangle { radius: 2; color: row.heard ? theme.program : parent.down ? theme.line : "transparent" }
                        ToolTip.visible: hovered
                        ToolTip.text: "Play " + row.name + " from its start"
                        onClicked: soundEffects.play(row.soundID)
                    }
                    Label {
                        Layout.fillWidth: true
                        text: row.name
                        color: theme.text
                        font.pixelSize: 12
                        elide: Text.ElideRight
                        TapHandler { onDoubleTapped: renameDialog.ask(row.soundID, row.name) }
                    }
                    Label { visible: row.builtin; text: "built-in"; color: theme.dim; font.pixelSize: 9 }
                    ToolButton {
                        text: "⋯"
                        implicitWidth: 22
                        implicitHeight: 24
                        ToolTip.visible: hovered
                        ToolTip.text: "Rename or delete"
                        onClicked: menu.popup()
                        Menu {
                            id: menu
                            MenuItem { text: "Rename…"; onTriggered: renameDialog.ask(row.soundID, row.name) }
                            MenuItem { text: "Delete"; enabled: !row.builtin; onTriggered: deleteDialog.ask(row.soundID, row.name) }
                        }
                    }
                }
            }
        }
    }

    DropArea {
        anchors.fill: parent
        keys: ["text/uri-list"]
        onDropped: (drop) => {
            for (const url of drop.urls) {
                if (/\.(mp3|m4a|aac|wav|flac|ogg|opus|aif|aiff)$/i.test(url.toString())) soundEffects.importFile(url)
            }
            drop.accept()
        }
    }
    FileDialog {
        id: importDialog
        title: "Import sound effects"
        fileMode: FileDialog.OpenFiles
        nameFilters: ["Audio (" + root.audioFiles + ")"]
        onAccepted: {
            for (const file of selectedFiles) soundEffects.importFile(file)
        }
    }
    NameDialog {
        id: renameDialog
        title: "Rename sound"
        property string soundID
        function ask(id, name) { soundID = id; openFor(0, name) }
        onNamed: (row, name) => soundEffects.rename(soundID, name)
    }
    ConfirmDialog {
        id: deleteDialog
        verb: "Delete sound"
        property string soundID
        function ask(id, name) { soundID = id; openFor(0, name) }
        onConfirmed: soundEffects.remove(soundID)
    }
}
