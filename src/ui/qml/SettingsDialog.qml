import QtQuick
import QtQuick.Controls
import QtQuick.Dialogs
import QtQuick.Layouts

// The show's settings: canvas size and frame rate, where Program's sound plays, where recordings go.
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
    }

    FolderDialog {
        id: folderDialog
        title: "Where recordings go"
        onAccepted: recorder.setFolder(selectedFolder.toString())
    }
}
