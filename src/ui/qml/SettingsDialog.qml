import QtQuick
import QtQuick.Controls
import QtQuick.Dialogs
import QtQuick.Layouts

// The show's settings: canvas size and frame rate, where Program's sound plays,
// where recordings go, the replay buffer, and the phone remote.
Dialog {
    id: root
    property Theme theme: Theme {}
    title: "Settings"
    modal: true
    anchors.centerIn: Overlay.overlay
    width: 460
    standardButtons: Dialog.Close

    GridLayout {
        anchors.fill: parent
        columns: 2
        columnSpacing: 10
        rowSpacing: 8
        Label { text: "Canvas"; color: theme.dim }
        ComboBox {
            objectName: "canvasSizePicker"
            Layout.fillWidth: true
            model: settings.canvasSizes
            currentIndex: settings.canvasSize
            onActivated: (index) => settings.setCanvasSize(index)
        }
        Label { text: "Frame rate"; color: theme.dim }
        ComboBox {
            objectName: "frameRatePicker"
            Layout.fillWidth: true
            model: settings.frameRates
            displayText: settings.frameRate + " fps"
            currentIndex: settings.frameRates.indexOf(settings.frameRate)
            delegate: ItemDelegate {
                required property var modelData
                width: ListView.view.width
                text: modelData + " fps"
            }
            onActivated: (index) => settings.setFrameRate(settings.frameRates[index])
        }
        Label {
            Layout.columnSpan: 2
            text: "A recording running at the old size or rate is closed first."
            color: theme.dim
            font.pixelSize: 11
        }
        Label { text: "Program sound"; color: theme.dim }
        ComboBox {
            Layout.fillWidth: true
            textRole: "name"
            valueRole: "uid"
            model: [{uid: "", name: "Default output"}].concat(mixer.outputDevices)
            Component.onCompleted: currentIndex = Math.max(0, indexOfValue(mixer.programOutput))
            onActivated: mixer.setProgramOutput(currentValue)
        }
        Label { text: "Recordings"; color: theme.dim }
        RowLayout {
            Layout.fillWidth: true
            Label { Layout.fillWidth: true; text: recorder.folder; color: theme.text; elide: Text.ElideMiddle }
            Button { text: "Choose…"; onClicked: folderDialog.open() }
        }
        Label { text: "Replay"; color: theme.dim }
        Switch {
            objectName: "replaySwitch"
            text: "Keep a rolling replay buffer"
            checked: replay.enabled
            onToggled: replay.setEnabled(checked)
        }
        Label { text: "Length"; color: theme.dim }
        ComboBox {
            objectName: "replayLengthPicker"
            Layout.fillWidth: true
            enabled: replay.enabled
            model: replay.lengths
            currentIndex: replay.length
            onActivated: (index) => replay.setLength(index)
        }
        Item { implicitWidth: 1 }
        Switch {
            objectName: "replayClipSwitch"
            text: "Saved replays join the show, ready to play"
            checked: replay.addsClip
            onToggled: replay.setAddsClip(checked)
        }
        Label { text: "Remote"; color: theme.dim }
        Switch {
            objectName: "remoteSwitch"
            text: settings.remoteEnabled ? "A phone on this network runs the deck" : "Off"
            checked: settings.remoteEnabled
            onToggled: settings.setRemoteEnabled(checked)
        }
        Image {
            objectName: "remoteQRCode"
            visible: settings.remoteEnabled && settings.remoteQRCode !== ""
            Layout.columnSpan: 2
            Layout.alignment: Qt.AlignHCenter
            source: settings.remoteQRCode
            smooth: false
        }
        TextEdit {
            visible: settings.remoteEnabled
            Layout.columnSpan: 2
            Layout.alignment: Qt.AlignHCenter
            text: settings.remoteLink
            readOnly: true
            selectByMouse: true
            color: theme.text
            font.pixelSize: 12
        }
        Label {
            visible: settings.remoteEnabled
            Layout.columnSpan: 2
            Layout.fillWidth: true
            wrapMode: Text.WordWrap
            text: "Scan the code with the phone's camera, on the same network. A firewall on this computer must let ports 13377 and 13378 in."
            color: theme.dim
            font.pixelSize: 11
        }
    }

    FolderDialog {
        id: folderDialog
        title: "Where recordings go"
        onAccepted: recorder.setFolder(selectedFolder.toString())
    }
}
