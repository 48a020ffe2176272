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

    clip: true
    visible: places.hasRoom

    SubtitlePlaces {
        id: places
        height: root.height
        margin: Theme.space(2)
        spacing: (root.narrow ? 6 : 10) * root.scaling
        hasSource: root.session.sourceLang !== ""
        sourceLine: said.lineHeight
        sourceNatural: said.naturalHeight
        sourceHeight: said.height
        translationLine: translation.lineHeight
        translationNatural: translation.naturalHeight
    }
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
        enabled: places.scrolls
        onWheel: event => places.scroll(event.angleDelta.y / 4)
    }
    SubtitleLine {
        id: said
        objectName: "source"
        x: Theme.space(3)
        y: places.sourceY
        width: root.width - 2 * x
        visible: places.hasSource
        marker: "🎤"
        markerSize: root.narrow ? 12 : 14
        isEmpty: root.session.sourceText === ""
        text: isEmpty ? Loc.notStarted : root.session.sourceText
        fontSize: (root.narrow ? 14 : 16) * root.scaling
        weight: Font.Normal
        stroked: root.vm.miniMode
        room: places.sourceRoom
    }
    SubtitleLine {
        id: translation
        objectName: "translation"
        x: Theme.space(3)
        y: places.translationY
        width: root.width - 2 * x
        marker: "🔊"
        markerSize: root.narrow ? 12 : 14
        isEmpty: root.session.translationText === ""
        text: isEmpty ? Loc.translatedPlaceholder : root.session.translationText
        fontSize: (root.narrow ? 15 : 18) * root.scaling
        weight: Font.Medium
        stroked: root.vm.miniMode
        room: places.translationRoom
    }
}
