import QtQuick
import Tarn.Controls
import Tarn.Style

/// How loud a session's input is: a bar in a track.
Plate {
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
    // Whole points, so that a change too small to be seen draws nothing.
    Plate {
        width: root.filled
        height: root.height
        radius: root.radius
        color: root.barColor
    }
}
