import QtQuick
import QtQuick.Controls
import QtQuick.Dialogs
import QtQuick.Layouts

// Recording Program: record, pause and stop with the time recorded (pauses
// left out), what the next recording is encoded as, where recordings go,
// and the last one made.
Popup {
    id: root
    property Theme theme: Theme {}
    width: 360
    padding: 10
    // Stays open while its own dialogs are used; Escape or × closes it.
    closePolicy: Popup.CloseOnEscape
    background: Rectangle { color: theme.panel; border.color: theme.line; radius: 4 }

    ColumnLayout {
        anchors.fill: parent
        spacing: theme.gap
        RowLayout {
            Button {
                objectName: "recordButton"
                text: recorder.recording ? "■ Stop" : "● Record"
                palette.button: recorder.recording ? theme.program : theme.raised
                onClicked: recorder.recording ? recorder.stop() : recorder.start()
            }
            Button {
                objectName: "pauseButton"
                text: recorder.paused ? "Resume" : "Pause"
                enabled: recorder.recording
                onClicked: recorder.setPaused(!recorder.paused)
            }
            Label {
                Layout.fillWidth: true
                horizontalAlignment: Text.AlignRight
                text: recorder.recording ? recorder.elapsed + (recorder.paused ? "  paused" : "") : ""
                color: recorder.paused ? theme.pending : theme.text
                font.bold: true
                font.family: "monospace"
            }
            ToolButton { text: "×"; onClicked: root.close() }
        }
        RowLayout {
            Label { text: "Quality"; color: theme.dim; Layout.preferredWidth: 60 }
            ComboBox {
                Layout.fillWidth: true
                model: recorder.qualities
                currentIndex: recorder.quality
                enabled: !recorder.recording
                onActivated: (index) => recorder.setQuality(index)
                ToolTip.visible: hovered && recorder.recording
                ToolTip.text: "Applies to the next recording"
            }
        }
        RowLayout {
            Label { text: "Folder"; color: theme.dim; Layout.preferredWidth: 60 }
            Label {
                Layout.fillWidth: true
                text: recorder.folder
                color: theme.text
                elide: Text.ElideMiddle
            }
            Button { text: "Choose…"; onClicked: folderDialog.open() }
        }
        RowLayout {
            visible: recorder.lastRecording !== ""
            Label { text: "Last"; color: theme.dim; Layout.preferredWidth: 60 }
            Label {
                Layout.fillWidth: true
                text: "<a href='open'>" + recorder.lastRecording.split("/").pop() + "</a>"
                textFormat: Text.RichText
                linkColor: theme.selected
                elide: Text.ElideMiddle
                onLinkActivated: Qt.openUrlExternally("file://" + recorder.lastRecording)
            }
        }
    }

    FolderDialog {
        id: folderDialog
        title: "Where recordings go"
        onAccepted: recorder.setFolder(selectedFolder.toString())
    }
}
