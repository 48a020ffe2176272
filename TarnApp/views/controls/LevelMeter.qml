import QtQuick
import Tarn.Controls
import Tarn.Style

/// How loud a session's input is: a bar in a track.
Rectangle {
    id: root

    required property real level    ///< linear
    readonly property real filled: Math.round(width * ease.fill)
    readonly property color barColor: Theme.light(ease.light)

    implicitWidth: 48
    implicitHeight: 6
    radius: 3
    color: Theme.track
    Accessible.ignored: true

    LevelEase {
        id: ease
        level: root.level
        time: Theme.levelTime
    }
    // Whole points, so that a change too small to be seen draws nothing. The bar is put together of two round
    // ends and what is between them: the corners of one whose width changes would be drawn anew each time.
    Rectangle {
        width: Math.min(root.filled, 2 * root.radius)
        height: root.height
        radius: root.radius
        color: root.barColor
    }
    Rectangle {
        x: root.radius
        width: root.filled - 2 * root.radius
        height: root.height
        visible: width > 0
        color: root.barColor
    }
    Rectangle {
        x: root.filled - width
        width: 2 * root.radius
        height: root.height
        radius: root.radius
        visible: x > 0
        color: root.barColor
    }
}
