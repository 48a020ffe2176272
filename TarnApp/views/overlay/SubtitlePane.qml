import QtQuick
import Tarn.Model
import Tarn.Overlay
import Tarn.Style

/// What is said and its translation, the newest words of both always in view.
Item {
    id: root

    required property TranslateViewModel vm
    required property TranslateSession session
    required property bool narrow

    readonly property real scaling: vm.subtitleScale
    readonly property real spacing: (narrow ? 6 : 10) * scaling
    readonly property real room: Math.max(0, height - 2 * Theme.space(2))
    /// A line of both. Where there is not, the source is above the pane, and the wheel brings it in.
    readonly property bool bothFit: said.lineHeight + spacing + translation.lineHeight <= room
    readonly property real above: said.visible && !bothFit ? said.height + spacing : 0
    property real lift: 0               ///< of what is above, that the user has scrolled in

    clip: true
    visible: room >= translation.lineHeight
    onAboveChanged: lift = Math.min(lift, above)

    Item {
        Accessible.role: Accessible.AlertMessage
        Accessible.name: finished.text
        FinishedLine {
            id: finished
            viewModel: root.vm
            session: root.session
        }
    }
    WheelHandler {
        enabled: root.above > 0
        onWheel: event => root.lift = Math.max(0, Math.min(root.lift + event.angleDelta.y / 4, root.above))
    }
    SubtitleLine {
        id: said
        objectName: "source"
        x: Theme.space(3)
        y: Theme.space(2) - root.above + root.lift
        width: root.width - 2 * x
        visible: root.session.sourceLang !== ""
        marker: "🎤"
        markerSize: root.narrow ? 12 : 14
        isEmpty: root.session.sourceText === ""
        text: isEmpty ? Loc.notStarted : root.session.sourceText
        fontSize: (root.narrow ? 14 : 16) * root.scaling
        weight: Font.Normal
        stroked: root.vm.miniMode
        room: root.bothFit
              ? SubtitleShares.ofSource(root.room - root.spacing, naturalHeight, translation.naturalHeight)
              : root.room
    }
    SubtitleLine {
        id: translation
        objectName: "translation"
        x: Theme.space(3)
        y: said.visible ? said.y + said.height + root.spacing : said.y
        width: root.width - 2 * x
        marker: "🔊"
        markerSize: root.narrow ? 12 : 14
        isEmpty: root.session.translationText === ""
        text: isEmpty ? Loc.translatedPlaceholder : root.session.translationText
        fontSize: (root.narrow ? 15 : 18) * root.scaling
        weight: Font.Medium
        stroked: root.vm.miniMode
        room: root.room - (said.visible && root.bothFit ? said.height + root.spacing : 0)
    }
}
