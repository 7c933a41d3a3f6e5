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
    height: Math.min(560, Overlay.overlay ? Overlay.overlay.height - 40 : 560)
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
                    // The EQ's response, ±18 dB over 20 Hz–20 kHz.
                    Canvas {
                        id: curve
                        visible: filter.kind === "eq"
                        Layout.fillWidth: true
                        Layout.preferredHeight: visible ? 70 : 0
                        property var points: filter.kind === "eq" ? audioFilters.eqCurve(filter.filterID, 96) : []
                        onPointsChanged: requestPaint()
                        onWidthChanged: requestPaint()
                        Connections { target: filter; function onParamsChanged() { curve.points = audioFilters.eqCurve(filter.filterID, 96) } }
                        onPaint: {
                            const ctx = getContext("2d")
                            ctx.reset()
                            ctx.fillStyle = theme.window
                            ctx.fillRect(0, 0, width, height)
                            const y = (db) => height / 2 - Math.max(-18, Math.min(18, db)) / 18 * (height / 2 - 2)
                            ctx.strokeStyle = theme.line
                            ctx.beginPath(); ctx.moveTo(0, y(0)); ctx.lineTo(width, y(0)); ctx.stroke()
                            ctx.strokeStyle = theme.preview
                            ctx.lineWidth = 2
                            ctx.beginPath()
                            for (let i = 0; i < points.length; ++i) {
                                const x = i / (points.length - 1) * width
                                if (i === 0) ctx.moveTo(x, y(points[i].db)); else ctx.lineTo(x, y(points[i].db))
                            }
                            ctx.stroke()
                        }
                    }
                    // How far a compressor or limiter turns the channel down now.
                    RowLayout {
                        visible: filter.kind === "compressor" || filter.kind === "limiter"
                        readonly property real reduction: audioFilters.gainReduction[filter.filterID] || 0
                        Label { text: "Gain reduction"; color: theme.text; font.pixelSize: 11; Layout.preferredWidth: 100 }
                        Rectangle {
                            Layout.fillWidth: true
                            height: 8
                            color: theme.window
                            Rectangle {
                                anchors.right: parent.right
                                height: parent.height
                                width: parent.width * Math.min(1, parent.parent.reduction / 20)
                                color: theme.pending
                            }
                        }
                        Label {
                            text: parent.reduction > 0 ? "-" + parent.reduction.toFixed(1) + " dB" : "0 dB"
                            color: theme.dim
                            font.pixelSize: 11
                            Layout.preferredWidth: 64
                            horizontalAlignment: Text.AlignRight
                        }
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
