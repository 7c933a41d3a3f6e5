import QtQuick
import QtQuick.Controls
import QtQuick.Layouts

// The show deck: one-press tiles placed on a grid of square cells. A press
// runs the tile; fader tiles move a channel's level. In edit mode tiles are
// dragged to move, resized by their corner, opened in the editor on a click,
// and removed with two clicks.
Rectangle {
    id: root
    property Theme theme: Theme {}
    property bool editing: false
    // The tile whose remove button was clicked once.
    property string confirmingRemove: ""
    readonly property real pitch: deck.unit + deck.gap
    color: theme.panel

    ColumnLayout {
        anchors.fill: parent
        anchors.margins: theme.gap
        spacing: theme.gap

        RowLayout {
            spacing: 4
            ComboBox {
                id: deckChooser
                objectName: "deckChooser"
                Layout.fillWidth: true
                implicitHeight: 26
                font.pixelSize: 12
                model: deck.decks
                textRole: "name"
                valueRole: "id"
                currentIndex: deck.decks.findIndex(d => d.id === deck.activeDeckID)
                onActivated: deck.switchDeck(currentValue)
                ToolTip.visible: hovered
                ToolTip.delay: 600
                ToolTip.text: "Shows: each deck carries its own tiles AND its own 16:9 + 9:16 scene libraries — switching here swaps the whole show"
            }
            ToolButton {
                objectName: "deckMenuButton"
                text: "⋯"
                implicitWidth: 26
                implicitHeight: 26
                ToolTip.visible: hovered
                ToolTip.text: "New, rename or delete a deck"
                onClicked: deckMenu.popup()
                Menu {
                    id: deckMenu
                    MenuItem { objectName: "newDeckItem"; text: "New deck…"; onTriggered: newDeckDialog.openFor(0, "Show " + (deck.decks.length + 1)) }
                    MenuItem { objectName: "renameDeckItem"; text: "Rename…"; onTriggered: renameDeckDialog.openFor(0, deck.deckName) }
                    MenuItem { objectName: "deleteDeckItem"; text: "Delete…"; onTriggered: deleteDeckDialog.openFor(0, deck.deckName) }
                }
            }
            Button {
                objectName: "addTileButton"
                text: "+ Tile"
                font.pixelSize: 11
                implicitHeight: 26
                implicitWidth: implicitContentWidth + 16
                ToolTip.visible: hovered
                ToolTip.text: "Add a tile to this deck"
                onClicked: editor.openFor("")
            }
            Button {
                objectName: "editDeckButton"
                text: root.editing ? "Done" : "Edit"
                font.pixelSize: 11
                implicitHeight: 26
                implicitWidth: implicitContentWidth + 16
                checkable: true
                checked: root.editing
                palette.button: root.editing ? theme.selected : theme.raised
                ToolTip.visible: hovered
                ToolTip.text: root.editing ? "Stop editing the deck" : "Move, resize, edit and remove tiles"
                onClicked: { root.editing = !root.editing; root.confirmingRemove = "" }
            }
        }

        Label {
            objectName: "hotkeyNotice"
            visible: deck.hotkeyNotice !== ""
            text: deck.hotkeyNotice
            color: theme.pending
            font.pixelSize: 11
            wrapMode: Text.WordWrap
            Layout.fillWidth: true
        }

        Flickable {
            id: flick
            Layout.fillWidth: true
            Layout.fillHeight: true
            clip: true
            contentWidth: width
            contentHeight: Math.max(height, deck.rows * root.pitch)
            ScrollBar.vertical: ScrollBar {}
            onWidthChanged: if (root.visible) deck.setWidth(width)
            Component.onCompleted: if (root.visible) deck.setWidth(width)
            Connections {
                target: root
                function onVisibleChanged() { if (root.visible) deck.setWidth(flick.width) }
            }

            Label {
                visible: deck.count === 0
                anchors.centerIn: parent
                width: parent.width - 24
                horizontalAlignment: Text.AlignHCenter
                wrapMode: Text.WordWrap
                text: "No tiles yet. “+ Tile” adds one: a scene, a take, a sound, a stream…"
                color: theme.dim
                font.pixelSize: 12
            }

            Repeater {
                model: deck
                delegate: Item {
                    id: tile
                    required property string tileID
                    required property string title
                    required property string tileColor
                    required property string glyph
                    required property bool on
                    required property bool exists
                    required property bool hideLabel
                    required property int cellX
                    required property int cellY
                    required property int cellW
                    required property int cellH
                    required property bool fader
                    required property real value
                    required property string hotkey
                    required property bool hotkeyRefused
                    objectName: "deckTile_" + title
                    property real dragX: 0
                    property real dragY: 0
                    property real growX: 0
                    property real growY: 0
                    x: cellX * root.pitch + dragX
                    y: cellY * root.pitch + dragY
                    z: dragX !== 0 || dragY !== 0 || growX !== 0 || growY !== 0 ? 10 : 0
                    width: Math.max(deck.unit, cellW * deck.unit + (cellW - 1) * deck.gap + growX)
                    height: Math.max(deck.unit, cellH * deck.unit + (cellH - 1) * deck.gap + growY)

                    Rectangle {
                        anchors.fill: parent
                        radius: 6
                        opacity: tile.exists ? 1 : 0.45
                        color: tile.on ? Qt.alpha(tile.tileColor, 0.85) : Qt.alpha(tile.tileColor, 0.22)
                        border.width: tile.on ? 2.5 : 1
                        border.color: tile.on ? "white" : Qt.alpha(tile.tileColor, 0.7)
                    }

                    // A button tile.
                    ColumnLayout {
                        visible: !tile.fader
                        anchors.fill: parent
                        anchors.margins: 4
                        spacing: 0
                        Label {
                            Layout.fillWidth: true
                            Layout.fillHeight: true
                            horizontalAlignment: Text.AlignHCenter
                            verticalAlignment: Text.AlignVCenter
                            text: tile.glyph
                            color: "white"
                            font.pixelSize: Math.min(tile.height * (tile.hideLabel ? 0.5 : 0.32), 40)
                        }
                        Label {
                            visible: !tile.hideLabel
                            Layout.fillWidth: true
                            horizontalAlignment: Text.AlignHCenter
                            text: tile.exists ? tile.title : "Target no longer exists — remove this tile"
                            color: "white"
                            font.pixelSize: tile.cellW === 1 && tile.cellH === 1 ? 9 : 12
                            font.bold: tile.on
                            elide: Text.ElideRight
                            wrapMode: tile.exists ? Text.NoWrap : Text.WordWrap
                            maximumLineCount: 2
                        }
                    }

                    // A fader tile moves its channel's level (the middle is unity).
                    ColumnLayout {
                        visible: tile.fader
                        anchors.fill: parent
                        anchors.margins: 4
                        spacing: 0
                        Label {
                            visible: tile.cellH > 1
                            Layout.fillWidth: true
                            horizontalAlignment: Text.AlignHCenter
                            text: tile.title
                            color: "white"
                            font.pixelSize: 11
                            elide: Text.ElideRight
                        }
                        Slider {
                            objectName: "deckFader_" + tile.title
                            enabled: !root.editing && tile.exists
                            Layout.fillWidth: true
                            Layout.fillHeight: true
                            orientation: tile.cellH > tile.cellW ? Qt.Vertical : Qt.Horizontal
                            from: 0
                            to: 1
                            stepSize: 0.01
                            value: tile.value
                            onMoved: deck.setValue(tile.tileID, value)
                        }
                    }

                    Label {
                        visible: tile.hotkey !== ""
                        anchors.right: parent.right
                        anchors.top: parent.top
                        anchors.margins: 3
                        text: tile.hotkey
                        color: tile.hotkeyRefused ? theme.pending : Qt.alpha("white", 0.75)
                        font.pixelSize: 8
                        font.strikeout: tile.hotkeyRefused
                    }
                    HoverHandler { id: hover }
                    ToolTip.visible: hover.hovered && tile.hotkeyRefused
                    ToolTip.text: "Another program (or another tile) already uses " + tile.hotkey

                    // Play mode: a press runs the tile.
                    TapHandler {
                        enabled: !root.editing && !tile.fader
                        onTapped: deck.press(tile.tileID)
                    }

                    // Edit mode: drag to move, click to edit.
                    DragHandler {
                        id: mover
                        enabled: root.editing
                        target: null
                        onTranslationChanged: { tile.dragX = translation.x; tile.dragY = translation.y }
                        onActiveChanged: {
                            if (active) return
                            const tx = tile.dragX, ty = tile.dragY
                            tile.dragX = 0
                            tile.dragY = 0
                            if (tx !== 0 || ty !== 0) Qt.callLater(deck.moveBy, tile.tileID, tx, ty)
                        }
                    }
                    TapHandler {
                        enabled: root.editing
                        onTapped: editor.openFor(tile.tileID)
                    }
                    Rectangle {
                        objectName: "resizeHandle_" + tile.title
                        visible: root.editing
                        width: 14
                        height: 14
                        radius: 3
                        anchors.right: parent.right
                        anchors.bottom: parent.bottom
                        color: theme.selected
                        DragHandler {
                            target: null
                            onTranslationChanged: { tile.growX = translation.x; tile.growY = translation.y }
                            onActiveChanged: {
                                if (active) return
                                const tx = tile.growX, ty = tile.growY
                                tile.growX = 0
                                tile.growY = 0
                                if (tx !== 0 || ty !== 0) Qt.callLater(deck.resizeBy, tile.tileID, tx, ty)
                            }
                        }
                    }
                    Button {
                        objectName: "removeTile_" + tile.title
                        visible: root.editing
                        readonly property bool asking: root.confirmingRemove === tile.tileID
                        anchors.left: parent.left
                        anchors.top: parent.top
                        anchors.margins: 2
                        implicitHeight: 18
                        implicitWidth: asking ? implicitContentWidth + 10 : 18
                        padding: 0
                        font.pixelSize: 10
                        text: asking ? "Sure?" : "✕"
                        palette.button: asking ? theme.program : theme.raised
                        ToolTip.visible: hovered
                        ToolTip.text: asking ? "Click again to remove" : "Remove this tile"
                        onClicked: {
                            if (asking) {
                                root.confirmingRemove = ""
                                // After the click: removing the tile takes this button with it.
                                Qt.callLater(deck.removeTile, tile.tileID)
                            } else {
                                root.confirmingRemove = tile.tileID
                            }
                        }
                    }
                }
            }
        }
    }

    DeckTileEditor { id: editor; theme: root.theme }
    NameDialog {
        id: newDeckDialog
        objectName: "newDeckDialog"
        title: "New deck"
        onNamed: (row, name) => deck.addDeck(name)
    }
    NameDialog {
        id: renameDeckDialog
        objectName: "renameDeckDialog"
        title: "Rename deck"
        onNamed: (row, name) => deck.renameDeck(deck.activeDeckID, name)
    }
    ConfirmDialog {
        id: deleteDeckDialog
        objectName: "deleteDeckDialog"
        verb: "Delete deck"
        onConfirmed: deck.removeDeck(deck.activeDeckID)
    }
}
