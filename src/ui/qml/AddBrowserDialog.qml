import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Tavorin

// Any web page as a source: its address, then its editor.
Dialog {
    id: root
    property Theme theme: Theme {}
    signal added(string sourceID)
    title: "Add a web page"
    modal: true
    anchors.centerIn: Overlay.overlay
    standardButtons: Dialog.Ok | Dialog.Cancel
    onOpened: { field.text = ""; field.forceActiveFocus() }
    ColumnLayout {
        Label { text: "Address"; color: theme.dim }
        TextField {
            id: field
            objectName: "browserAddress"
            Layout.preferredWidth: 360
            placeholderText: "https://…"
            onAccepted: root.accept()
        }
    }
    onAccepted: {
        const id = web.addBrowser(field.text)
        if (id !== "") root.added(id)
    }
}
