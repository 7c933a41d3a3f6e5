import QtQuick
import QtQuick.Controls
import QtQuick.Dialogs
import QtQuick.Layouts

// A fill's paint: solid or a gradient (linear, radial, angular) between two
// colours, its direction and opacity. `path` is where the fill sits in the design.
GridLayout {
    id: root
    property Theme theme: Theme {}
    property string path: "fill"
    property var fill: ({})
    columns: 2
    columnSpacing: 8

    function colourOf(c) { return c ? Qt.rgba(c.r, c.g, c.b, c.a) : "transparent" }

    Label { text: "Paint"; color: theme.dim }
    ComboBox {
        Layout.fillWidth: true
        model: titles.fillStyles
        currentIndex: titles.fillStyles.indexOf(root.fill.style)
        onActivated: (index) => titles.set(root.path + ".style", titles.fillStyles[index])
    }
    Label { text: root.fill.style === "solid" ? "Colour" : "Colours"; color: theme.dim }
    RowLayout {
        Repeater {
            model: root.fill.style === "solid" ? ["color1"] : ["color1", "color2"]
            Button {
                required property string modelData
                implicitWidth: 56
                implicitHeight: 28
                background: Rectangle { color: root.colourOf(root.fill[modelData]); border.color: theme.line; radius: 3 }
                onClicked: { picker.key = modelData; picker.selectedColor = root.colourOf(root.fill[modelData]); picker.open() }
            }
        }
    }
    Label { text: "Angle"; color: theme.dim; visible: root.fill.style === "linear" || root.fill.style === "angular" }
    Slider {
        visible: root.fill.style === "linear" || root.fill.style === "angular"
        Layout.fillWidth: true
        from: 0; to: 360; stepSize: 1
        value: root.fill.angle || 0
        onMoved: titles.set(root.path + ".angle", value)
    }
    Label { text: "Opacity"; color: theme.dim }
    Slider {
        Layout.fillWidth: true
        from: 0; to: 1
        value: root.fill.opacity === undefined ? 1 : root.fill.opacity
        onMoved: titles.set(root.path + ".opacity", value)
    }
    ColorDialog {
        id: picker
        property string key
        options: ColorDialog.ShowAlphaChannel
        onAccepted: titles.setColor(root.path + "." + key, selectedColor)
    }
}
