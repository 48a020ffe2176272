import QtQuick
import Tarn.Style
import QtQuick.Templates as T

/// One choice of a few, all of them seen. Arrow keys, Home and End move the choice. In a width of its own the labels
/// share what is left evenly.
FocusScope {
    id: root

    required property var choices   ///< list of {value, label}
    required property var value     ///< that of the chosen one
    property string name            ///< what is chosen, for screen readers
    property string help            ///< tooltip
    readonly property real labelsWidth: {
        let sum = 0
        for (let i = 0; i < segments.count; ++i)
            sum += segments.itemAt(i) ? segments.itemAt(i).implicitContentWidth : 0
        return sum
    }
    readonly property real margins: (width - 4 - labelsWidth) / Math.max(1, segments.count)     ///< of one label
    signal picked(value: var)

    function goTo(wanted: int): void {
        const next = Math.max(0, Math.min(choices.length - 1, wanted))
        if (choices[next].value !== value)
            picked(choices[next].value)
    }
    function at(): int {
        return choices.findIndex(choice => choice.value === value)
    }

    implicitWidth: Math.ceil(labelsWidth + segments.count * Theme.space(5)) + 4
    implicitHeight: Theme.controlHeight
    activeFocusOnTab: true

    Accessible.role: Accessible.Grouping
    Accessible.name: name
    Accessible.focusable: true
    Accessible.focused: activeFocus

    Keys.onLeftPressed: goTo(at() - 1)
    Keys.onRightPressed: goTo(at() + 1)
    Keys.onPressed: event => {
        if (event.key === Qt.Key_Home || event.key === Qt.Key_End) {
            goTo(event.key === Qt.Key_Home ? 0 : choices.length - 1)
            event.accepted = true
        }
    }

    Plate {
        anchors.fill: parent
        radius: Theme.radiusControl
        color: Theme.fill
        border.width: Theme.controlEdge
        border.color: Theme.hairline
        FocusRing {
            shown: root.activeFocus
        }
    }
    Row {
        x: 2
        y: 2
        Repeater {
            id: segments
            model: root.choices
            // A radio button for screen readers alone: `value` says which one is marked.
            T.RadioButton {
                id: segment

                required property var modelData
                readonly property bool marked: modelData.value === root.value

                function press(): void {
                    if (enabled && !marked)
                        root.picked(modelData.value)
                }

                text: modelData.label
                width: Math.max(0, implicitContentWidth + root.margins)
                height: root.height - 4
                checkable: false
                autoExclusive: false
                focusPolicy: Qt.NoFocus
                hoverEnabled: true
                onClicked: press()

                Accessible.role: Accessible.RadioButton
                Accessible.name: text
                Accessible.focusable: false
                Accessible.checkable: true
                Accessible.checked: marked
                Accessible.onPressAction: press()
                Accessible.onToggleAction: press()

                background: Plate {
                    radius: Theme.radiusControl - 2
                    color: segment.marked ? Theme.segment
                                          : segment.down ? Theme.fillHovered
                                                         : segment.hovered ? Theme.fill : "transparent"
                    border.width: segment.marked ? 1 : 0
                    border.color: Theme.hairline
                }
                contentItem: Text {
                    text: segment.text
                    textFormat: Text.PlainText
                    horizontalAlignment: Text.AlignHCenter
                    verticalAlignment: Text.AlignVCenter
                    elide: Text.ElideRight
                    font.pixelSize: Theme.caption
                    font.weight: Font.Medium
                    color: segment.marked ? Theme.segmentInk : Theme.secondaryText
                }
                SpokenCheck {
                    checkable: true
                    checked: segment.marked
                }
                HelpTip {
                    text: root.help
                    target: segment
                    hovered: segment.hovered
                }
            }
        }
    }
}
