import QtQuick
import Tarn.Controls
import Tarn.Model
import Tarn.Style

/// A light that tells a session's state (`state`, that of a `TranslateSession`), with its name as tooltip, and below
/// that what is wrong with a session that runs.
Plate {
    id: root

    property list<string> faults        ///< to be read
    readonly property var lines: [Loc[StateLook.labelKey(state)]].concat(faults)

    state: "idle"
    implicitWidth: 8
    implicitHeight: 8
    radius: 4
    color: Theme.light(StateLook.light(state))

    Accessible.role: Accessible.StaticText
    Accessible.name: lines.join(". ")

    HoverHandler {
        id: pointer
        margin: Theme.space(1)
    }
    HelpTip {
        text: root.lines.join("\n")
        target: root
        hovered: pointer.hovered
    }
}
