import QtQuick
import QtQuick.Controls
import QtQuick.Layouts

// The computer's own sound: the virtual devices that exchange sound with
// other applications, the machine's output routed into the mixer and back,
// and the applications the "System Audio" channel leaves out. Each command's
// outcome shows in the log; the last line is repeated here.
Dialog {
    id: root
    property Theme theme: Theme {}
    title: "Computer audio & virtual devices"
    modal: true
    anchors.centerIn: Overlay.overlay
    width: 520
    standardButtons: Dialog.Close
    onAboutToShow: audioDevices.refresh()

    // Applications playing now that System Audio still hears.
    readonly property var excludable: audioDevices.applications.filter((app) => !app.excluded)

    ColumnLayout {
        anchors.fill: parent
        spacing: 10

        Label { text: "Virtual devices"; color: theme.text; font.bold: true }
        RowLayout {
            spacing: theme.gap
            Rectangle { width: 10; height: 10; radius: 5; color: audioDevices.driverInstalled ? theme.preview : theme.line }
            Label {
                objectName: "driverStatus"
                text: audioDevices.driverInstalled ? "Installed" : "Not installed"
                color: audioDevices.driverInstalled ? theme.text : theme.dim
                Layout.fillWidth: true
            }
            Button {
                objectName: "installDriversButton"
                text: "Install / Update Audio Drivers"
                ToolTip.visible: hovered
                ToolTip.text: "Devices other applications play into and record from: the show's sound, a call's voices, the computer's sound"
                onClicked: audioDevices.installDrivers()
            }
            Button {
                text: "Uninstall"
                enabled: audioDevices.driverInstalled
                onClicked: audioDevices.uninstallDrivers()
            }
        }

        Label { text: "Computer audio"; color: theme.text; font.bold: true }
        RowLayout {
            spacing: theme.gap
            Rectangle { width: 10; height: 10; radius: 5; color: audioDevices.machineAudioRouted ? theme.preview : theme.line }
            Label {
                text: audioDevices.machineAudioRouted ? "Routed into the mixer" : "Plays on the computer's output"
                color: theme.dim
                Layout.fillWidth: true
                elide: Text.ElideRight
            }
        }
        RowLayout {
            spacing: theme.gap
            Button {
                text: "Route computer audio into the mixer"
                enabled: !audioDevices.machineAudioRouted
                ToolTip.visible: hovered
                ToolTip.text: "The computer's default output becomes “Tavorin System”, a channel of the mixer"
                onClicked: audioDevices.routeMachineAudioToMixer()
            }
            Button {
                text: "Restore computer audio"
                enabled: audioDevices.machineAudioRouted
                ToolTip.visible: hovered
                ToolTip.text: "The computer's sound goes back to the output it played on before"
                onClicked: audioDevices.restoreMachineAudio()
            }
        }

        Label { text: "Not heard by System Audio"; color: theme.text; font.bold: true }
        ListView {
            id: excludedList
            Layout.fillWidth: true
            Layout.preferredHeight: Math.min(Math.max(count, 1) * 26, 130)
            clip: true
            model: audioDevices.excludedApps
            Label {
                visible: excludedList.count === 0
                text: "Every application is heard"
                color: theme.dim
            }
            delegate: RowLayout {
                required property var modelData
                width: ListView.view.width
                Label { text: modelData.name; color: theme.text; Layout.fillWidth: true; elide: Text.ElideRight }
                ToolButton {
                    text: "×"
                    implicitHeight: 24
                    ToolTip.visible: hovered
                    ToolTip.text: "Heard again by System Audio"
                    onClicked: audioDevices.setExcluded(modelData.id, false)
                }
            }
        }
        RowLayout {
            spacing: theme.gap
            ComboBox {
                id: appPicker
                Layout.fillWidth: true
                textRole: "name"
                valueRole: "id"
                model: root.excludable
                enabled: root.excludable.length > 0
                displayText: root.excludable.length > 0 ? currentText : "No other application is playing sound"
            }
            Button {
                text: "Leave out"
                enabled: appPicker.currentIndex >= 0 && root.excludable.length > 0
                ToolTip.visible: hovered
                ToolTip.text: "System Audio no longer hears this application"
                onClicked: audioDevices.setExcluded(appPicker.currentValue, true)
            }
            Button { text: "Refresh"; onClicked: audioDevices.refresh() }
        }

        Label {
            objectName: "audioDevicesLastLog"
            Layout.fillWidth: true
            text: status.lastLogLine
            color: theme.dim
            font.pixelSize: 11
            elide: Text.ElideLeft
        }
    }
}
