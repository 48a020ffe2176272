import QtQuick
import Tarn.Controls
import Tarn.Model
import Tarn.Style

/// A light that tells a session's state (`state`, that of a `TranslateSession`), with its name as tooltip.
Rectangle {
    id: root

    readonly property string label: Loc[StateLook.labelKey(state)]

    state: "idle"
    implicitWidth: 8
    implicitHeight: 8
    radius: 4
    color: Theme.light(StateLook.light(state))

    Accessible.role: Accessible.StaticText
    Accessible.name: label

    HoverHandler {
        id: pointer
        margin: Theme.space(1)
    }
    HelpTip {
        text: root.label
        target: root
        hovered: pointer.hovered
    }
}
