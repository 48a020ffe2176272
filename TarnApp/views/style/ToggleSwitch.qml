import QtQuick
import Tarn.Style
import QtQuick.Templates as T

/// A switch. `toggled` tells of the user's changes alone.
T.Switch {
    id: root

    property string help            ///< tooltip
    property string name: help      ///< what is switched, for screen readers

    function press(): void {
        if (enabled) {
            toggle()
            toggled()
        }
    }

    implicitWidth: 34
    implicitHeight: 20
    focusPolicy: Qt.StrongFocus
    hoverEnabled: true
    opacity: enabled ? 1 : Theme.disabledOpacity

    Accessible.role: Accessible.CheckBox
    Accessible.name: name
    Accessible.description: help
    Accessible.checkable: true
    Accessible.checked: checked
    Accessible.onPressAction: press()
    Accessible.onToggleAction: press()

    Keys.onReturnPressed: press()
    Keys.onEnterPressed: press()

    indicator: Plate {
        width: root.width
        height: root.height
        radius: height / 2
        color: root.checked ? (root.hovered ? Qt.lighter(Theme.accent, 1.08) : Theme.accent)
                            : root.hovered ? Theme.trackHovered : Theme.track
        Plate {
            x: root.checked ? parent.width - width - 2 : 2
            y: 2
            width: parent.height - 4
            height: width
            radius: width / 2
            color: root.down ? Theme.knobPressed : Theme.knob
            Behavior on x { NumberAnimation { duration: Theme.quick; easing.type: Easing.OutCubic } }
        }
        FocusRing {
            shown: root.visualFocus
        }
    }
    HelpTip {
        text: root.help
        target: root
        hovered: root.hovered
    }
}
