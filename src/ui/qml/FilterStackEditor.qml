import QtQuick
import QtQuick.Controls
import QtQuick.Layouts

// The selected layer's effects, drawn first to last: each can be switched
// off, moved up, removed and tuned on its sliders; "+ Effect" adds one, a
// look replaces the stack, and the stack can be kept as a look of one's own.
ColumnLayout {
    id: root
    property Theme theme: Theme {}
    spacing: 4

    RowLayout {
        Layout.fillWidth: true
        Label { text: "Effects"; color: theme.dim; font.bold: true; Layout.fillWidth: true }
        ComboBox {
            objectName: "addEffect"
            displayText: "+ Effect"
            model: filters.kinds
            onActivated: (index) => filters.add(index)
        }
        ComboBox {
            objectName: "applyLook"
            displayText: "Look…"
            model: filters.builtInLooks.concat(filters.myLooks.map((look) => "★ " + look.name))
            onActivated: (index) => index < filters.builtInLooks.length
                ? filters.applyBuiltIn(index)
                : filters.applyMine(filters.myLooks[index - filters.builtInLooks.length].id)
        }
    }
    Repeater {
        model: filters.filters
        delegate: ColumnLayout {
            id: entry
            required property var modelData
            required property int index
            Layout.fillWidth: true
            spacing: 0
            RowLayout {
                Layout.fillWidth: true
                CheckBox {
                    objectName: "effectEnabled" + entry.index
                    checked: entry.modelData.enabled
                    onToggled: filters.setEnabled(entry.modelData.id, checked)
                    ToolTip.visible: hovered
                    ToolTip.text: "On or off; an effect switched off stays in the list"
                }
                Label {
                    text: entry.modelData.label
                    color: entry.modelData.enabled ? theme.text : theme.dim
                    Layout.fillWidth: true
                }
                ToolButton {
                    text: "↑"
                    enabled: entry.index > 0
                    onClicked: filters.move(entry.index, entry.index - 1)
                    ToolTip.visible: hovered
                    ToolTip.text: "Apply earlier"
                }
                ToolButton {
                    objectName: "removeEffect" + entry.index
                    text: "×"
                    onClicked: filters.remove(entry.modelData.id)
                    ToolTip.visible: hovered
                    ToolTip.text: "Remove this effect"
                }
            }
            Repeater {
                model: entry.modelData.params
                delegate: RowLayout {
                    id: param
                    required property var modelData
                    required property int index
                    readonly property real shown: modelData.unit === "%" ? modelData.value * 100 : modelData.value
                    Layout.fillWidth: true
                    Label {
                        text: param.modelData.label
                        color: theme.dim
                        font.pixelSize: 11
                        Layout.preferredWidth: 90
                        elide: Text.ElideRight
                    }
                    Slider {
                        objectName: "effectParam" + entry.index + "_" + param.index
                        Layout.fillWidth: true
                        from: param.modelData.min
                        to: param.modelData.max
                        value: param.modelData.value
                        onMoved: filters.setParam(entry.modelData.id, param.modelData.key, value)
                    }
                    Label {
                        text: param.shown.toFixed(Math.abs(param.shown) >= 100 ? 0 : 2)
                              + (param.modelData.unit === "" ? "" : " " + param.modelData.unit)
                        color: theme.text
                        font.pixelSize: 11
                        Layout.preferredWidth: 64
                        horizontalAlignment: Text.AlignRight
                    }
                }
            }
        }
    }
    RowLayout {
        Layout.fillWidth: true
        TextField {
            id: lookName
            objectName: "lookName"
            Layout.fillWidth: true
            placeholderText: "Name of a new look"
        }
        Button {
            objectName: "saveLook"
            text: "Save look"
            onClicked: {
                const refusal = filters.saveLook(lookName.text)
                lookError.text = refusal
                if (refusal === "") lookName.text = ""
            }
        }
    }
    Label {
        id: lookError
        visible: text !== ""
        Layout.fillWidth: true
        wrapMode: Text.WordWrap
        color: theme.pending
        font.pixelSize: 11
    }
}
