import QtQuick
import Tarn.Controls
import Tarn.Model
import Tarn.Style

/// What keeps a running session from being heard or translated: the worst on one line, all in the tooltip.
ErrorChip {
    id: root

    required property list<string> faults       ///< `TranslateSession.health`
    property list<string> values                ///< `TranslateSession.healthValues`

    readonly property bool isHealthy: faults.length === 0
    readonly property var lines: faults.map((fault, i) => Loc.filled(Loc[fault], values[i] || ""))

    visible: !isHealthy
    message: isHealthy ? "" : lines[0]
    details: lines.join("\n")
    ink: Theme.orange
    // It is read over any picture, and not in a header.
    color: Theme.panelOpaque
    border.width: 1

    Accessible.ignored: isHealthy
}
