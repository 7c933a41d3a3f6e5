import QtQuick
import QtQuick.Controls

// Asks for a new name; an empty one changes nothing.
Dialog {
    id: root
    property int row: -1
    signal named(int row, string name)
    function openFor(row, name) {
        root.row = row
        field.text = name
        open()
        field.selectAll()
        field.forceActiveFocus()
    }
    modal: true
    anchors.centerIn: Overlay.overlay
    standardButtons: Dialog.Ok | Dialog.Cancel
    TextField { id: field; width: 260; onAccepted: root.accept() }
    onAccepted: if (field.text.trim() !== "") named(row, field.text.trim())
}
