import QtQuick
import QtQuick.Controls
import QtQuick.Dialogs
import QtQuick.Layouts

// The first-launch guide: the canvas size, where Program's sound plays, and a
// first source. It runs once; finishing or skipping it is remembered.
Dialog {
    id: root
    property Theme theme: Theme {}
    property int step: 0
    readonly property var titles: ["Canvas", "Sound", "A first source"]
    title: "Welcome to Tavorin — " + titles[step] + " (" + (step + 1) + " of 3)"
    modal: true
    closePolicy: Popup.NoAutoClose
    anchors.centerIn: Overlay.overlay
    width: 480
    visible: settings.showOnboarding

    footer: DialogButtonBox {
        Button { text: "Skip"; objectName: "onboardingSkip"; DialogButtonBox.buttonRole: DialogButtonBox.RejectRole }
        Button { text: "Back"; enabled: root.step > 0; onClicked: root.step -= 1 }
        Button {
            objectName: "onboardingNext"
            text: root.step < 2 ? "Next" : "Finish"
            onClicked: root.step < 2 ? root.step += 1 : root.accept()
        }
    }
    onAccepted: settings.finishOnboarding()
    onRejected: settings.finishOnboarding()

    StackLayout {
        anchors.fill: parent
        currentIndex: root.step
        ColumnLayout {
            Label { text: "The size every scene is composed at. Streams and recordings scale from it."; color: theme.text; wrapMode: Text.WordWrap; Layout.fillWidth: true }
            ComboBox {
                Layout.fillWidth: true
                model: settings.canvasSizes
                currentIndex: settings.canvasSize
                onActivated: (index) => settings.setCanvasSize(index)
            }
        }
        ColumnLayout {
            Label { text: "Where Program's sound plays. The mixer can change it later."; color: theme.text; wrapMode: Text.WordWrap; Layout.fillWidth: true }
            ComboBox {
                Layout.fillWidth: true
                textRole: "name"
                valueRole: "uid"
                model: [{uid: "", name: "Default output"}].concat(mixer.outputDevices)
                Component.onCompleted: currentIndex = Math.max(0, indexOfValue(mixer.programOutput))
                onActivated: mixer.setProgramOutput(currentValue)
            }
        }
        ColumnLayout {
            Label {
                text: "Add a first picture to build scenes from; drag it onto Preview to make a layer."
                color: theme.text
                wrapMode: Text.WordWrap
                Layout.fillWidth: true
            }
            RowLayout {
                Button { text: "+ Image…"; onClicked: fileDialog.open() }
                Button { text: "+ Black"; onClicked: sources.addBlack() }
                Label { text: sources.count + (sources.count === 1 ? " source" : " sources"); color: theme.dim }
            }
        }
    }

    FileDialog {
        id: fileDialog
        title: "Add a picture"
        nameFilters: ["Pictures (*.png *.jpg *.jpeg *.webp *.bmp *.gif *.tif *.tiff)"]
        onAccepted: sources.addImage(selectedFile)
    }
}
