import QtQuick
import QtQuick.Controls
import QtQuick.Layouts

// TAKE and CUT, the transition and its duration, studio or direct mode, the
// black and holding-card punches, and a fire button per custom transition.
Rectangle {
    id: root
    property Theme theme: Theme {}
    color: theme.panel
    implicitHeight: row.implicitHeight + 2 * theme.gap

    RowLayout {
        id: row
        anchors.fill: parent
        anchors.margins: theme.gap
        spacing: theme.gap

        Button {
            objectName: "cutButton"
            text: "CUT"
            ToolTip.visible: hovered
            ToolTip.text: "Cut Preview to Program at once"
            onClicked: switcher.cut()
        }
        Button {
            id: takeButton
            objectName: "takeButton"
            Layout.preferredWidth: 120
            text: switcher.pendingTransitionName ? "TAKE\n" + switcher.pendingTransitionName : "TAKE"
            highlighted: true
            palette.button: switcher.transitioning ? theme.program
                          : switcher.pendingTransitionName ? theme.pending : theme.raised
            ToolTip.visible: hovered
            ToolTip.text: switcher.studioMode ? "Take Preview to Program with the transition"
                                               : "Direct mode: Preview edits are already on Program"
            onClicked: switcher.take()
        }
        ComboBox {
            objectName: "transitionPicker"
            Layout.preferredWidth: 150
            model: switcher.transitionChoices
            textRole: "name"
            currentIndex: switcher.transitionIndex
            onActivated: (index) => switcher.transitionIndex = index
            ToolTip.visible: hovered
            ToolTip.text: "The transition TAKE runs" 
        }
        SpinBox {
            objectName: "durationBox"
            Layout.preferredWidth: 130
            from: 0; to: 10000; stepSize: 100
            editable: true
            value: Math.round(switcher.duration * 1000)
            textFromValue: (v) => (v / 1000).toFixed(1) + " s"
            valueFromText: (t) => Math.round(parseFloat(t) * 1000)
            onValueModified: switcher.duration = value / 1000
            ToolTip.visible: hovered
            ToolTip.text: "Transition duration"
        }
        Switch {
            objectName: "studioModeSwitch"
            text: checked ? "Studio" : "Direct"
            checked: switcher.studioMode
            onToggled: switcher.studioMode = checked
            ToolTip.visible: hovered
            ToolTip.text: "Studio: prepare on Preview, then take. Direct: Preview edits go on air at once."
        }
        Button {
            objectName: "builderButton"
            text: "Build…"
            ToolTip.visible: hovered
            ToolTip.text: "Build a custom transition"
            onClicked: transitionBuilder.open()
        }
        TransitionBuilder { id: transitionBuilder; theme: root.theme }
        // The fire buttons take the room left and scroll when there are many,
        // so BLACK and BRB stay in reach.
        ListView {
            objectName: "fireButtons"
            Layout.fillWidth: true
            Layout.preferredHeight: takeButton.implicitHeight
            orientation: ListView.Horizontal
            layoutDirection: Qt.RightToLeft
            spacing: theme.gap
            clip: true
            model: switcher.customTransitions
            delegate: Button {
                required property var modelData
                height: ListView.view.height
                text: modelData.name
                palette.button: modelData.fired ? theme.pending : theme.raised
                ToolTip.visible: hovered
                ToolTip.text: "Fire " + modelData.name + " over Program"
                onClicked: switcher.fireTransition(modelData.id)
            }
        }
        Button {
            objectName: "blackButton"
            text: "BLACK"
            ToolTip.visible: hovered
            ToolTip.text: "Cut to black"
            onClicked: switcher.punchBlack()
        }
        Button {
            objectName: "brbButton"
            text: "BRB"
            palette.button: switcher.brbActive ? theme.program : theme.raised
            ToolTip.visible: hovered
            ToolTip.text: switcher.brbActive ? "Back from the holding card" : "Holding card, Program sound off air"
            onClicked: switcher.punchBRB()
        }
    }
}
