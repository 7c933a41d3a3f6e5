import QtQuick
import QtQuick.Controls

// Everything the show has told the operator, newest at the bottom.
Popup {
    id: root
    property Theme theme: Theme {}
    modal: false
    padding: 8
    background: Rectangle { color: theme.panel; border.color: theme.line }
    ListView {
        id: list
        anchors.fill: parent
        clip: true
        model: status.log
        delegate: Text {
            required property string modelData
            width: list.width
            text: modelData
            color: theme.text
            wrapMode: Text.Wrap
            font.pixelSize: 12
        }
        onCountChanged: positionViewAtEnd()
        Component.onCompleted: positionViewAtEnd()
    }
}
