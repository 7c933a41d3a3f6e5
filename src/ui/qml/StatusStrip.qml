import QtQuick
import QtQuick.Controls
import QtQuick.Layouts

// REC and LIVE with their timers, fps, CPU, dropped frames, free disk and the
// last log line (click for the whole log).
Rectangle {
    id: root
    property Theme theme: Theme {}
    signal logRequested()
    color: theme.panel
    implicitHeight: 30

    RowLayout {
        anchors.fill: parent
        anchors.leftMargin: theme.gap
        anchors.rightMargin: theme.gap
        spacing: 12
        Rectangle {
            objectName: "recIndicator"
            color: status.recording ? theme.program : theme.raised
            radius: 3
            implicitWidth: recText.implicitWidth + 14
            implicitHeight: 22
            Text { id: recText; anchors.centerIn: parent; text: status.recordingText; color: "white"; font.bold: true }
            MouseArea { anchors.fill: parent; onClicked: recordingPanel.open() }
            ToolTip.visible: recHover.hovered && !recordingPanel.opened
            ToolTip.text: "Recording: record, pause, stop, quality and folder"
            HoverHandler { id: recHover }
            RecordingPanel { id: recordingPanel; objectName: "recordingPanel"; theme: root.theme; y: parent.height + 4 }
        }
        Rectangle {
            color: status.live ? theme.program : theme.raised
            radius: 3
            implicitWidth: liveText.implicitWidth + 14
            implicitHeight: 22
            Text { id: liveText; anchors.centerIn: parent; text: status.liveText; color: "white"; font.bold: true }
            objectName: "liveIndicator"
            MouseArea { anchors.fill: parent; onClicked: livePanel.open() }
            ToolTip.visible: liveHover.hovered && !livePanel.opened
            ToolTip.text: "Going live: destinations, their state and health"
            HoverHandler { id: liveHover }
            LivePanel { id: livePanel; objectName: "livePanel"; theme: root.theme; y: parent.height + 4 }
        }
        ToolButton {
            objectName: "saveReplayButton"
            text: replay.saving ? "↺ Saving…" : "↺ Save replay"
            implicitHeight: 24
            enabled: !replay.saving
            palette.buttonText: replay.enabled ? "#bf5af2" : theme.dim
            onClicked: replay.save()
            ToolTip.visible: hovered
            ToolTip.text: replay.enabled ? "Save the last " + replay.lengths[Math.max(0, replay.length)] + " of Program"
                                         : "The replay buffer is off (Settings)"
        }
        ToolButton {
            objectName: "playReplayButton"
            text: "▶ Replay"
            implicitHeight: 24
            enabled: replay.canPlay
            onClicked: replay.play()
            ToolTip.visible: hovered
            ToolTip.text: "Play the newest replay over Program"
        }
        ToolButton {
            objectName: "settingsButton"
            text: "⚙"
            implicitHeight: 24
            onClicked: settingsDialog.open()
            ToolTip.visible: hovered
            ToolTip.text: "Settings"
        }
        Text { text: status.fps.toFixed(1) + " fps"; color: theme.text }
        Text { text: "CPU " + status.cpuPercent.toFixed(0) + " %"; color: theme.text }
        Text {
            text: "Disk " + status.diskFreePercent + " % free"
            color: status.diskFreePercent < 10 ? theme.pending : theme.text
        }
        Text {
            visible: status.droppedText !== ""
            text: "Dropped: " + status.droppedText
            color: theme.text
        }
        Text {
            Layout.fillWidth: true
            horizontalAlignment: Text.AlignRight
            text: status.lastLogLine
            color: theme.dim
            elide: Text.ElideLeft
            MouseArea { anchors.fill: parent; onClicked: root.logRequested() }
        }
    }
    SettingsDialog { id: settingsDialog; theme: root.theme }
}
