import QtQuick

/// What lies behind all controls of the overlay: a press that none of them takes moves the window.
MouseArea {
    id: root

    required property QtObject drag     ///< WindowDrag

    anchors.fill: parent
    z: -1
    onPressed: mouse => root.drag.pressed(Qt.point(mouse.x, mouse.y))
    onPositionChanged: mouse => root.drag.moved(Qt.point(mouse.x, mouse.y))
    onReleased: root.drag.released()
    onCanceled: root.drag.released()
}
