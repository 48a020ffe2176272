import QtQuick
import Tarn.Model
import Tarn.Overlay
import Tarn.Style

/// Two subtitles as they will look, over a picture.
Item {
    id: root

    readonly property bool faint: Look.backgroundOpacity < Look.leastBackground
    readonly property bool below: Look.original === "below"

    implicitHeight: 120
    clip: true

    Rectangle {
        anchors.fill: parent
        gradient: Gradient {
            orientation: Gradient.Horizontal
            GradientStop { position: 0; color: "#f2ede4" }
            GradientStop { position: 0.5; color: "#8aa0b4" }
            GradientStop { position: 1; color: "#22303c" }
        }
    }
    Rectangle {
        anchors.fill: parent
        color: Theme.panel
        opacity: Look.backgroundOpacity / 100
    }
    SubtitleLine {
        id: original
        x: Theme.space(3)
        y: Theme.space(5) + (root.below ? translation.height + 10 : 0)
        width: root.width - 2 * x
        visible: Look.original !== "hidden"
        marker: "🎤"
        markerSize: 14
        isEmpty: false
        text: Loc.lookSampleOriginal
        fontSize: 16
        weight: Font.Normal
        stroked: root.faint
        ink: Look.originalColor
        room: 40
    }
    SubtitleLine {
        id: translation
        x: Theme.space(3)
        y: Theme.space(5) + (Look.original === "above" ? original.height + 10 : 0)
        width: root.width - 2 * x
        marker: "🔊"
        markerSize: 14
        isEmpty: false
        text: Loc.lookSampleTranslation
        fontSize: 18
        weight: Font.Medium
        stroked: root.faint
        ink: Look.translationColor
        room: 60
    }
}
