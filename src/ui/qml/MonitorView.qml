import QtQuick
import Tavorin

// A monitor with its tally border, label and optional safe-area guides.
Rectangle {
    id: root
    property alias canvas: monitor.canvas
    property alias monitor: monitor
    property string label
    property color tally
    property bool guides: false
    property Theme theme: Theme {}
    color: "black"
    border.color: tally
    border.width: 3

    Monitor {
        id: monitor
        objectName: root.objectName + "Picture"
        anchors.fill: parent
        anchors.margins: root.border.width
    }
    // Action safe 93 %, title safe 90 %.
    Repeater {
        model: root.guides ? [0.93, 0.90] : []
        Rectangle {
            required property real modelData
            x: monitor.x + monitor.pictureRect.x + monitor.pictureRect.width * (1 - modelData) / 2
            y: monitor.y + monitor.pictureRect.y + monitor.pictureRect.height * (1 - modelData) / 2
            width: monitor.pictureRect.width * modelData
            height: monitor.pictureRect.height * modelData
            color: "transparent"
            border.color: "#80ffffff"
            border.width: 1
        }
    }
    Rectangle {
        anchors { left: parent.left; top: parent.top; margins: 6 }
        color: root.tally
        radius: 3
        width: labelText.implicitWidth + 12
        height: labelText.implicitHeight + 4
        Text {
            id: labelText
            anchors.centerIn: parent
            text: root.label
            color: "white"
            font.bold: true
            font.pixelSize: 11
        }
    }
}
