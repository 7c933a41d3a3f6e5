import QtQuick

// The control room's colours: dark panels, saturated colour only for state.
QtObject {
    readonly property color window: "#131417"
    readonly property color panel: "#1b1d22"
    readonly property color raised: "#262930"
    readonly property color line: "#33363f"
    readonly property color text: "#e6e8ec"
    readonly property color dim: "#8b909a"
    readonly property color program: "#e5484d"
    readonly property color preview: "#30a46c"
    readonly property color pending: "#f5a524"
    readonly property color selected: "#3e63dd"
    readonly property int gap: 6
}
