import QtQuick
import QtQuick.Controls
import QtQuick.Layouts

// One cue: its name, what it shows (an overlay with its values, or a source),
// where it sits on the canvas, how it enters and leaves, when it hides by
// itself and the sound it fires. "Edit on canvas" stages it as a layer to
// place by hand; ✨ in the layer's row saves it back.
Dialog {
    id: root
    property Theme theme: Theme {}
    property var draft: ({})
    property var overlays: []
    property var sources: []
    property var sounds: []
    property var paramList: []
    title: "Cue — " + (draft.name || "")
    modal: true
    anchors.centerIn: Overlay.overlay
    width: Math.min(560, Overlay.overlay ? Overlay.overlay.width - 40 : 560)
    height: Math.min(640, Overlay.overlay ? Overlay.overlay.height - 40 : 640)
    standardButtons: Dialog.Save | Dialog.Cancel

    function edit(id) {
        overlays = graphics.overlayChoices()
        sources = graphics.sourceChoices()
        sounds = graphics.soundChoices()
        draft = graphics.cue(id)
        if (!draft.id) return
        refreshParams()
        open()
    }
    function refreshParams() { paramList = draft.overlayID ? graphics.params(draft.overlayID, draft.config) : [] }
    function set(key, value) {
        const copy = Object.assign({}, draft)
        copy[key] = value
        draft = copy
    }
    function setParam(key, value) {
        const config = Object.assign({}, draft.config)
        config[key] = value
        set("config", config)
    }
    // What the cue shows, as one list: overlays first, then the show's sources.
    readonly property var showChoices: overlays.map(o => ({key: "o:" + o.id, name: "Overlay: " + o.name}))
                                         .concat(sources.map(s => ({key: "s:" + s.id, name: s.name})))
    function showKey() { return draft.overlayID ? "o:" + draft.overlayID : draft.sourceID ? "s:" + draft.sourceID : "" }
    function indexIn(list, pick) { for (let i = 0; i < list.length; ++i) if (pick(list[i])) return i; return -1 }

    onAccepted: graphics.save(draft)

    ScrollView {
        anchors.fill: parent
        clip: true
        GridLayout {
            width: root.availableWidth
            columns: 2
            columnSpacing: 10
            rowSpacing: 6

            Label { text: "Name"; color: theme.dim }
            TextField {
                objectName: "cueName"
                Layout.fillWidth: true
                text: root.draft.name || ""
                onTextEdited: root.set("name", text)
            }

            Label { text: "Shows"; color: theme.dim }
            ComboBox {
                objectName: "cueShows"
                Layout.fillWidth: true
                model: root.showChoices
                textRole: "name"
                currentIndex: root.indexIn(root.showChoices, c => c.key === root.showKey())
                displayText: currentIndex < 0 ? "Missing — pick what the cue shows" : currentText
                onActivated: (index) => {
                    const key = root.showChoices[index].key
                    const copy = Object.assign({}, root.draft)
                    copy.overlayID = key.startsWith("o:") ? key.substring(2) : ""
                    copy.sourceID = key.startsWith("s:") ? key.substring(2) : ""
                    if (copy.overlayID !== root.draft.overlayID) copy.config = {}
                    root.draft = copy
                    root.refreshParams()
                }
            }

            // The overlay's values, as the cue's own page gets them.
            Label { visible: root.paramList.length > 0; text: "Values"; color: theme.dim; Layout.alignment: Qt.AlignTop }
            ColumnLayout {
                visible: root.paramList.length > 0
                Layout.fillWidth: true
                Repeater {
                    model: root.paramList
                    delegate: RowLayout {
                        id: param
                        required property var modelData
                        required property int index
                        Layout.fillWidth: true
                        Label { text: param.modelData.label; color: theme.text; Layout.preferredWidth: 130; elide: Text.ElideRight }
                        Switch {
                            visible: param.modelData.type === "bool"
                            checked: param.modelData.value === "1" || param.modelData.value.toLowerCase() === "true"
                            onToggled: root.setParam(param.modelData.key, checked ? "1" : "0")
                        }
                        OverlayLoopControl {
                            visible: param.modelData.key === "loopCount" && param.modelData.type !== "bool"
                            value: Number(param.modelData.value)
                            onPicked: (count) => root.setParam(param.modelData.key, String(count))
                        }
                        TextField {
                            objectName: "cueParam" + param.index
                            visible: param.modelData.type !== "bool" && param.modelData.key !== "loopCount"
                            text: param.modelData.value
                            Layout.fillWidth: true
                            onTextEdited: root.setParam(param.modelData.key, text)
                        }
                    }
                }
            }

            Label { text: "Place"; color: theme.dim }
            RowLayout {
                Layout.fillWidth: true
                Repeater {
                    model: [{key: "centerX", label: "X"}, {key: "centerY", label: "Y"},
                            {key: "width", label: "W"}, {key: "height", label: "H"}]
                    delegate: RowLayout {
                        required property var modelData
                        spacing: 2
                        Label { text: modelData.label; color: theme.dim }
                        SpinBox {
                            objectName: "cuePlace_" + modelData.key
                            from: modelData.key === "width" || modelData.key === "height" ? 1 : 0
                            to: 100
                            editable: true
                            value: Math.round((root.draft[modelData.key] || 0) * 100)
                            textFromValue: (v) => v + " %"
                            valueFromText: (t) => parseInt(t)
                            implicitWidth: 92
                            ToolTip.visible: hovered
                            ToolTip.text: modelData.key.startsWith("center") ? "Centre, in % of the canvas" : "Size, in % of the canvas"
                            onValueModified: root.set(modelData.key, value / 100)
                        }
                    }
                }
            }

            Label { text: "Hide"; color: theme.dim }
            ComboBox {
                objectName: "cueAutoHide"
                Layout.fillWidth: true
                model: graphics.autoHideChoices
                textRole: "label"
                currentIndex: Math.max(0, root.indexIn(graphics.autoHideChoices, c => c.seconds === root.draft.durationSeconds))
                onActivated: (index) => root.set("durationSeconds", graphics.autoHideChoices[index].seconds)
            }

            Label { text: "Enter"; color: theme.dim }
            RowLayout {
                ComboBox {
                    objectName: "cueEnterMove"
                    Layout.fillWidth: true
                    model: graphics.moves
                    textRole: "label"
                    currentIndex: root.indexIn(graphics.moves, m => m.value === root.draft.enterMove)
                    onActivated: (index) => root.set("enterMove", graphics.moves[index].value)
                }
                SpinBox {
                    from: 5; to: 500; stepSize: 5; editable: true
                    value: Math.round((root.draft.enterDuration || 0.35) * 100)
                    textFromValue: (v) => (v / 100).toFixed(2) + " s"
                    valueFromText: (t) => Math.round(parseFloat(t) * 100)
                    implicitWidth: 110
                    ToolTip.visible: hovered
                    ToolTip.text: "How long the enter move takes"
                    onValueModified: root.set("enterDuration", value / 100)
                }
            }

            Label { text: "Exit"; color: theme.dim }
            RowLayout {
                ComboBox {
                    objectName: "cueExitMove"
                    Layout.fillWidth: true
                    model: graphics.moves
                    textRole: "label"
                    currentIndex: root.indexIn(graphics.moves, m => m.value === root.draft.exitMove)
                    onActivated: (index) => root.set("exitMove", graphics.moves[index].value)
                }
                SpinBox {
                    from: 5; to: 500; stepSize: 5; editable: true
                    value: Math.round((root.draft.exitDuration || 0.3) * 100)
                    textFromValue: (v) => (v / 100).toFixed(2) + " s"
                    valueFromText: (t) => Math.round(parseFloat(t) * 100)
                    implicitWidth: 110
                    ToolTip.visible: hovered
                    ToolTip.text: "How long the exit move takes"
                    onValueModified: root.set("exitDuration", value / 100)
                }
            }

            Label { text: "Sound"; color: theme.dim }
            ComboBox {
                objectName: "cueSound"
                Layout.fillWidth: true
                readonly property var choices: [{id: "", name: "None"}].concat(root.sounds)
                model: choices
                textRole: "name"
                currentIndex: Math.max(0, root.indexIn(choices, s => s.id === (root.draft.soundID || "")))
                onActivated: (index) => root.set("soundID", choices[index].id)
            }

            Item { width: 1 }
            RowLayout {
                Button {
                    objectName: "cueEditOnCanvas"
                    text: "Edit on canvas"
                    ToolTip.visible: hovered
                    ToolTip.text: "Put the cue on the canvas as a layer to place by hand; ✨ in its row saves it back"
                    onClicked: {
                        graphics.save(root.draft)
                        graphics.editOnCanvas(root.draft.id)
                        root.close()
                    }
                }
                Button {
                    text: "Add as layer"
                    ToolTip.visible: hovered
                    ToolTip.text: "Add the cue's picture to the scene being edited"
                    onClicked: {
                        graphics.save(root.draft)
                        graphics.addAsLayer(root.draft.id)
                        root.close()
                    }
                }
            }
        }
    }
}
