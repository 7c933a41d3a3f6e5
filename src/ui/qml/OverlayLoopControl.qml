import QtQuick
import QtQuick.Controls
import QtQuick.Layouts

// How often an overlay's animation plays: 1 once, 0 for ever, 2–50 that many times.
ColumnLayout {
    id: root
    property int value: 1
    // Remembered while another choice holds, so "Repeat" comes back at its count.
    property int lastCount: 2
    signal picked(int count)
    onValueChanged: if (value >= 2) lastCount = value

    RowLayout {
        ComboBox {
            id: choice
            model: ["Once", "Repeat", "Continuous"]
            currentIndex: root.value === 0 ? 2 : root.value === 1 ? 0 : 1
            onActivated: (index) => root.picked(index === 0 ? 1 : index === 2 ? 0 : Math.max(root.lastCount, 2))
        }
        SpinBox {
            visible: choice.currentIndex === 1
            from: 2
            to: 50
            value: Math.max(2, root.value)
            textFromValue: (count) => "Play " + count + "×"
            onValueModified: root.picked(value)
        }
    }
    Label {
        Layout.fillWidth: true
        Layout.maximumWidth: 420
        wrapMode: Text.Wrap
        font.pixelSize: 11
        opacity: 0.7
        text: "Loop: Once plays a single time (use Replay to re-trigger), Repeat plays a set number of times, Continuous runs forever. Changes apply live; add the overlay again for a second independent copy (e.g. multiple clocks)."
    }
}
