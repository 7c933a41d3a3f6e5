import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Tavorin

// One clip seen live: play and pause, a playhead to drag, the in and out
// points to trim it to, and the trimmed range exported as a clip of its own.
Dialog {
    id: root
    property Theme theme: Theme {}
    title: "Clip — " + clips.name
    modal: false
    anchors.centerIn: Overlay.overlay
    width: Math.min(720, Overlay.overlay ? Overlay.overlay.width - 40 : 720)
    height: Math.min(540, Overlay.overlay ? Overlay.overlay.height - 40 : 540)
    standardButtons: Dialog.Close

    function edit(sourceID) {
        clips.clip = sourceID
        open()
    }
    function clock(seconds) {
        const whole = Math.max(0, seconds)
        const minutes = Math.floor(whole / 60)
        const rest = whole - minutes * 60
        return minutes + ":" + (rest < 10 ? "0" : "") + rest.toFixed(2)
    }
    onClosed: clips.clip = ""

    ColumnLayout {
        anchors.fill: parent
        spacing: theme.gap
        MonitorView {
            objectName: "clipMonitor"
            canvas: clips.clip === "" ? "" : "source:" + clips.clip
            label: clips.playing ? "PLAYING" : "PAUSED"
            tally: clips.playing ? theme.preview : theme.raised
            Layout.fillWidth: true
            Layout.fillHeight: true
        }
        Label {
            visible: clips.error !== ""
            text: clips.error
            color: theme.program
            Layout.fillWidth: true
            wrapMode: Text.Wrap
        }
        RowLayout {
            Button {
                objectName: "clipPlayPause"
                text: clips.playing ? "❚❚ Pause" : "▶ Play"
                onClicked: clips.playing ? clips.pause() : clips.play()
            }
            Slider {
                objectName: "clipPlayhead"
                Layout.fillWidth: true
                from: 0
                to: Math.max(clips.duration, 0.01)
                value: clips.position
                onMoved: clips.seek(value)
            }
            Label { text: root.clock(clips.position) + " / " + root.clock(clips.duration); color: theme.dim }
        }
        RowLayout {
            Label { text: "Trim"; color: theme.dim }
            RangeSlider {
                id: trim
                objectName: "clipTrim"
                Layout.fillWidth: true
                from: 0
                to: Math.max(clips.duration, 0.01)
                first.value: clips.trimStart
                second.value: clips.trimEnd
                first.onMoved: clips.setTrim(first.value, second.value)
                second.onMoved: clips.setTrim(first.value, second.value)
            }
            Label { text: root.clock(clips.trimStart) + " – " + root.clock(clips.trimEnd); color: theme.dim }
            Button {
                text: "Export trim"
                enabled: clips.duration > 0
                ToolTip.visible: hovered
                ToolTip.text: "Copy the trimmed range, not re-encoded, into a clip of its own"
                onClicked: clips.exportTrim()
            }
        }
    }
}
