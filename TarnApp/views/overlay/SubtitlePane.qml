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
    /// Nothing, or too little, lies behind the text.
    property bool bare: vm.miniMode

    readonly property bool below: Look.original === "below"
    readonly property real scaling: vm.subtitleScale

    clip: true
    visible: places.hasRoom

    SubtitlePlaces {
        id: places
        height: root.height
        margin: Theme.space(2)
        spacing: (root.narrow ? 6 : 10) * root.scaling
        hasSource: root.session.sourceLang !== "" && Look.original !== "hidden"
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
        y: root.below ? translation.y + translation.height + places.spacing : places.sourceY
        width: root.width - 2 * x
        visible: places.hasSource && !reading.active
        marker: "🎤"
        markerSize: root.narrow ? 12 : 14
        isEmpty: root.session.sourceText === ""
        text: reading.active ? "" : isEmpty ? Loc.notStarted : root.session.sourceText
        fontSize: (root.narrow ? 14 : 16) * root.scaling
        weight: Font.Normal
        stroked: root.bare
        ink: Look.originalColor
        room: places.sourceRoom
    }
    SubtitleLine {
        id: translation
        objectName: "translation"
        x: Theme.space(3)
        y: root.below ? places.margin : places.translationY
        visible: !reading.active
        width: root.width - 2 * x
        marker: "🔊"
        markerSize: root.narrow ? 12 : 14
        isEmpty: root.session.translationText === ""
        text: reading.active ? "" : isEmpty ? Loc.translatedPlaceholder : root.session.translationText
        fontSize: (root.narrow ? 15 : 18) * root.scaling
        weight: Font.Medium
        stroked: root.bare
        ink: Look.translationColor
        room: places.translationRoom
    }
    Loader {
        id: reading
        anchors.fill: parent
        active: Look.readingMode
        onActiveChanged: fill()
        Component.onCompleted: fill()
        function fill(): void {
            if (active)
                setSource("ReadingPane.qml", {vm: root.vm, session: root.session, narrow: Qt.binding(() => root.narrow),
                                              bare: Qt.binding(() => root.bare)})
        }
    }
}
