import QtQuick
import Tarn.Style

/// Something is under way. Turns only while it can be seen, and not where the desktop asks for less motion.
Item {
    id: root

    property real size: 14
    property color color: Theme.secondaryText

    implicitWidth: size
    implicitHeight: size
    Accessible.ignored: true

    Repeater {
        model: 8
        Plate {
            required property int index
            readonly property real turn: index * Math.PI / 4

            width: Math.max(2, root.size / 6)
            height: width
            radius: width / 2
            x: root.size / 2 + Math.cos(turn) * root.size * 0.4 - width / 2
            y: root.size / 2 + Math.sin(turn) * root.size * 0.4 - height / 2
            color: root.color
            opacity: 1 - ((steps.step - index + 8) % 8) / 9
        }
    }
    Timer {
        id: steps

        property int step: 0

        interval: Theme.spinnerStep
        repeat: true
        running: root.visible && root.Window.window !== null && root.Window.window.visible && !Appearance.reducedMotion
        onTriggered: step = (step + 1) % 8
    }
}
