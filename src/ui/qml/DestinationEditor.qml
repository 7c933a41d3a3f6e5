import QtQuick
import QtQuick.Controls
import QtQuick.Layouts

// One destination: platform (its preset fills the server and quality), name,
// server, stream key (kept in the secret store, shown masked), quality and
// canvas, with where to find the key.
Dialog {
    id: root
    property Theme theme: Theme {}
    property var draft: ({})
    property string maskedKey: ""
    title: draft.id ? "Edit destination" : "New destination"
    modal: true
    anchors.centerIn: Overlay.overlay
    width: 440
    standardButtons: Dialog.Save | Dialog.Cancel

    function edit(id) {
        draft = streams.draft(id)
        maskedKey = id ? streams.maskedKey(id) : ""
        keyField.text = ""
        open()
    }
    function set(key, value) {
        const next = Object.assign({}, draft)
        next[key] = value
        draft = next
    }

    onAccepted: streams.save(draft, keyField.text)

    GridLayout {
        anchors.fill: parent
        columns: 2
        columnSpacing: 8
        rowSpacing: 6
        Label { text: "Platform"; color: theme.dim }
        ComboBox {
            objectName: "platformPicker"
            Layout.fillWidth: true
            textRole: "name"
            valueRole: "platform"
            model: streams.platforms
            currentIndex: indexOfValue(root.draft.platform)
            onActivated: root.draft = streams.withPlatform(root.draft, currentValue)
        }
        Label { text: "Name"; color: theme.dim }
        TextField {
            objectName: "nameField"
            Layout.fillWidth: true
            text: root.draft.name || ""
            onEditingFinished: root.set("name", text)
        }
        Label { text: "Server"; color: theme.dim }
        TextField {
            objectName: "serverField"
            Layout.fillWidth: true
            placeholderText: "rtmp://host/app or rtmps://…"
            text: root.draft.server || ""
            onTextEdited: root.set("server", text)
        }
        Label { text: "Stream key"; color: theme.dim }
        TextField {
            id: keyField
            objectName: "keyField"
            Layout.fillWidth: true
            echoMode: TextInput.Password
            placeholderText: root.maskedKey !== "" ? root.maskedKey + "  (kept; type to replace)" : "From the platform's dashboard"
        }
        Label { text: "Quality"; color: theme.dim }
        RowLayout {
            Layout.fillWidth: true
            ComboBox {
                model: [{v: "p1080", t: "1080p"}, {v: "p720", t: "720p"}, {v: "source", t: "Canvas size"}]
                textRole: "t"
                valueRole: "v"
                currentIndex: indexOfValue(root.draft.resolution)
                onActivated: root.set("resolution", currentValue)
            }
            ComboBox {
                model: streams.frameRates(root.draft.platform || "custom")
                displayText: currentValue + " fps"
                currentIndex: Math.max(0, model.indexOf(root.draft.fps))
                onActivated: root.set("fps", currentValue)
            }
            SpinBox {
                Layout.fillWidth: true
                from: 500
                to: 51000
                stepSize: 500
                editable: true
                value: root.draft.videoKbps || 6000
                textFromValue: (v) => v + " kbps"
                valueFromText: (t) => parseInt(t)
                onValueModified: root.set("videoKbps", value)
            }
        }
        Label { text: "Canvas"; color: theme.dim }
        CheckBox {
            text: "Vertical (9:16)"
            checked: root.draft.vertical || false
            onToggled: root.set("vertical", checked)
        }
        Label {
            Layout.columnSpan: 2
            Layout.fillWidth: true
            text: streams.advice(root.draft)
            color: theme.dim
            font.pixelSize: 11
            wrapMode: Text.WordWrap
        }
    }
}
