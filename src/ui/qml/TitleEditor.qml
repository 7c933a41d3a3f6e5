import QtQuick
import QtQuick.Controls
import QtQuick.Dialogs
import QtQuick.Layouts
import Tavorin

// A title's or a shape's design, every edit drawn at once: the picture here
// and on every monitor that shows it follows the typing.
Dialog {
    id: root
    property Theme theme: Theme {}
    readonly property var design: titles.design
    title: titles.kind === "text" ? "Title" : "Shape"
    modal: false
    anchors.centerIn: Overlay.overlay
    width: Math.min(720, Overlay.overlay ? Overlay.overlay.width - 40 : 720)
    height: Math.min(560, Overlay.overlay ? Overlay.overlay.height - 40 : 560)
    standardButtons: Dialog.Close

    function edit(sourceID) {
        titles.source = sourceID
        open()
    }
    function colourOf(c) { return c ? Qt.rgba(c.r, c.g, c.b, c.a) : "transparent" }
    onClosed: titles.source = ""

    RowLayout {
        anchors.fill: parent
        spacing: theme.gap
        MonitorView {
            objectName: "titlePreview"
            canvas: titles.source === "" ? "" : "source:" + titles.source
            label: "LIVE"
            tally: theme.raised
            Layout.preferredWidth: 300
            Layout.fillHeight: true
        }
        ScrollView {
            Layout.fillWidth: true
            Layout.fillHeight: true
            contentWidth: availableWidth
            ColumnLayout {
                width: parent.width
                spacing: theme.gap
                // A title's own fields.
                GridLayout {
                    visible: titles.kind === "text"
                    Layout.fillWidth: true
                    columns: 2
                    columnSpacing: 8
                    Label { text: "Text"; color: theme.dim }
                    TextArea {
                        objectName: "titleText"
                        Layout.fillWidth: true
                        Layout.preferredHeight: 70
                        wrapMode: TextEdit.Wrap
                        color: theme.text
                        background: Rectangle { color: theme.raised; border.color: theme.line; radius: 3 }
                        text: root.design.text || ""
                        // Drawn as it is typed; the design's echo of the same text changes nothing here.
                        onTextChanged: if (text !== (root.design.text || "")) titles.set("text", text)
                    }
                    Label { text: "Font"; color: theme.dim }
                    ComboBox {
                        Layout.fillWidth: true
                        model: Qt.fontFamilies()
                        displayText: root.design.fontName || ""
                        onActivated: (index) => titles.set("fontName", Qt.fontFamilies()[index])
                    }
                    Label { text: "Size"; color: theme.dim }
                    RowLayout {
                        SpinBox {
                            from: 4; to: 1000
                            editable: true
                            value: root.design.fontSize || 160
                            onValueModified: titles.set("fontSize", value)
                        }
                        CheckBox { text: "Bold"; checked: !!root.design.bold; onToggled: titles.set("bold", checked) }
                        CheckBox { text: "Italic"; checked: !!root.design.italic; onToggled: titles.set("italic", checked) }
                    }
                    Label { text: "Colour"; color: theme.dim }
                    RowLayout {
                        Button {
                            implicitWidth: 56
                            implicitHeight: 28
                            background: Rectangle { color: root.colourOf(root.design.color); border.color: theme.line; radius: 3 }
                            onClicked: { textColour.selectedColor = root.colourOf(root.design.color); textColour.open() }
                        }
                        Repeater {
                            model: ["left", "center", "right"]
                            Button {
                                required property string modelData
                                implicitWidth: 64
                                text: modelData === "left" ? "Left" : modelData === "center" ? "Centre" : "Right"
                                checkable: true
                                checked: root.design.alignment === modelData
                                onClicked: titles.set("alignment", modelData)
                            }
                        }
                    }
                    Label { text: "Panel"; color: theme.dim }
                    CheckBox {
                        text: "Background behind the text"
                        checked: !!root.design.backgroundEnabled
                        onToggled: titles.set("backgroundEnabled", checked)
                    }
                    Label { text: "Corners"; color: theme.dim; visible: !!root.design.backgroundEnabled }
                    Slider {
                        visible: !!root.design.backgroundEnabled
                        Layout.fillWidth: true
                        from: 0; to: 1
                        value: root.design.cornerRadius || 0
                        onMoved: titles.set("cornerRadius", value)
                    }
                    Label { text: "Padding"; color: theme.dim }
                    Slider {
                        Layout.fillWidth: true
                        from: 0; to: 2
                        value: root.design.padding || 0
                        onMoved: titles.set("padding", value)
                    }
                }
                FillEditor {
                    visible: titles.kind === "text" && !!root.design.backgroundEnabled
                    Layout.fillWidth: true
                    theme: root.theme
                    path: "background"
                    fill: root.design.background || ({})
                }
                // A shape's own fields.
                GridLayout {
                    visible: titles.kind === "shape"
                    Layout.fillWidth: true
                    columns: 2
                    columnSpacing: 8
                    Label { text: "Shape"; color: theme.dim }
                    ComboBox {
                        Layout.fillWidth: true
                        model: titles.shapes
                        currentIndex: titles.shapes.indexOf(root.design.shape)
                        onActivated: (index) => titles.set("shape", titles.shapes[index])
                    }
                }
                FillEditor {
                    visible: titles.kind === "shape"
                    Layout.fillWidth: true
                    theme: root.theme
                    path: "fill"
                    fill: root.design.fill || ({})
                }
            }
        }
    }
    ColorDialog {
        id: textColour
        options: ColorDialog.ShowAlphaChannel
        onAccepted: titles.setColor("color", selectedColor)
    }
}
