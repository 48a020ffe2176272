import QtQuick

/// The overlay with a button that opens a popover, and nothing else.
Window {
    id: root

    required property QtObject overlay

    title: "overlay_probe"
    width: 640
    height: 220
    color: "transparent"

    Rectangle {
        anchors.fill: parent
        radius: 12
        color: "#b0101418"
    }
    MouseArea {
        anchors.fill: parent
        hoverEnabled: true
        onPressed: mouse => root.overlay.drag.pressed(Qt.point(mouse.x, mouse.y))
        onPositionChanged: mouse => {
            cursorShape = root.overlay.drag.cursorFor(Qt.point(mouse.x, mouse.y))
            root.overlay.drag.moved(Qt.point(mouse.x, mouse.y))
        }
        onReleased: root.overlay.drag.released()
        onCanceled: root.overlay.drag.released()
    }
    Rectangle {
        id: button
        x: 20
        y: 20
        width: 80
        height: 28
        color: "#40ffffff"
        TapHandler {
            onTapped: {
                const place = button.mapToGlobal(0, button.height + 4)
                popover.x = place.x
                popover.y = place.y
                popover.visible = true
                popover.requestActivate()
                field.forceActiveFocus()
            }
        }
    }
    Window {
        id: popover
        flags: Qt.Popup | Qt.FramelessWindowHint
        transientParent: root
        width: 240
        height: 60
        color: "white"
        onActiveChanged: if (!active && visible) close()
        TextInput {
            id: field
            anchors.fill: parent
            focus: true
            // A cursor that blinks would look like keys that arrive.
            cursorDelegate: Item {}
            Keys.onEscapePressed: popover.close()
        }
    }
}
