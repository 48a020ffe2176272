import QtQuick
import Tarn.Model
import Tarn.Overlay
import Tarn.Style

/// A marker and a subtitle, on one baseline; the marker on the side where reading begins.
Item {
    id: root

    required property string marker
    required property int markerSize
    required property string text
    required property bool isEmpty
    required property real fontSize
    required property int weight
    required property bool stroked
    required property real room
    property string ink                 ///< the colour that the user chose for it; empty: none
    readonly property real naturalHeight: subtitle.naturalHeight
    readonly property real lineHeight: subtitle.lineHeight
    readonly property SubtitleText subtitle: subtitle
    readonly property bool mirrored: subtitle.edit.effectiveHorizontalAlignment === TextEdit.AlignRight

    implicitHeight: subtitle.implicitHeight
    height: implicitHeight

    Loader {
        active: root.stroked
        sourceComponent: SubtitleOutline {
            x: -margin
            y: -margin
            width: root.width + 2 * margin
            height: root.height + 2 * margin
            flow: subtitle.flow
            textArea: Qt.rect(subtitle.x, 0, subtitle.width, subtitle.height)
            marker: glyph.text
            markerFont: glyph.font
            markerAt: Qt.point(glyph.x, glyph.y + glyph.baselineOffset)
            hollow: root.isEmpty
            outlineWidth: Look.outlineWidth
        }
    }
    Symbol {
        id: glyph
        objectName: "marker"
        x: root.mirrored ? root.width - width : 0
        // What is drawn ends somewhat above the glyph's own lower edge.
        y: subtitle.firstBaseline + Math.round(root.markerSize / 8) - baselineOffset
        name: root.marker
        size: root.markerSize
        color: root.stroked ? Theme.overPicture : Theme.secondaryText
    }
    SubtitleText {
        id: subtitle
        x: root.mirrored ? 0 : root.width - width
        width: root.width - root.markerSize * 1.6
        height: implicitHeight
        text: root.text
        isEmpty: root.isEmpty
        fontSize: root.fontSize
        weight: root.weight
        stroked: root.stroked
        room: root.room
        ink: root.ink
    }
}
