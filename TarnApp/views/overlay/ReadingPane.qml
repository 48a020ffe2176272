import QtQuick
import Tarn.Model
import Tarn.Overlay
import Tarn.Style

/// The last translations in lines that stay where they are, with the newest words of what is said in one line of its own.
Item {
    id: root

    required property TranslateViewModel vm
    required property TranslateSession session
    required property bool narrow
    required property bool bare

    readonly property real scaling: vm.subtitleScale
    readonly property bool below: Look.original === "below"
    readonly property int saidSize: Math.round((narrow ? 14 : 16) * scaling)
    // Of the same height whatever is said, so that the lines beside it stay where they are.
    readonly property bool hasSaid: session.sourceLang !== "" && Look.original !== "hidden"
                                    && height >= saidSlot + lines.lineHeight + 2 * Theme.space(2)
    readonly property real saidSlot: Math.ceil(saidSize * 1.6) + (narrow ? 6 : 10) * scaling
    readonly property bool isEmpty: lines.lineCount === 0
    readonly property color ink: Look.translationColor !== "" ? Look.translationColor
                                 : bare ? Theme.overPicture : Theme.primaryText

    SubtitleLine {
        id: said
        objectName: "source"
        x: Theme.space(3)
        y: root.below ? root.height - Theme.space(2) - Math.ceil(root.saidSize * 1.6) : Theme.space(2)
        width: root.width - 2 * x
        visible: root.hasSaid
        marker: "🎤"
        markerSize: root.narrow ? 12 : 14
        isEmpty: root.session.sourceText === ""
        text: isEmpty ? Loc.notStarted : root.session.sourceText
        fontSize: root.saidSize
        weight: Font.Normal
        stroked: root.bare
        ink: Look.originalColor
        room: lineHeight
    }
    Symbol {
        id: glyph
        x: Theme.space(3)
        y: lines.y + lines.margin + (lines.lineHeight - height) / 2
        visible: !root.isEmpty
        name: "🔊"
        size: root.narrow ? 12 : 14
        color: root.bare ? Theme.overPicture : Theme.secondaryText
    }
    ReadingLines {
        id: lines
        objectName: "reading"
        x: glyph.x + glyph.size * 1.6 - margin
        y: Theme.space(2) + (root.hasSaid && !root.below ? root.saidSlot : 0) - margin
        width: root.width - x - Theme.space(3) + margin
        height: root.height - y - Theme.space(2) - (root.hasSaid && root.below ? root.saidSlot : 0) + margin
        viewModel: root.vm
        session: root.session
        keptUtterances: Look.keptUtterances
        font: Look.font(Look.fontFamily, Math.round((root.narrow ? 15 : 18) * root.scaling), Look.weight || Font.Medium)
        stroked: root.bare
        outlineWidth: Look.outlineWidth
        color: root.ink
        dimColor: Theme.faded(root.ink, Theme.pure ? 0.8 : 0.62)

        Accessible.role: Accessible.StaticText
        Accessible.name: text
        Accessible.readOnly: true
    }
    SubtitleLine {
        x: Theme.space(3)
        y: lines.y + lines.margin
        width: root.width - 2 * x
        visible: root.isEmpty
        marker: "🔊"
        markerSize: glyph.size
        isEmpty: true
        text: Loc.translatedPlaceholder
        fontSize: (root.narrow ? 15 : 18) * root.scaling
        weight: Font.Medium
        stroked: root.bare
        room: lines.height
    }
}
