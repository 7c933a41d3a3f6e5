import QtQuick
import QtQuick.Controls
import QtQuick.Layouts

ApplicationWindow {
    id: window
    objectName: "mainWindow"
    visible: true
    width: 1366
    height: 768
    minimumWidth: mini ? 280 : 1024
    minimumHeight: mini ? 240 : 600
    title: "Tavorin"
    color: theme.window

    property Theme theme: Theme {}
    property bool safeAreas: false
    // The compact window: the deck alone, on top of other windows, for running
    // the show from a corner of the screen (Ctrl+Alt+Super+M, anywhere).
    property bool mini: false
    property rect fullGeometry
    function toggleMini() {
        if (!mini) {
            fullGeometry = Qt.rect(x, y, width, height)
            mini = true
            flags = flags | Qt.WindowStaysOnTopHint
            width = 420
            height = 340
        } else {
            mini = false
            flags = flags & ~Qt.WindowStaysOnTopHint
            x = fullGeometry.x
            y = fullGeometry.y
            width = fullGeometry.width
            height = fullGeometry.height
        }
    }
    Connections {
        target: deck
        function onToggleMiniMode() { window.toggleMini() }
    }
    // Shortcuts stay quiet while the operator types.
    readonly property bool typing: activeFocusItem !== null
                                   && (activeFocusItem.hasOwnProperty("cursorPosition") || activeFocusItem.capturesKeys === true)

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

    Loader {
        objectName: "miniDeck"
        active: window.mini
        anchors.fill: parent
        sourceComponent: DeckPanel { theme: window.theme }
    }

    SplitView {
        visible: !window.mini
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
                    // The deck, the sounds and the cues share a pane: the mixer needs the width.
                    ColumnLayout {
                        SplitView.preferredWidth: 290
                        SplitView.minimumWidth: 200
                        spacing: 0
                        TabBar {
                            id: controlTabs
                            Layout.fillWidth: true
                            TabButton { objectName: "deckTab"; text: "Deck"; font.pixelSize: 11 }
                            TabButton { objectName: "soundsTab"; text: "Sounds"; font.pixelSize: 11 }
                            TabButton { objectName: "graphicsTab"; text: "Graphics"; font.pixelSize: 11 }
                        }
                        StackLayout {
                            Layout.fillWidth: true
                            Layout.fillHeight: true
                            currentIndex: controlTabs.currentIndex
                            DeckPanel { objectName: "deckPanel"; theme: window.theme }
                            SoundEffectsPanel { objectName: "soundEffectsPanel"; theme: window.theme }
                            GraphicsPanel { objectName: "graphicsPanel"; theme: window.theme }
                        }
                    }
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
