import QtQuick
import QtQuick.Controls

// The window's keys, on F1 or ?.
Popup {
    id: root
    property Theme theme: Theme {}
    modal: true
    anchors.centerIn: Overlay.overlay
    padding: 16
    background: Rectangle { color: theme.panel; border.color: theme.line; radius: 6 }
    Grid {
        columns: 2
        columnSpacing: 24
        rowSpacing: 6
        Repeater {
            model: [
                "Space, Enter", "Take Preview to Program",
                "C", "Cut to Program",
                "1 – 9", "Load scene to Preview",
                "Ctrl+1 – 9", "Take scene to Program",
                "Delete", "Delete the selected layer",
                "Shift (while resizing)", "Free the aspect ratio",
                "Alt or Ctrl (on a corner)", "Crop instead of resize",
                "G", "Show or hide the safe areas",
                "F1, ?", "This list"
            ]
            Text {
                required property string modelData
                required property int index
                text: modelData
                color: index % 2 ? theme.text : theme.pending
                font.bold: index % 2 === 0
            }
        }
    }
}
