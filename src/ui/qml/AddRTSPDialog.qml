import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Tavorin

// A network camera: its rtsp:// address, a name, and the login it asks for.
// The password is kept in the desktop's keyring, never in the show's files.
Dialog {
    id: root
    property Theme theme: Theme {}
    title: "Add a network camera (RTSP)"
    modal: true
    anchors.centerIn: Overlay.overlay
    standardButtons: Dialog.Ok | Dialog.Cancel
    onOpened: {
        for (const field of [address, name, user, password]) field.text = ""
        address.forceActiveFocus()
    }
    GridLayout {
        columns: 2
        columnSpacing: 10
        Label { text: "Address"; color: theme.dim }
        TextField {
            id: address
            objectName: "rtspAddress"
            Layout.preferredWidth: 360
            placeholderText: "rtsp://192.168.1.20:554/stream1"
            onAccepted: root.accept()
        }
        Label { text: "Name"; color: theme.dim }
        TextField { id: name; objectName: "rtspName"; Layout.fillWidth: true; placeholderText: "The camera's address when empty" }
        Label { text: "User"; color: theme.dim }
        TextField { id: user; objectName: "rtspUser"; Layout.fillWidth: true; placeholderText: "When the camera asks for one" }
        Label { text: "Password"; color: theme.dim }
        TextField { id: password; objectName: "rtspPassword"; Layout.fillWidth: true; echoMode: TextInput.Password }
        Item { width: 1 }
        Label {
            Layout.preferredWidth: 360
            wrapMode: Text.WordWrap
            text: "The camera connects over TCP and reconnects by itself every 4 seconds while it is away."
            color: theme.dim
            font.pixelSize: 11
        }
    }
    onAccepted: sources.addRTSP(address.text, name.text, user.text, password.text)
}
