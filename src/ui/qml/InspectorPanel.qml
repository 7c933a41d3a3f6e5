import QtQuick
import QtQuick.Controls
import QtQuick.Dialogs
import QtQuick.Layouts

// Every field of the selected layer: numbers typed or stepped (with their
// units), switches, choices and colours; then its effects.
Rectangle {
    id: root
    property Theme theme: Theme {}
    color: theme.panel

    ColumnLayout {
        anchors.fill: parent
        anchors.margins: theme.gap
        spacing: theme.gap
        Label {
            text: inspector.active ? "Layer" : "Layer — select one on Preview"
            color: theme.dim
            font.bold: true
        }
        ListView {
            id: list
            objectName: "inspectorList"
            Layout.fillWidth: true
            Layout.fillHeight: true
            clip: true
            spacing: 2
            model: inspector
            delegate: RowLayout {
                id: row
                required property string key
                required property string label
                required property string kind
                required property string unit
                required property real min
                required property real max
                required property real step
                required property var choices
                required property var value
                width: list.width
                height: 30
                Text {
                    text: row.label
                    color: theme.text
                    font.pixelSize: 12
                    Layout.preferredWidth: 110
                    elide: Text.ElideRight
                }
                Loader {
                    Layout.fillWidth: true
                    sourceComponent: row.kind === "number" ? numberEditor
                                   : row.kind === "bool" ? boolEditor
                                   : row.kind === "choice" ? choiceEditor : colorEditor
                    // The editors read one record; only its value changes while the layer moves.
                    property var field: ({key: row.key, unit: row.unit, min: row.min, max: row.max, step: row.step,
                                          choices: row.choices, value: row.value})
                }
            }
        }
        // Shapes drawn on Preview: mask regions point by point, and the four corners of a pin.
        Flow {
            visible: inspector.active
            Layout.fillWidth: true
            spacing: 4
            Button {
                objectName: "drawMaskButton"
                text: "Draw mask"
                checkable: true
                checked: shapes.maskEditing
                onToggled: shapes.maskEditing = checked
                ToolTip.visible: hovered
                ToolTip.text: "Click points on Preview; click the first point again to close the region"
            }
            Button {
                text: "Close region"
                enabled: shapes.maskDraft.length >= 3
                onClicked: shapes.closeMaskRegion()
            }
            Button {
                text: "Undo point"
                enabled: shapes.maskDraft.length > 0
                onClicked: shapes.undoMaskPoint()
            }
            Button {
                text: "Clear mask"
                enabled: shapes.maskRegions.length > 0 || shapes.maskDraft.length > 0
                onClicked: shapes.clearMask()
            }
            Button {
                objectName: "cornerPinButton"
                text: "Corner pin"
                checkable: true
                checked: shapes.pin.length === 4
                onToggled: shapes.setPinned(checked)
                ToolTip.visible: hovered
                ToolTip.text: "Drag the four corners on Preview to place the layer in perspective"
            }
        }
        FilterStackEditor {
            visible: filters.active
            Layout.fillWidth: true
            theme: root.theme
        }
    }

    Component {
        id: numberEditor
        SpinBox {
            readonly property real scale: 1 / parent.field.step
            from: parent.field.min * scale
            to: parent.field.max * scale
            value: Math.round(parent.field.value * scale)
            editable: true
            textFromValue: (v) => (v / scale).toFixed(parent.field.step < 1 ? 2 : 0) + " " + parent.field.unit
            valueFromText: (t) => Math.round(parseFloat(t) * scale)
            onValueModified: inspector.setValue(parent.field.key, value / scale)
        }
    }
    Component {
        id: boolEditor
        Switch {
            checked: parent.field.value
            onToggled: inspector.setValue(parent.field.key, checked)
        }
    }
    Component {
        id: choiceEditor
        ComboBox {
            model: parent.field.choices
            currentIndex: parent.field.value
            onActivated: (index) => inspector.setValue(parent.field.key, index)
        }
    }
    Component {
        id: colorEditor
        RowLayout {
            readonly property var field: parent.field
            Rectangle {
                Layout.fillWidth: true
                height: 22
                radius: 3
                color: parent.field.value
                border.color: theme.line
                MouseArea {
                    anchors.fill: parent
                    onClicked: {
                        colorDialog.key = parent.parent.field.key
                        colorDialog.selectedColor = parent.color
                        colorDialog.open()
                    }
                }
            }
            Button {
                text: "Pick"
                checkable: true
                checked: inspector.pickingKey === parent.field.key
                ToolTip.visible: hovered
                ToolTip.text: "Click the Preview monitor to take its colour there"
                onClicked: inspector.pickingKey = checked ? parent.field.key : ""
            }
        }
    }
    ColorDialog {
        id: colorDialog
        property string key
        onAccepted: inspector.setValue(key, selectedColor)
    }
}
