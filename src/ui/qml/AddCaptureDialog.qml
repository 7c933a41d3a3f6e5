import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Tavorin

// Adds a camera, a display, a window or an application's windows: pick one,
// see it live, choose how large it may be, add it.
Dialog {
    id: root
    property Theme theme: Theme {}
    readonly property var kinds: ["camera", "display", "window", "application"]
    readonly property string kind: kinds[tabs.currentIndex]
    readonly property var entries: kind === "camera" ? capture.cameras
                                 : kind === "display" ? capture.displays
                                 : kind === "window" ? capture.windows : capture.applications
    property string picked: ""
    property string shown: ""
    title: "Add a camera or screen"
    modal: true
    anchors.centerIn: Overlay.overlay
    width: Math.min(760, Overlay.overlay ? Overlay.overlay.width - 40 : 760)
    height: Math.min(500, Overlay.overlay ? Overlay.overlay.height - 40 : 500)
    standardButtons: Dialog.Cancel

    function openOn(kind) {
        tabs.currentIndex = Math.max(0, kinds.indexOf(kind))
        capture.refresh()
        open()
    }
    function pick(key) {
        picked = key
        shown = key === "" ? "" : capture.preview(kind, key)
    }
    onKindChanged: pick("")
    onClosed: { capture.stopPreview(); picked = ""; shown = "" }

    ColumnLayout {
        anchors.fill: parent
        spacing: theme.gap
        TabBar {
            id: tabs
            Layout.fillWidth: true
            TabButton { text: "Camera" }
            TabButton { text: "Display" }
            TabButton { text: "Window" }
            TabButton { text: "Application" }
        }
        Label {
            visible: root.kind !== "camera" && capture.screenProblem !== ""
            Layout.fillWidth: true
            text: capture.screenProblem
            wrapMode: Text.Wrap
            color: theme.pending
        }
        Label {
            visible: (root.kind === "window" || root.kind === "application") && capture.screenShareOnly
            Layout.fillWidth: true
            text: "On this desktop a window is chosen in the desktop's own screen-share dialog: add “Screen or window (choose…)” under Display. Applications and leaving windows out of a display need an X11 session."
            wrapMode: Text.Wrap
            color: theme.dim
        }
        RowLayout {
            Layout.fillWidth: true
            Layout.fillHeight: true
            spacing: theme.gap
            ListView {
                id: list
                objectName: "captureList"
                Layout.preferredWidth: 300
                Layout.fillHeight: true
                clip: true
                spacing: 2
                model: root.entries
                delegate: Rectangle {
                    id: entry
                    required property var modelData
                    width: list.width
                    height: 40
                    radius: 3
                    color: root.picked === modelData.key ? theme.selected : theme.raised
                    Column {
                        anchors { left: parent.left; right: parent.right; verticalCenter: parent.verticalCenter; margins: 6 }
                        Text { text: entry.modelData.name; color: theme.text; elide: Text.ElideRight; width: parent.width; font.pixelSize: 12 }
                        Text { text: entry.modelData.detail; color: theme.dim; elide: Text.ElideRight; width: parent.width; font.pixelSize: 10 }
                    }
                    MouseArea { anchors.fill: parent; onClicked: root.pick(entry.modelData.key) }
                }
                Label {
                    anchors.centerIn: parent
                    visible: list.count === 0
                    text: root.kind === "camera" ? "No camera found" : "Nothing to capture"
                    color: theme.dim
                }
            }
            ColumnLayout {
                Layout.fillWidth: true
                Layout.fillHeight: true
                MonitorView {
                    objectName: "capturePreview"
                    canvas: root.shown
                    label: "LIVE LOOK"
                    tally: theme.raised
                    Layout.fillWidth: true
                    Layout.preferredHeight: Math.min(width * 9 / 16, 200)
                    Layout.minimumHeight: 160
                }
                RowLayout {
                    Label { text: "Quality"; color: theme.dim }
                    ComboBox {
                        id: qualityPicker
                        Layout.fillWidth: true
                        model: capture.qualities
                        currentIndex: 2
                    }
                }
                Item { Layout.fillHeight: true }
                RowLayout {
                    Button { text: "Refresh"; onClicked: capture.refresh() }
                    Item { Layout.fillWidth: true }
                    Button {
                        objectName: "addCaptureButton"
                        text: "Add"
                        highlighted: true
                        enabled: root.picked !== ""
                        onClicked: {
                            capture.add(root.kind, root.picked, qualityPicker.currentIndex)
                            root.close()
                        }
                    }
                }
            }
        }
    }
}
