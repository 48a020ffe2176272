import QtQuick
import Tarn.Style

/// Two halves that change a number by steps, as do the arrow keys; at an end the half that would leave it is off.
FocusScope {
    id: root

    required property int value
    required property int minimumValue
    required property int maximumValue
    property int stepSize: 1
    property string name            ///< what is changed, for screen readers
    signal stepped(value: int)

    function stepBy(steps: int): void {
        const next = Math.max(minimumValue, Math.min(maximumValue, value + steps * stepSize))
        if (next !== value)
            stepped(next)
    }

    implicitWidth: 20
    implicitHeight: Theme.fieldHeight
    activeFocusOnTab: true

    Accessible.role: Accessible.SpinBox
    Accessible.name: name
    Accessible.focusable: true
    Accessible.focused: activeFocus
    Accessible.onIncreaseAction: stepBy(1)
    Accessible.onDecreaseAction: stepBy(-1)

    Keys.onUpPressed: stepBy(1)
    Keys.onDownPressed: stepBy(-1)
    Keys.onPressed: event => {
        if (event.key === Qt.Key_PageUp || event.key === Qt.Key_PageDown) {
            stepBy(event.key === Qt.Key_PageUp ? 10 : -10)
            event.accepted = true
        }
    }

    component Half: Pressable {
        id: half

        required property string symbol
        required property int by

        width: root.width
        height: root.height / 2
        autoRepeat: true
        focusPolicy: Qt.NoFocus
        onClicked: root.stepBy(by)

        Accessible.focusable: false
        Accessible.name: (by > 0 ? "+" : "−") + root.stepSize

        background: Plate {
            radius: Theme.radiusSmall - 1
            color: half.down ? Theme.fillPressed : half.hovered ? Theme.fillHovered : "transparent"
        }
        contentItem: Item {
            Symbol {
                anchors.centerIn: parent
                name: half.symbol
                size: 14
            }
        }
    }

    Plate {
        anchors.fill: parent
        radius: Theme.radiusSmall
        color: Theme.fill
        border.width: root.activeFocus ? Theme.focusWidth : 1
        border.color: root.activeFocus ? Theme.focusRing : Theme.hairline
    }
    Half {
        symbol: "chevron.up"
        by: 1
        enabled: root.enabled && root.value < root.maximumValue
    }
    Half {
        y: root.height / 2
        symbol: "chevron.down"
        by: -1
        enabled: root.enabled && root.value > root.minimumValue
    }
}
