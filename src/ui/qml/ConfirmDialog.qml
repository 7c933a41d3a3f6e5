import QtQuick
import QtQuick.Controls

// Destructive actions ask once.
Dialog {
    id: root
    property int row: -1
    property string verb
    property string subject
    signal confirmed(int row)
    function openFor(row, subject) {
        root.row = row
        root.subject = subject
        open()
    }
    title: verb + "?"
    modal: true
    anchors.centerIn: Overlay.overlay
    standardButtons: Dialog.Ok | Dialog.Cancel
    Label { text: root.verb + " “" + root.subject + "”? This cannot be undone." }
    onAccepted: confirmed(row)
}
