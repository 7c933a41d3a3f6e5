import QtQuick
import QtQuick.Controls
import QtQuick.Layouts

// One channel's filters in the order they run: add, move, switch on and off,
// remove, and a slider for each parameter with the value as the engine reads it.
Dialog {
    id: root
    property Theme theme: Theme {}
    title: "Filters — " + audioFilters.channelName
    modal: false
    anchors.centerIn: Overlay.overlay
    width: 420
    height: Math.min(560, parent ? parent.height - 40 : 560)
    standardButtons: Dialog.Close
    onClosed: audioFilters.channel = ""

    // A slider's 0..1 travel and a value, logarithmic where the parameter asks for it.
    function toValue(param, t) {
        if (param.log && param.min > 0) return param.min * Math.pow(param.max / param.min, t)
        return param.min + t * (param.max - param.min)
    }
    function toTravel(param, value) {
        if (param.log && param.min > 0) return Math.log(value / param.min) / Math.log(param.max / param.min)
        return (value - param.min) / (param.max - param.min)
    }

    ColumnLayout {
        anchors.fill: parent
        spacing: theme.gap
        RowLayout {
            ComboBox {
                id: kindPicker
                objectName: "filterKind"
                Layout.fillWidth: true
                textRole: "title"
                valueRole: "kind"
                model: audioFilters.kinds
            }
            Button {
                objectName: "addFilterButton"
                text: "+ Add"
                onClicked: audioFilters.add(kindPicker.currentValue)
            }
        }
        Label {
            visible: audioFilters.count === 0
            text: "No filters: the channel is heard as it comes in"
            color: theme.dim
        }
        ListView {
            id: list
            Layout.fillWidth: true
            Layout.fillHeight: true
            clip: true
            spacing: theme.gap
            model: audioFilters
            delegate: Rectangle {
                id: filter
                required property int index
                required property string filterID
                required property string kind
                required property string title
                required property bool enabled
                required property var params
                width: list.width
                height: column.implicitHeight + 8
                color: theme.raised
                radius: 3
                ColumnLayout {
                    id: column
                    anchors.fill: parent
                    anchors.margins: 4
                    spacing: 2
                    RowLayout {
                        Switch {
                            checked: filter.enabled
                            onToggled: audioFilters.setEnabled(filter.filterID, checked)
                        }
                        Label { text: filter.title; color: filter.enabled ? theme.text : theme.dim; font.bold: true; Layout.fillWidth: true }
                        ToolButton { text: "▲"; enabled: filter.index > 0; onClicked: audioFilters.move(filter.index, filter.index - 1) }
                        ToolButton { text: "▼"; enabled: filter.index < list.count - 1; onClicked: audioFilters.move(filter.index, filter.index + 1) }
                        ToolButton { text: "×"; onClicked: audioFilters.remove(filter.filterID) }
                    }
                    Repeater {
                        model: filter.params
                        RowLayout {
                            id: param
                            required property var modelData
                            Label { text: param.modelData.label; color: theme.text; font.pixelSize: 11; Layout.preferredWidth: 100; elide: Text.ElideRight }
                            Slider {
                                id: slider
                                Layout.fillWidth: true
                                from: 0
                                to: 1
                                value: root.toTravel(param.modelData, param.modelData.value)
                                onMoved: audioFilters.setParam(filter.filterID, param.modelData.key, root.toValue(param.modelData, value))
                            }
                            Label {
                                text: slider.pressed ? audioFilters.valueText(filter.kind, param.modelData.key, root.toValue(param.modelData, slider.value))
                                                     : param.modelData.text
                                color: theme.dim
                                font.pixelSize: 11
                                Layout.preferredWidth: 64
                                horizontalAlignment: Text.AlignRight
                            }
                        }
                    }
                }
            }
        }
    }
}
