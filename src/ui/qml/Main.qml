import QtQuick
import QtQuick.Controls
import QtQuick.Layouts

ApplicationWindow {
    id: window
    objectName: "mainWindow"
    visible: true
    width: 1366
    height: 768
    minimumWidth: 1024
    minimumHeight: 600
    title: "Tavorin"
    color: theme.window

    property Theme theme: Theme {}
    property bool safeAreas: false
    // Shortcuts stay quiet while the operator types.
    readonly property bool typing: activeFocusItem !== null && activeFocusItem.hasOwnProperty("cursorPosition")

    palette.window: theme.window
    palette.base: theme.raised
    palette.button: theme.raised
    palette.buttonText: theme.text
    palette.text: theme.text
    palette.windowText: theme.text
    palette.highlight: theme.selected
    palette.highlightedText: "white"
    palette.mid: theme.line
    palette.light: theme.line
    palette.dark: theme.window

    header: StatusStrip { theme: window.theme; onLogRequested: logPanel.open() }

    SplitView {
        anchors.fill: parent
        orientation: Qt.Horizontal

        SplitView {
            SplitView.preferredWidth: 300
            SplitView.minimumWidth: 220
            orientation: Qt.Vertical
            SourcesPanel { theme: window.theme; SplitView.fillHeight: true }
            LayersPanel { theme: window.theme; SplitView.preferredHeight: 200 }
            InspectorPanel { theme: window.theme; SplitView.preferredHeight: 260 }
        }

        ColumnLayout {
            SplitView.fillWidth: true
            spacing: window.theme.gap

            RowLayout {
                id: monitors
                Layout.fillWidth: true
                // A layout fills by default: the monitors keep 16:9 and the scenes take the rest.
                Layout.fillHeight: false
                Layout.preferredHeight: (width - window.theme.gap) / 2 * 9 / 16
                Layout.margins: window.theme.gap
                spacing: window.theme.gap
                MonitorView {
                    id: previewMonitor
                    objectName: "previewMonitor"
                    Layout.fillWidth: true
                    Layout.fillHeight: true
                    canvas: "preview"
                    label: switcher.studioMode ? "PREVIEW" : "PREVIEW · DIRECT"
                    tally: window.theme.preview
                    guides: window.safeAreas
                    theme: window.theme
                    PreviewEditing {
                        anchors.fill: previewMonitor.monitor
                        monitor: previewMonitor.monitor
                        theme: window.theme
                    }
                }
                MonitorView {
                    objectName: "programMonitor"
                    Layout.fillWidth: true
                    Layout.fillHeight: true
                    canvas: "program"
                    label: "PROGRAM"
                    tally: window.theme.program
                    guides: window.safeAreas
                    theme: window.theme
                }
            }
            SwitcherBar { Layout.fillWidth: true; theme: window.theme }
            SplitView {
                Layout.fillWidth: true
                Layout.fillHeight: true
                orientation: Qt.Vertical
                SceneGrid { SplitView.preferredHeight: 172; SplitView.minimumHeight: 80; theme: window.theme }
                // The effects sit beside the mixer: firing one, the operator sees its meter.
                SplitView {
                    SplitView.fillHeight: true
                    SplitView.minimumHeight: 120
                    orientation: Qt.Horizontal
                    MixerPanel { objectName: "mixerPanel"; SplitView.fillWidth: true; SplitView.minimumWidth: 400; theme: window.theme }
                    SoundEffectsPanel { objectName: "soundEffectsPanel"; SplitView.preferredWidth: 290; SplitView.minimumWidth: 160; theme: window.theme }
                }
            }
        }
    }

    LogPanel {
        id: logPanel
        theme: window.theme
        x: window.width - width - 8
        y: 4
        width: Math.min(640, window.width - 16)
        height: Math.min(360, window.height - 60)
    }

    Shortcut { sequences: ["Space", "Return", "Enter"]; enabled: !window.typing; onActivated: switcher.take() }
    Shortcut { sequence: "C"; enabled: !window.typing; onActivated: switcher.cut() }
    Shortcut { sequences: ["Delete", "Backspace"]; enabled: !window.typing && layers.selectedID !== ""; onActivated: layers.remove(layers.selectedID) }
    Shortcut { sequence: "G"; enabled: !window.typing; onActivated: window.safeAreas = !window.safeAreas }
    Shortcut { sequences: ["F1", "?"]; enabled: !window.typing; onActivated: help.open() }
    ShortcutHelp { id: help; theme: window.theme }
    OnboardingDialog { objectName: "onboarding"; theme: window.theme }
    Repeater {
        model: 9
        Item {
            required property int index
            Shortcut { sequence: String(index + 1); enabled: !window.typing; onActivated: scenes.load(index) }
            Shortcut { sequence: "Ctrl+" + (index + 1); enabled: !window.typing; onActivated: scenes.take(index) }
        }
    }
}
