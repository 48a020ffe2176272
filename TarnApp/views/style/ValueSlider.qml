import QtQuick
import Tarn.Style
import QtQuick.Templates as T

/// A slider over a number that somebody else keeps. `changed` tells of the user's changes alone, with the pointer, the
/// keys (Home and End lead to its ends) or a screen reader, in whole steps.
T.Slider {
    id: root

    required property real current  ///< the number; outside the range its nearest end is shown
    property string name            ///< what is set, for screen readers
    property string valueText       ///< the number as it is shown, for screen readers
    readonly property real minimumValue: from   ///< under these names screen readers look for the ends
    readonly property real maximumValue: to
    readonly property real shown: Math.min(to, Math.max(from, current))
    property bool ready: false
    signal changed(value: real)

    value: shown
    // Not `moved`: a screen reader sets the value without it.
    onValueChanged: {
        if (ready && Math.abs(value - shown) > 1e-9)
            changed(SliderSteps.nearest(value, from, to, stepSize))
    }
    Component.onCompleted: ready = true

    implicitWidth: 130
    implicitHeight: 20
    focusPolicy: Qt.StrongFocus
    hoverEnabled: true
    snapMode: T.Slider.SnapAlways
    opacity: enabled ? 1 : Theme.disabledOpacity

    Accessible.role: Accessible.Slider
    Accessible.name: name
    Accessible.description: valueText

    Keys.onPressed: event => {
        if (event.key === Qt.Key_Home || event.key === Qt.Key_End) {
            SliderSteps.move(root, event.key === Qt.Key_Home ? from : to)
            event.accepted = true
        }
    }

    background: Plate {
        y: (root.height - height) / 2
        width: root.width
        height: 4
        radius: 2
        color: Theme.track
        Plate {
            width: root.handle.x + root.handle.width / 2
            height: parent.height
            radius: 2
            color: Theme.accent
        }
    }
    handle: Plate {
        x: root.visualPosition * (root.width - width)
        y: (root.height - height) / 2
        width: 16
        height: 16
        radius: 8
        color: root.pressed ? Theme.knobPressed : Theme.knob
        border.width: 1
        border.color: root.hovered ? Theme.knobEdgeHovered : Theme.knobEdge
        FocusRing {
            shown: root.visualFocus
        }
    }
}
