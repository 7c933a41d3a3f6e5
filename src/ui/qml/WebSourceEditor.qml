import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Tavorin

// One web source seen live. An overlay: its params, each change on air at
// once, and Replay. A browser page: its address and history, "Use this page",
// and a visible browser window to log in with.
Dialog {
    id: root
    property Theme theme: Theme {}
    title: (web.editingKind === "browser" ? "Web page — " : "Overlay — ") + web.editingName
    modal: false
    anchors.centerIn: Overlay.overlay
    width: Math.min(720, Overlay.overlay ? Overlay.overlay.width - 40 : 720)
    height: Math.min(600, Overlay.overlay ? Overlay.overlay.height - 40 : 600)
    standardButtons: Dialog.Close

    function edit(sourceID) {
        web.editing = sourceID
        open()
    }
    onClosed: web.editing = ""

    ColumnLayout {
        anchors.fill: parent
        spacing: theme.gap
        MonitorView {
            objectName: "webMonitor"
            canvas: web.editing === "" ? "" : "source:" + web.editing
            label: web.interactive ? "IN THE BROWSER WINDOW" : "LIVE"
            tally: theme.raised
            Layout.fillWidth: true
            Layout.preferredHeight: width * 9 / 16
            Layout.maximumHeight: root.height * 0.45
        }

        // The browser page.
        RowLayout {
            visible: web.editingKind === "browser"
            Layout.fillWidth: true
            Button { text: "◀"; ToolTip.visible: hovered; ToolTip.text: "Back"; onClicked: web.goBack() }
            Button { text: "▶"; ToolTip.visible: hovered; ToolTip.text: "Forward"; onClicked: web.goForward() }
            Button { text: "⟳"; ToolTip.visible: hovered; ToolTip.text: "Reload"; onClicked: web.reload() }
            TextField {
                id: addressField
                objectName: "webAddress"
                Layout.fillWidth: true
                placeholderText: "https://…"
                text: web.address
                onAccepted: web.navigate(text)
            }
            Button {
                id: useButton
                objectName: "usePageButton"
                text: "Use this page"
                ToolTip.visible: hovered
                ToolTip.text: "Remember this exact page — it'll reopen here next time"
                onClicked: if (web.useThisPage()) { text = "Saved ✓"; savedTimer.restart() }
                Timer { id: savedTimer; interval: 1200; onTriggered: useButton.text = "Use this page" }
            }
        }
        RowLayout {
            visible: web.editingKind === "browser"
            Layout.fillWidth: true
            Button {
                objectName: "interactiveButton"
                text: web.interactive ? "Done" : "Open in a browser window…"
                ToolTip.visible: hovered
                ToolTip.text: web.interactive ? "Close the browser window; the page goes on air again"
                                              : "Log in or browse in a real window; logins stay with the show"
                onClicked: web.interactive ? web.endInteractive() : web.showInteractive()
            }
            Label {
                visible: web.interactive
                text: "The page holds its last picture while its window is open."
                color: theme.pending
                wrapMode: Text.Wrap
                Layout.fillWidth: true
            }
        }

        // The overlay's params.
        Label {
            visible: web.editingKind === "overlay" && web.params.length === 0
            text: "This overlay has no settings."
            color: theme.dim
        }
        ScrollView {
            visible: web.editingKind === "overlay"
            Layout.fillWidth: true
            Layout.fillHeight: true
            clip: true
            ColumnLayout {
                width: root.availableWidth
                Repeater {
                    model: web.params
                    delegate: RowLayout {
                        id: param
                        required property var modelData
                        required property int index
                        Layout.fillWidth: true
                        Label { text: param.modelData.label; color: theme.text; Layout.preferredWidth: 180; elide: Text.ElideRight }
                        Switch {
                            visible: param.modelData.type === "bool"
                            checked: param.modelData.value === "1" || param.modelData.value.toLowerCase() === "true"
                            onToggled: web.setParam(param.modelData.key, checked ? "1" : "0")
                        }
                        OverlayLoopControl {
                            visible: param.modelData.key === "loopCount" && param.modelData.type !== "bool"
                            value: Number(param.modelData.value)
                            onPicked: (count) => web.setParam(param.modelData.key, String(count))
                        }
                        TextField {
                            objectName: "overlayParam" + param.index
                            visible: param.modelData.type !== "bool" && param.modelData.key !== "loopCount"
                            text: param.modelData.value
                            Layout.fillWidth: true
                            onTextEdited: web.setParam(param.modelData.key, text)
                        }
                    }
                }
            }
        }
        RowLayout {
            visible: web.editingKind === "overlay"
            Button {
                objectName: "replayButton"
                text: "↺ Replay"
                ToolTip.visible: hovered
                ToolTip.text: "Play the overlay's animation again from its start"
                onClicked: web.replay()
            }
        }
    }
}
