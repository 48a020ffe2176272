import QtQuick

/// The rim of the overlay, above all controls: a press there resizes the window.
Item {
    id: root

    required property QtObject drag     ///< WindowDrag
    property int rim: 6

    anchors.fill: parent
    z: 100

    component Rim: MouseArea {
        id: edge
        cursorShape: root.drag.cursorFor(edge.mapToItem(root, edge.width / 2, edge.height / 2))
        onPressed: mouse => root.drag.pressed(edge.mapToItem(root, mouse.x, mouse.y))
        onPositionChanged: mouse => root.drag.moved(edge.mapToItem(root, mouse.x, mouse.y))
        onReleased: root.drag.released()
        onCanceled: root.drag.released()
    }
    Rim { x: root.rim; width: root.width - 2 * root.rim; height: root.rim }
    Rim { x: root.rim; y: root.height - root.rim; width: root.width - 2 * root.rim; height: root.rim }
    Rim { y: root.rim; width: root.rim; height: root.height - 2 * root.rim }
    Rim { x: root.width - root.rim; y: root.rim; width: root.rim; height: root.height - 2 * root.rim }
    Rim { width: root.rim; height: root.rim }
    Rim { x: root.width - root.rim; width: root.rim; height: root.rim }
    Rim { y: root.height - root.rim; width: root.rim; height: root.rim }
    Rim { x: root.width - root.rim; y: root.height - root.rim; width: root.rim; height: root.rim }
}
