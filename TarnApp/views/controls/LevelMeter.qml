import QtQuick
import Tarn.Controls
import Tarn.Style

/// How loud a session's input is: a bar in a track.
Rectangle {
    id: root

    required property real level    ///< linear
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
    // Whole points, so that a change too small to be seen draws nothing.
    Rectangle {
        width: Math.round(root.width * ease.fill)
        height: root.height
        radius: root.radius
        color: root.barColor
    }
}
