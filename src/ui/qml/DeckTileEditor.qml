import QtQuick
import QtQuick.Controls
import QtQuick.Layouts

// One tile: what it does and on what, how it looks, and the key that presses
// it from anywhere. The key field records the next key pressed while it has
// focus; a plain letter is refused so typing elsewhere never fires a tile.
Dialog {
    id: root
    objectName: "tileEditor"
    property Theme theme: Theme {}
    property var draft: ({})
    property var kinds: deck.actionKinds()
    readonly property var kindInfo: kinds.find(k => k.kind === draft.kind) || ({ target: "" })
    property string keyMessage: ""
    title: draft.id ? "Edit tile" : "New tile"
    modal: true
    anchors.centerIn: Overlay.overlay
    width: 440
    standardButtons: Dialog.Save | Dialog.Cancel

    function openFor(tileID) {
        kinds = deck.actionKinds()
        draft = deck.tile(tileID)
        keyMessage = ""
        open()
    }
    function set(key, value) {
        const next = Object.assign({}, draft)
        next[key] = value
        draft = next
    }
    readonly property var targetChoices: kindInfo.target === "" ? [] : deck.targets(kindInfo.target)

    onAccepted: deck.saveTile(draft)

    GridLayout {
        anchors.fill: parent
        columns: 2
        columnSpacing: 8
        rowSpacing: 6

        Label { text: "Action"; color: theme.dim }
        ComboBox {
            objectName: "tileKindPicker"
            Layout.fillWidth: true
            model: root.kinds
            textRole: "label"
            valueRole: "kind"
            currentIndex: indexOfValue(root.draft.kind)
            onActivated: {
                root.set("kind", currentValue)
                const choices = root.targetChoices
                root.set("target", choices.length > 0 ? choices[0].id : "")
            }
        }

        Label { text: "Target"; color: theme.dim; visible: root.kindInfo.target !== "" }
        ComboBox {
            objectName: "tileTargetPicker"
            visible: root.kindInfo.target !== ""
            enabled: root.targetChoices.length > 0
            Layout.fillWidth: true
            model: root.targetChoices
            textRole: "name"
            valueRole: "id"
            displayText: root.targetChoices.length > 0 ? currentText : "Nothing to choose yet"
            currentIndex: indexOfValue(root.draft.target)
            onActivated: root.set("target", currentValue)
        }

        Label { text: "Route"; color: theme.dim; visible: root.kindInfo.target === "route" }
        ComboBox {
            visible: root.kindInfo.target === "route"
            Layout.fillWidth: true
            model: [{ v: "air", t: "On air" }, { v: "cue", t: "Cue" }, { v: "monitor", t: "Monitor" }, { v: "afv", t: "Audio follows video" }]
            textRole: "t"
            valueRole: "v"
            currentIndex: indexOfValue(root.draft.route)
            onActivated: root.set("route", currentValue)
        }

        Label { text: "Second press"; color: theme.dim; visible: root.draft.kind === "playSound" }
        ComboBox {
            visible: root.draft.kind === "playSound"
            Layout.fillWidth: true
            model: [{ v: "Restart", t: "Plays again from the start" }, { v: "Stop", t: "Stops it" }, { v: "Loop", t: "Loops until pressed again" }]
            textRole: "t"
            valueRole: "v"
            currentIndex: indexOfValue(root.draft.soundMode)
            onActivated: root.set("soundMode", currentValue)
        }

        Label { text: "Take with"; color: theme.dim; visible: root.draft.kind === "loadLayout" }
        ComboBox {
            visible: root.draft.kind === "loadLayout"
            Layout.fillWidth: true
            model: [{ id: "", name: "The switcher's transition" }].concat(deck.targets("transition"))
            textRole: "name"
            valueRole: "id"
            currentIndex: Math.max(0, indexOfValue(root.draft.takeTransitionID))
            onActivated: root.set("takeTransitionID", currentValue)
        }

        Label { text: "Label"; color: theme.dim }
        TextField {
            objectName: "tileLabelField"
            Layout.fillWidth: true
            placeholderText: root.draft.generatedTitle || ""
            text: root.draft.label || ""
            onTextEdited: root.set("label", text)
        }

        Label { text: "Colour"; color: theme.dim }
        RowLayout {
            spacing: 3
            Repeater {
                model: ["", "#0a84ff", "#34c759", "#ff453a", "#ff9f0a", "#ffd60a", "#bf5af2", "#2ec4b6", "#8e8e93"]
                delegate: Rectangle {
                    required property string modelData
                    width: 20
                    height: 20
                    radius: 3
                    color: modelData === "" ? theme.raised : modelData
                    border.width: (root.draft.colorHex || "") === modelData ? 2 : 0
                    border.color: "white"
                    Label { visible: modelData === ""; anchors.centerIn: parent; text: "A"; color: theme.dim; font.pixelSize: 10 }
                    TapHandler { onTapped: root.set("colorHex", parent.modelData) }
                    HoverHandler { id: swatchHover }
                    ToolTip.visible: swatchHover.hovered
                    ToolTip.text: modelData === "" ? "The action's own colour" : modelData
                }
            }
            TextField {
                Layout.preferredWidth: 80
                placeholderText: "#rrggbb"
                text: root.draft.colorHex || ""
                validator: RegularExpressionValidator { regularExpression: /^(#[0-9a-fA-F]{0,6})?$/ }
                onEditingFinished: root.set("colorHex", text)
            }
        }

        Label { text: "Symbol"; color: theme.dim }
        ComboBox {
            Layout.fillWidth: true
            model: [{ name: "", glyph: "Automatic" }].concat(deck.symbols())
            textRole: "glyph"
            valueRole: "name"
            currentIndex: Math.max(0, indexOfValue(root.draft.symbol))
            onActivated: root.set("symbol", currentValue)
        }

        Label { text: "Size"; color: theme.dim }
        RowLayout {
            ComboBox {
                Layout.fillWidth: true
                model: [{ v: "", t: "Automatic" }, { v: "Small", t: "Small (1 cell)" }, { v: "Medium", t: "Medium (2×2)" }, { v: "Large", t: "Large (4×4)" }]
                textRole: "t"
                valueRole: "v"
                currentIndex: Math.max(0, indexOfValue(root.draft.size))
                onActivated: root.set("size", currentValue)
            }
            CheckBox {
                text: "Icon only"
                checked: root.draft.hideLabel || false
                onToggled: root.set("hideLabel", checked)
            }
        }

        Label { text: "Hotkey"; color: theme.dim }
        RowLayout {
            Rectangle {
                id: keyField
                objectName: "hotkeyField"
                // The window's key forwarding leaves this field's keys alone.
                property bool capturesKeys: true
                Layout.fillWidth: true
                implicitHeight: 28
                radius: 3
                color: theme.raised
                border.color: activeFocus ? theme.selected : theme.line
                activeFocusOnTab: true
                Label {
                    anchors.fill: parent
                    anchors.leftMargin: 6
                    verticalAlignment: Text.AlignVCenter
                    text: root.draft.hasHotkey ? root.draft.hotkeyDisplay
                                               : keyField.activeFocus ? "Press the key…" : "Click, then press a key"
                    color: root.draft.hasHotkey ? theme.text : theme.dim
                    font.pixelSize: 12
                }
                TapHandler { onTapped: keyField.forceActiveFocus() }
                // Every key is the field's while it records, the window's shortcuts included.
                Keys.onShortcutOverride: (event) => { event.accepted = true }
                Keys.onPressed: (event) => {
                    event.accepted = true
                    const result = deck.captureKey(event.nativeScanCode, event.modifiers, event.text)
                    if (result.pending) return
                    if (!result.ok) {
                        root.keyMessage = result.message
                        return
                    }
                    root.keyMessage = ""
                    const next = Object.assign({}, root.draft)
                    next.hasHotkey = true
                    next.hotkeyKeyCode = result.keyCode
                    next.hotkeyModifiers = result.modifiers
                    next.hotkeyDisplay = result.display
                    root.draft = next
                }
            }
            ToolButton {
                text: "✕"
                enabled: root.draft.hasHotkey || false
                ToolTip.visible: hovered
                ToolTip.text: "No hotkey"
                onClicked: { root.set("hasHotkey", false); root.keyMessage = "" }
            }
        }
        Item { width: 1; height: 1; visible: root.keyMessage !== "" }
        Label {
            objectName: "hotkeyMessage"
            visible: root.keyMessage !== ""
            text: root.keyMessage
            color: theme.pending
            font.pixelSize: 11
            Layout.fillWidth: true
            wrapMode: Text.WordWrap
        }
    }
}
