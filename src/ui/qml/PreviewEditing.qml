import QtQuick

// Direct manipulation on the Preview monitor: click selects the layer under
// the pointer, a drag moves it (snapping to the centre and edges), the corner
// handles resize it (aspect kept unless Shift is held) or, with Alt or Ctrl,
// crop it, the round handle
// above rotates it, and a source dropped here becomes a new layer. While a
// mask is drawn, clicks add its points; a pinned layer shows its four corners.
Item {
    id: root
    required property Item monitor
    property Theme theme: Theme {}
    readonly property rect picture: monitor.pictureRect

    function toCanvas(x, y) {
        return Qt.point((x - picture.x) / picture.width, (y - picture.y) / picture.height)
    }
    function toItem(box) {
        return Qt.rect(picture.x + box.x * picture.width, picture.y + box.y * picture.height,
                       box.width * picture.width, box.height * picture.height)
    }

    DropArea {
        anchors.fill: parent
        keys: ["application/x-tavorin-source"]
        onDropped: (drop) => {
            const at = root.toCanvas(drop.x, drop.y)
            layers.addLayer(drop.source.sourceID, at.x, at.y)
            drop.accept()
        }
    }

    MouseArea {
        id: body
        objectName: "previewEditingArea"
        anchors.fill: parent
        property point start
        property rect startBox
        property bool dragging: false
        cursorShape: inspector.pickingKey !== "" || shapes.maskEditing ? Qt.CrossCursor : Qt.ArrowCursor
        onPressed: (mouse) => {
            const at = root.toCanvas(mouse.x, mouse.y)
            if (inspector.pickingKey !== "") {
                inspector.pickFromPreview(at.x, at.y)
                return
            }
            if (shapes.maskEditing && layers.selectedID !== "") {
                const draft = shapes.maskDraft
                // Back on the first point closes the region.
                if (draft.length >= 3) {
                    const first = root.toItem(Qt.rect(draft[0].x, draft[0].y, 0, 0))
                    if (Math.hypot(first.x - mouse.x, first.y - mouse.y) < 8) {
                        shapes.closeMaskRegion()
                        return
                    }
                }
                shapes.addMaskPoint(at.x, at.y)
                return
            }
            layers.select(layers.layerAt(at.x, at.y))
            dragging = layers.selectedID !== "" && !layers.selectedLocked
            start = at
            startBox = layers.selectedBox
        }
        onPositionChanged: (mouse) => {
            if (!dragging) return
            const at = root.toCanvas(mouse.x, mouse.y)
            layers.setSelectedBox(Qt.rect(startBox.x + at.x - start.x, startBox.y + at.y - start.y,
                                          startBox.width, startBox.height), true)
        }
        onReleased: dragging = false
    }

    // The selected layer's mask regions, the region being drawn and the pin's outline.
    Canvas {
        id: shapeOverlay
        anchors.fill: parent
        visible: layers.selectedID !== ""
        function point(p) { return root.toItem(Qt.rect(p.x, p.y, 0, 0)) }
        function trace(ctx, points, close) {
            ctx.beginPath()
            for (let i = 0; i < points.length; ++i) {
                const p = point(points[i])
                if (i === 0) ctx.moveTo(p.x, p.y); else ctx.lineTo(p.x, p.y)
            }
            if (close) ctx.closePath()
        }
        onPaint: {
            const ctx = getContext("2d")
            ctx.reset()
            ctx.lineWidth = 2
            ctx.strokeStyle = theme.selected
            // Outlines only: what the mask does shows in the picture itself.
            for (const region of shapes.maskRegions) {
                trace(ctx, region, true)
                ctx.stroke()
            }
            trace(ctx, shapes.maskDraft, false)
            ctx.stroke()
            ctx.fillStyle = "white"
            for (const p of shapes.maskDraft) {
                const at = point(p)
                ctx.fillRect(at.x - 3, at.y - 3, 6, 6)
            }
            if (shapes.pin.length === 4) {
                trace(ctx, shapes.pin, true)
                ctx.stroke()
            }
        }
        Connections {
            target: shapes
            function onChanged() { shapeOverlay.requestPaint() }
        }
        onWidthChanged: requestPaint()
        onHeightChanged: requestPaint()
    }

    Repeater {
        // A count, not the points: a handle being dragged must outlive each change of the pin.
        model: layers.selectedLocked || shapes.pin.length !== 4 ? 0 : 4
        Rectangle {
            required property int index
            readonly property point corner: shapes.pin.length === 4 ? shapes.pin[index] : Qt.point(0, 0)
            readonly property rect at: root.toItem(Qt.rect(corner.x, corner.y, 0, 0))
            objectName: "pinCorner" + index
            width: 12; height: 12; radius: 6
            x: at.x - width / 2
            y: at.y - height / 2
            color: "white"
            border.color: theme.selected
            MouseArea {
                anchors.fill: parent
                anchors.margins: -4
                onPositionChanged: (mouse) => {
                    const item = mapToItem(root, mouse.x, mouse.y)
                    const p = root.toCanvas(item.x, item.y)
                    shapes.movePinCorner(parent.index, p.x, p.y)
                }
            }
        }
    }

    Item {
        id: selection
        // A pinned layer is placed by its corners, not its box.
        visible: layers.selectedID !== "" && shapes.pin.length !== 4
        readonly property rect box: root.toItem(layers.selectedBox)
        x: box.x; y: box.y; width: box.width; height: box.height
        rotation: layers.selectedRotation * 180 / Math.PI

        Rectangle {
            anchors.fill: parent
            color: "transparent"
            border.color: layers.selectedLocked ? theme.dim : theme.selected
            border.width: 2
        }
        Repeater {
            model: layers.selectedLocked ? [] : [Qt.point(0, 0), Qt.point(1, 0), Qt.point(0, 1), Qt.point(1, 1)]
            Rectangle {
                id: handle
                required property point modelData
                width: 12; height: 12; radius: 2
                color: "white"
                border.color: theme.selected
                x: modelData.x * selection.width - width / 2
                y: modelData.y * selection.height - height / 2
                MouseArea {
                    anchors.fill: parent
                    anchors.margins: -4
                    property rect startBox
                    property rect startCrop
                    onPressed: {
                        startBox = layers.selectedBox
                        startCrop = layers.selectedCrop
                    }
                    onPositionChanged: (mouse) => {
                        const at = mapToItem(root, mouse.x, mouse.y)
                        const p = root.toCanvas(at.x, at.y)
                        if (mouse.modifiers & (Qt.AltModifier | Qt.ControlModifier)) {
                            // The dragged corner moves; the other three stay.
                            const l = handle.modelData.x ? startBox.x : Math.min(p.x, startBox.x + startBox.width - 0.01)
                            const t = handle.modelData.y ? startBox.y : Math.min(p.y, startBox.y + startBox.height - 0.01)
                            const r = handle.modelData.x ? Math.max(p.x, startBox.x + 0.01) : startBox.x + startBox.width
                            const b = handle.modelData.y ? Math.max(p.y, startBox.y + 0.01) : startBox.y + startBox.height
                            layers.cropSelected(startBox, startCrop, Qt.rect(l, t, r - l, b - t))
                            return
                        }
                        // The opposite corner stays where it is.
                        const ax = handle.modelData.x ? startBox.x : startBox.x + startBox.width
                        const ay = handle.modelData.y ? startBox.y : startBox.y + startBox.height
                        let w = Math.max(0.01, handle.modelData.x ? p.x - ax : ax - p.x)
                        let h = Math.max(0.01, handle.modelData.y ? p.y - ay : ay - p.y)
                        if (!(mouse.modifiers & Qt.ShiftModifier)) {
                            const aspect = startBox.width / startBox.height
                            if (w / h > aspect) h = w / aspect; else w = h * aspect
                        }
                        layers.setSelectedBox(Qt.rect(handle.modelData.x ? ax : ax - w,
                                                      handle.modelData.y ? ay : ay - h, w, h), false)
                    }
                }
            }
        }
        Rectangle {
            visible: !layers.selectedLocked
            width: 14; height: 14; radius: 7
            color: theme.selected
            x: selection.width / 2 - width / 2
            y: -28
            MouseArea {
                anchors.fill: parent
                anchors.margins: -4
                onPositionChanged: (mouse) => {
                    const at = mapToItem(root, mouse.x, mouse.y)
                    const c = Qt.point(selection.x + selection.width / 2, selection.y + selection.height / 2)
                    let angle = Math.atan2(at.x - c.x, c.y - at.y)
                    // Right angles catch the pointer within 3 degrees.
                    const step = Math.PI / 2
                    const nearest = Math.round(angle / step) * step
                    if (Math.abs(angle - nearest) < 3 * Math.PI / 180) angle = nearest
                    layers.setSelectedRotation(angle)
                }
            }
        }
    }
}
