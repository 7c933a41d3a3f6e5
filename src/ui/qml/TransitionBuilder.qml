import QtQuick
import QtQuick.Controls
import QtQuick.Layouts

// The custom transition builder: tracks of a source each, moving through
// stages (a pose, how long it holds, how long the travel to the next takes),
// the point where the picture underneath changes, the stage a fired run holds
// at, the library sounds it fires and when, and the name. Scrubbed and played
// on the studio canvas while it is built; saved, it is offered by the switcher at once.
Dialog {
    id: root
    property Theme theme: Theme {}
    title: (builder.editing ? "Edit transition" : "New transition") + " — " + builder.duration.toFixed(2) + " s"
    modal: true
    anchors.centerIn: Overlay.overlay
    width: Math.min(860, Overlay.overlay ? Overlay.overlay.width - 40 : 860)
    height: Math.min(600, Overlay.overlay ? Overlay.overlay.height - 40 : 600)
    standardButtons: Dialog.Close
    // The studio canvas goes back to its own Preview once the builder is closed.
    onClosed: builder.endScrub()

    readonly property var fields: [
        {key: "hold", label: "Hold s", step: 0.05}, {key: "toNext", label: "Travel s", step: 0.05},
        {key: "scale", label: "Size", step: 0.05}, {key: "posX", label: "X", step: 0.05}, {key: "posY", label: "Y", step: 0.05},
        {key: "rotationDeg", label: "Turn °", step: 5}, {key: "yawDeg", label: "Yaw °", step: 5},
        {key: "pitchDeg", label: "Pitch °", step: 5}, {key: "opacity", label: "Opacity", step: 0.05}]
    readonly property var soundFields: [
        {key: "delay", label: "At s"}, {key: "gainDB", label: "Gain dB"},
        {key: "fadeIn", label: "Fade in s"}, {key: "fadeOut", label: "Fade out s"}]

    ColumnLayout {
        anchors.fill: parent
        spacing: theme.gap
        RowLayout {
            Label { text: "Name"; color: theme.dim }
            TextField {
                objectName: "builderName"
                Layout.preferredWidth: 200
                text: builder.name
                onEditingFinished: builder.name = text
            }
            Label { text: "Cut at"; color: theme.dim }
            Slider {
                Layout.preferredWidth: 140
                from: 0; to: 1
                value: builder.cutPoint
                onMoved: builder.cutPoint = value
            }
            Label { text: Math.round(builder.cutPoint * 100) + " %"; color: theme.dim }
            Item { Layout.fillWidth: true }
            ComboBox {
                id: openPicker
                Layout.preferredWidth: 160
                textRole: "name"
                valueRole: "id"
                model: builder.saved
                displayText: "Open…"
                onActivated: builder.open(currentValue)
            }
            Button { text: "New"; onClicked: builder.startNew() }
            Button {
                objectName: "builderSave"
                text: "Save"
                enabled: builder.tracks.length > 0
                onClicked: builder.save()
            }
        }
        RowLayout {
            spacing: theme.gap
            MonitorView {
                objectName: "builderStudio"
                canvas: "studio"
                label: "STUDIO"
                tally: theme.raised
                Layout.preferredWidth: 288
                Layout.preferredHeight: 162
            }
            ColumnLayout {
                Layout.fillWidth: true
                RowLayout {
                    Label { text: "Add a track of"; color: theme.dim }
                    ComboBox {
                        id: sourcePicker
                        Layout.preferredWidth: 220
                        textRole: "name"
                        valueRole: "sourceID"
                        model: sources
                    }
                    Button { objectName: "builderAddTrack"; text: "+ Track"; onClicked: builder.addTrack(sourcePicker.currentValue) }
                }
                RowLayout {
                    Label { text: "Scrub"; color: theme.dim }
                    Slider {
                        objectName: "builderScrub"
                        Layout.fillWidth: true
                        from: 0; to: 1
                        enabled: builder.tracks.length > 0
                        value: Math.max(0, builder.scrubPosition)
                        onMoved: builder.scrub(value)
                    }
                    Label {
                        text: builder.scrubPosition < 0 ? "—" : (builder.scrubPosition * builder.duration).toFixed(2) + " s"
                        color: theme.dim
                        Layout.preferredWidth: 50
                    }
                }
                RowLayout {
                    Button {
                        objectName: "builderPlay"
                        text: "▶ Play on studio"
                        enabled: builder.tracks.length > 0
                        ToolTip.visible: hovered
                        ToolTip.text: "Play the transition once over Program on the studio canvas"
                        onClicked: builder.audition()
                    }
                    Button {
                        text: "Stop scrubbing"
                        enabled: builder.scrubPosition >= 0
                        onClicked: builder.endScrub()
                    }
                }
                Label {
                    text: "A stage marked Hold is where a fired run waits until it is fired again."
                    color: theme.dim
                    font.pixelSize: 11
                }
            }
        }
        ListView {
            Layout.fillWidth: true
            Layout.fillHeight: true
            clip: true
            spacing: theme.gap
            model: builder.tracks
            delegate: Rectangle {
                id: track
                required property var modelData
                required property int index
                width: ListView.view.width
                height: trackColumn.implicitHeight + 8
                color: theme.raised
                radius: 3
                ColumnLayout {
                    id: trackColumn
                    anchors.fill: parent
                    anchors.margins: 4
                    spacing: 2
                    RowLayout {
                        Label { text: track.modelData.sourceName; color: theme.text; font.bold: true; Layout.fillWidth: true }
                        ToolButton { text: "▲"; onClicked: builder.moveTrack(track.modelData.id, -1) }
                        ToolButton { text: "▼"; onClicked: builder.moveTrack(track.modelData.id, 1) }
                        ToolButton { text: "+ Stage"; onClicked: builder.addStage(track.modelData.id) }
                        ToolButton { text: "×"; onClicked: builder.removeTrack(track.modelData.id) }
                    }
                    RowLayout {
                        spacing: 2
                        Label { text: ""; Layout.preferredWidth: 20 }
                        Repeater {
                            model: root.fields
                            Label { required property var modelData; text: modelData.label; color: theme.dim; font.pixelSize: 10; Layout.preferredWidth: 78 }
                        }
                    }
                    Repeater {
                        model: track.modelData.stages
                        RowLayout {
                            id: stage
                            required property var modelData
                            required property int index
                            spacing: 2
                            Label { text: stage.index + 1; color: theme.dim; Layout.preferredWidth: 20 }
                            Repeater {
                                model: root.fields
                                TextField {
                                    required property var modelData
                                    Layout.preferredWidth: 78
                                    font.pixelSize: 11
                                    text: Number(stage.modelData[modelData.key]).toFixed(modelData.step < 1 ? 2 : 0)
                                    validator: DoubleValidator {}
                                    onEditingFinished: builder.setStage(track.modelData.id, stage.modelData.id, modelData.key, parseFloat(text))
                                }
                            }
                            ToolButton {
                                text: "Hold"
                                checkable: true
                                checked: stage.modelData.holdsHere
                                ToolTip.visible: hovered
                                ToolTip.text: "A fired run holds at this stage until it is fired again"
                                onClicked: builder.toggleHoldStage(track.modelData.id, stage.modelData.id)
                            }
                            ToolButton {
                                text: "×"
                                enabled: track.modelData.stages.length > 1
                                onClicked: builder.removeStage(track.modelData.id, stage.modelData.id)
                            }
                        }
                    }
                }
            }
        }
        // Library sounds fired as the transition runs, each at its time.
        Rectangle {
            Layout.fillWidth: true
            Layout.preferredHeight: soundColumn.implicitHeight + 8
            color: theme.raised
            radius: 3
            ColumnLayout {
                id: soundColumn
                anchors.fill: parent
                anchors.margins: 4
                spacing: 2
                RowLayout {
                    Label { text: "Sounds"; color: theme.text; font.bold: true; Layout.fillWidth: true }
                    ComboBox {
                        id: soundPicker
                        objectName: "builderSoundPicker"
                        Layout.preferredWidth: 180
                        textRole: "name"
                        valueRole: "soundID"
                        model: soundEffects
                        // The library may still be filling when the builder is made.
                        onCountChanged: if (currentIndex < 0 && count > 0) currentIndex = 0
                    }
                    Label { text: "at"; color: theme.dim }
                    TextField {
                        id: soundDelay
                        objectName: "builderSoundDelay"
                        Layout.preferredWidth: 60
                        text: "0.00"
                        validator: DoubleValidator { bottom: 0 }
                    }
                    Label { text: "s"; color: theme.dim }
                    Button {
                        objectName: "builderAddSound"
                        text: "+ Sound"
                        enabled: soundPicker.currentIndex >= 0
                        ToolTip.visible: hovered
                        ToolTip.text: "Play this library sound that many seconds into the transition"
                        onClicked: builder.addSound(soundPicker.currentValue, parseFloat(soundDelay.text) || 0)
                    }
                }
                RowLayout {
                    visible: builder.sounds.length > 0
                    spacing: 2
                    Label { text: ""; Layout.preferredWidth: 160 }
                    Repeater {
                        model: root.soundFields
                        Label { required property var modelData; text: modelData.label; color: theme.dim; font.pixelSize: 10; Layout.preferredWidth: 78 }
                    }
                }
                ListView {
                    Layout.fillWidth: true
                    Layout.preferredHeight: Math.min(count, 3) * 30
                    clip: true
                    model: builder.sounds
                    delegate: RowLayout {
                        id: sound
                        required property var modelData
                        height: 30
                        spacing: 2
                        Label { text: sound.modelData.soundName; color: theme.text; elide: Text.ElideRight; Layout.preferredWidth: 160 }
                        Repeater {
                            model: root.soundFields
                            TextField {
                                required property var modelData
                                Layout.preferredWidth: 78
                                implicitHeight: 28
                                topPadding: 2
                                bottomPadding: 2
                                font.pixelSize: 11
                                text: Number(sound.modelData[modelData.key]).toFixed(modelData.key === "gainDB" ? 1 : 2)
                                validator: DoubleValidator {}
                                onEditingFinished: builder.setSound(sound.modelData.id, modelData.key, parseFloat(text))
                            }
                        }
                        ToolButton {
                            text: "▶"
                            implicitHeight: 28
                            ToolTip.visible: hovered
                            ToolTip.text: "Listen to the sound alone"
                            onClicked: soundEffects.play(sound.modelData.soundID)
                        }
                        ToolButton {
                            text: "×"
                            implicitHeight: 28
                            ToolTip.visible: hovered
                            ToolTip.text: "Remove the sound from the transition"
                            onClicked: builder.removeSound(sound.modelData.id)
                        }
                    }
                }
            }
        }
    }
}
