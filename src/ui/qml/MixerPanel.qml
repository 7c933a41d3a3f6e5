import QtQuick
import QtQuick.Controls
import QtQuick.Layouts

// The audio mixer: a strip per channel (meter, fader in dB, AIR, CUE, MON and
// AFV, rename, move, remove), the master strip with the Program output, and
// the monitor buses.
Rectangle {
    id: root
    property Theme theme: Theme {}
    color: theme.panel
    readonly property real floorDB: -60
    readonly property real topDB: 6

    // A level in dB as a fraction of a meter's or fader's travel.
    function fraction(dB) { return Math.max(0, Math.min(1, (dB - floorDB) / (topDB - floorDB))) }
    function dbText(dB) { return dB <= floorDB ? "-∞" : (dB > 0 ? "+" : "") + dB.toFixed(1) }

    component Meter: Rectangle {
        property real level: root.floorDB
        property real peak: root.floorDB
        width: 8
        color: theme.window
        Rectangle {
            anchors.bottom: parent.bottom
            width: parent.width
            height: parent.height * root.fraction(parent.level)
            // Green to the working level, amber near full scale, red past it.
            color: parent.level > -1 ? theme.program : parent.level > -9 ? theme.pending : theme.preview
        }
        Rectangle {
            visible: parent.peak > root.floorDB
            width: parent.width
            height: 2
            y: parent.height * (1 - root.fraction(parent.peak))
            color: theme.text
        }
    }

    component Toggle: Button {
        property color onColor: theme.selected
        checkable: true
        implicitWidth: 40
        implicitHeight: 20
        leftPadding: 2
        rightPadding: 2
        topPadding: 1
        bottomPadding: 1
        font.pixelSize: 10
        background: Rectangle {
            radius: 2
            color: parent.checked ? parent.onColor : parent.down ? theme.line : theme.window
            border.color: theme.line
        }
    }

    component Fader: Slider {
        orientation: Qt.Vertical
        from: root.floorDB
        to: root.topDB
        stepSize: 0.5
        Layout.fillHeight: true
        // A double click goes back to unity gain.
        TapHandler {
            onDoubleTapped: {
                parent.value = 0
                parent.moved()
            }
        }
    }

    RowLayout {
        anchors.fill: parent
        anchors.margins: theme.gap
        spacing: theme.gap

        // Outside the strips, so that it stays in reach however many there are.
        Button {
            id: addInput
            objectName: "addInputButton"
            Layout.alignment: Qt.AlignTop
            implicitWidth: 46
            implicitHeight: 44
            padding: 2
            text: "+\nInput"
            font.pixelSize: 11
            ToolTip.visible: hovered
            ToolTip.text: "Add a microphone or line in, the computer's sound or one application's"
            onClicked: {
                audioDevices.refresh()
                inputMenu.popup(addInput, 0, addInput.height)
            }
        }
        ListView {
            id: strips
            objectName: "mixerStrips"
            Layout.fillWidth: true
            Layout.fillHeight: true
            orientation: ListView.Horizontal
            spacing: 4
            clip: true
            model: mixer
            header: Label {
                visible: strips.count === 0
                width: visible ? strips.width : 0
                text: "No audio channels yet"
                color: theme.dim
            }
            delegate: Rectangle {
                id: strip
                required property int index
                required property string channelID
                required property string name
                required property real levelDB
                required property bool air
                required property bool cue
                required property bool monitor
                required property bool afv
                required property bool followsVideo
                required property bool removable
                required property bool offline
                required property real meterDB
                required property real peakDB
                required property int filterCount
                objectName: "strip" + index
                width: 100
                height: strips.height
                color: theme.raised
                radius: 3
                ColumnLayout {
                    anchors.fill: parent
                    anchors.margins: 4
                    spacing: 3
                    Label {
                        Layout.fillWidth: true
                        text: strip.name
                        color: strip.offline ? theme.program : theme.text
                        font.pixelSize: 11
                        elide: Text.ElideRight
                        horizontalAlignment: Text.AlignHCenter
                        ToolTip.visible: hover.hovered
                        ToolTip.text: strip.offline ? "The device is gone; the channel comes back when it returns"
                                                    : "Double-click to rename; right-click for more"
                        HoverHandler { id: hover }
                        TapHandler { onDoubleTapped: renameDialog.ask(strip.channelID, strip.name) }
                        TapHandler { acceptedButtons: Qt.RightButton; onTapped: stripMenu.popup() }
                        Menu {
                            id: stripMenu
                            MenuItem { text: "Rename…"; onTriggered: renameDialog.ask(strip.channelID, strip.name) }
                            MenuItem { text: "Move left"; enabled: strip.index > 0; onTriggered: mixer.move(strip.index, strip.index - 1) }
                            MenuItem { text: "Move right"; enabled: strip.index < strips.count - 1; onTriggered: mixer.move(strip.index, strip.index + 1) }
                            MenuItem { text: "Remove"; enabled: strip.removable; onTriggered: mixer.remove(strip.channelID) }
                        }
                    }
                    RowLayout {
                        Layout.fillHeight: true
                        spacing: 3
                        Meter { Layout.fillHeight: true; level: strip.meterDB; peak: strip.peakDB }
                        Fader {
                            objectName: "fader"
                            Layout.preferredWidth: 24
                            value: strip.levelDB
                            onMoved: mixer.setLevelDB(strip.channelID, value)
                        }
                        ColumnLayout {
                            Layout.alignment: Qt.AlignTop
                            spacing: 2
                            Toggle { text: "AIR"; objectName: "air"; onColor: theme.program; checked: strip.air; onToggled: mixer.setAir(strip.channelID, checked) }
                            Toggle { text: "CUE"; onColor: theme.pending; checked: strip.cue; onToggled: mixer.setCue(strip.channelID, checked) }
                            Toggle { text: "MON"; checked: strip.monitor; onToggled: mixer.setMonitor(strip.channelID, checked) }
                            Toggle {
                                text: "AFV"
                                enabled: strip.followsVideo
                                checked: strip.afv
                                onToggled: mixer.setFollowsVideo(strip.channelID, checked)
                                ToolTip.visible: hovered
                                ToolTip.text: "On air while its picture is on Program"
                            }
                            Toggle {
                                objectName: "fxButton"
                                text: "FX" + (strip.filterCount > 0 ? " " + strip.filterCount : "")
                                checkable: false
                                onClicked: {
                                    audioFilters.channel = strip.channelID
                                    filterEditor.open()
                                }
                                ToolTip.visible: hovered
                                ToolTip.text: "The channel's filters"
                            }
                        }
                    }
                    Label {
                        Layout.alignment: Qt.AlignHCenter
                        text: root.dbText(strip.levelDB) + " dB"
                        color: theme.dim
                        font.pixelSize: 10
                    }
                }
            }
        }

        // The master strip: where Program's sound goes, and how loud.
        Rectangle {
            Layout.fillHeight: true
            Layout.preferredWidth: 150
            color: theme.raised
            radius: 3
            ColumnLayout {
                anchors.fill: parent
                anchors.margins: 4
                spacing: 3
                Label { text: "Program"; color: theme.text; font.bold: true; font.pixelSize: 11; Layout.alignment: Qt.AlignHCenter }
                ComboBox {
                    objectName: "programOutput"
                    Layout.fillWidth: true
                    font.pixelSize: 10
                    textRole: "name"
                    valueRole: "uid"
                    model: [{uid: "", name: "Default output"}].concat(mixer.outputDevices)
                    Component.onCompleted: currentIndex = Math.max(0, indexOfValue(mixer.programOutput))
                    onActivated: mixer.setProgramOutput(currentValue)
                    ToolTip.visible: hovered && mixer.programOutputOffline
                    ToolTip.text: "The output is gone; Program plays on the default output"
                }
                RowLayout {
                    Layout.fillHeight: true
                    Layout.alignment: Qt.AlignHCenter
                    Meter { Layout.fillHeight: true; level: mixer.programMeterDB }
                    Fader {
                        objectName: "masterFader"
                        Layout.preferredWidth: 24
                        value: mixer.masterGainDB
                        onMoved: mixer.setMasterGainDB(value)
                    }
                }
                Label { Layout.alignment: Qt.AlignHCenter; text: root.dbText(mixer.masterGainDB) + " dB"; color: theme.dim; font.pixelSize: 10 }
                Toggle {
                    Layout.alignment: Qt.AlignHCenter
                    text: "MUTE"
                    onColor: theme.program
                    checked: mixer.programMuted
                    onToggled: mixer.setProgramMuted(checked)
                }
            }
        }

        // Program's loudness as broadcasters read it (EBU R128).
        Rectangle {
            Layout.fillHeight: true
            Layout.preferredWidth: 118
            color: theme.raised
            radius: 3
            ColumnLayout {
                anchors.fill: parent
                anchors.margins: 4
                spacing: 1
                Label { text: "Loudness"; color: theme.text; font.bold: true; font.pixelSize: 11; Layout.alignment: Qt.AlignHCenter }
                Repeater {
                    model: [{key: "momentary", label: "M", unit: "LUFS"}, {key: "shortTerm", label: "S", unit: "LUFS"},
                            {key: "integrated", label: "I", unit: "LUFS"}, {key: "range", label: "LRA", unit: "LU"},
                            {key: "truePeak", label: "TP", unit: "dBTP"}]
                    RowLayout {
                        required property var modelData
                        readonly property var value: mixer.loudness[modelData.key]
                        Label { text: modelData.label; color: theme.dim; font.pixelSize: 10; Layout.preferredWidth: 24 }
                        Label {
                            objectName: "loudness_" + modelData.key
                            text: value === undefined || value === null ? "–" : value.toFixed(1)
                            // Over the true-peak ceiling broadcasters allow (-1 dBTP).
                            color: modelData.key === "truePeak" && value > -1 ? theme.program : theme.text
                            font.pixelSize: 12
                            font.bold: modelData.key === "integrated"
                            horizontalAlignment: Text.AlignRight
                            Layout.fillWidth: true
                        }
                        Label { text: modelData.unit; color: theme.dim; font.pixelSize: 9; Layout.preferredWidth: 28 }
                    }
                }
                Item { Layout.fillHeight: true }
                Button {
                    Layout.alignment: Qt.AlignHCenter
                    text: "Reset"
                    font.pixelSize: 10
                    onClicked: mixer.resetLoudness()
                    ToolTip.visible: hovered
                    ToolTip.text: "Start the integrated loudness and the range again"
                }
            }
        }

        // Monitor buses: the cue and monitor mix, each to its own output.
        Rectangle {
            Layout.fillHeight: true
            Layout.preferredWidth: 220
            color: theme.raised
            radius: 3
            ColumnLayout {
                anchors.fill: parent
                anchors.margins: 4
                spacing: 3
                RowLayout {
                    Label { text: "Monitors"; color: theme.text; font.bold: true; font.pixelSize: 11; Layout.fillWidth: true }
                    ToolButton { text: "+ Bus"; font.pixelSize: 10; onClicked: mixer.addMonitorBus("Monitor") }
                }
                ListView {
                    Layout.fillWidth: true
                    Layout.fillHeight: true
                    clip: true
                    spacing: 4
                    model: mixer.monitorBuses
                    delegate: ColumnLayout {
                        id: bus
                        required property var modelData
                        width: ListView.view.width
                        spacing: 2
                        RowLayout {
                            Label {
                                text: bus.modelData.name
                                color: bus.modelData.connected ? theme.text : theme.program
                                font.pixelSize: 11
                                Layout.fillWidth: true
                                elide: Text.ElideRight
                                TapHandler { onDoubleTapped: busRenameDialog.ask(bus.modelData.id, bus.modelData.name) }
                            }
                            Toggle { text: "MUTE"; onColor: theme.program; checked: bus.modelData.muted; onToggled: mixer.setMonitorBusMuted(bus.modelData.id, checked) }
                            ToolButton { visible: bus.modelData.removable; text: "×"; onClicked: mixer.removeMonitorBus(bus.modelData.id) }
                        }
                        ComboBox {
                            Layout.fillWidth: true
                            font.pixelSize: 10
                            textRole: "name"
                            valueRole: "uid"
                            model: [{uid: "", name: "No output"}].concat(mixer.outputDevices)
                            Component.onCompleted: currentIndex = Math.max(0, indexOfValue(bus.modelData.device))
                            onActivated: mixer.setMonitorBusDevice(bus.modelData.id, currentValue)
                        }
                        RowLayout {
                            Label { text: root.dbText(bus.modelData.gainDB); color: theme.dim; font.pixelSize: 10; Layout.preferredWidth: 32 }
                            Slider {
                                Layout.fillWidth: true
                                from: root.floorDB
                                to: root.topDB
                                stepSize: 0.5
                                value: bus.modelData.gainDB
                                onMoved: mixer.setMonitorBusGainDB(bus.modelData.id, value)
                            }
                        }
                    }
                }
            }
        }
    }

    Menu {
        id: inputMenu
        width: 300
        Instantiator {
            model: audioDevices.inputs
            delegate: MenuItem {
                required property var modelData
                text: modelData.name
                enabled: !modelData.added
                onTriggered: audioDevices.addInput(modelData.id)
            }
            onObjectAdded: (index, item) => inputMenu.insertItem(index, item)
            onObjectRemoved: (index, item) => inputMenu.removeItem(item)
        }
        MenuItem { text: "No microphones or line inputs"; enabled: false; visible: audioDevices.inputs.length === 0; height: visible ? implicitHeight : 0 }
        MenuSeparator {}
        MenuItem {
            objectName: "addSystemAudioItem"
            text: "System Audio"
            enabled: !audioDevices.systemAudioAdded
            onTriggered: audioDevices.addSystemAudio()
        }
        Menu {
            id: applicationMenu
            title: "Application…"
            Instantiator {
                model: audioDevices.applications
                delegate: MenuItem {
                    required property var modelData
                    text: modelData.name
                    enabled: !modelData.added
                    onTriggered: audioDevices.addApplication(modelData.id)
                }
                onObjectAdded: (index, item) => applicationMenu.insertItem(index, item)
                onObjectRemoved: (index, item) => applicationMenu.removeItem(item)
            }
            MenuItem { text: "No application is playing sound"; enabled: false; visible: audioDevices.applications.length === 0; height: visible ? implicitHeight : 0 }
        }
        MenuSeparator {}
        MenuItem {
            objectName: "audioDevicesItem"
            text: "Computer audio && virtual devices…"
            onTriggered: audioDevicesDialog.open()
        }
    }
    AudioDevicesDialog { id: audioDevicesDialog; objectName: "audioDevicesDialog"; theme: root.theme }
    NameDialog {
        id: renameDialog
        title: "Rename channel"
        property string channelID
        function ask(id, name) { channelID = id; openFor(0, name) }
        onNamed: (row, name) => mixer.rename(channelID, name)
    }
    NameDialog {
        id: busRenameDialog
        title: "Rename monitor bus"
        property string busID
        function ask(id, name) { busID = id; openFor(0, name) }
        onNamed: (row, name) => mixer.renameMonitorBus(busID, name)
    }
    AudioFilterEditor { id: filterEditor; theme: root.theme }
}
