import QtQuick
import Tarn.Overlay
import Tarn.Style

/// A marker and a subtitle, on one baseline.
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
    readonly property real naturalHeight: subtitle.naturalHeight
    readonly property real lineHeight: subtitle.lineHeight
    readonly property SubtitleText subtitle: subtitle

    implicitHeight: subtitle.implicitHeight
    height: implicitHeight

    Repeater {
        model: root.stroked ? [[1, 1], [-1, 1], [1, -1], [-1, -1], [0, 1], [0, -1], [1, 0], [-1, 0]] : []
        Text {
            required property var modelData
            x: modelData[0]
            y: glyph.y + modelData[1]
            text: root.marker
            textFormat: Text.PlainText
            font: glyph.font
            color: "black"
            Accessible.ignored: true
        }
    }
    Text {
        id: glyph
        y: subtitle.firstBaseline - baselineOffset
        text: root.marker
        textFormat: Text.PlainText
        font.pixelSize: root.markerSize
        color: root.stroked ? Theme.overPicture : Theme.primaryText
        Accessible.ignored: true
    }
    SubtitleText {
        id: subtitle
        x: root.markerSize * 1.6
        width: root.width - x
        height: implicitHeight
        text: root.text
        isEmpty: root.isEmpty
        fontSize: root.fontSize
        weight: root.weight
        stroked: root.stroked
        room: root.room
    }
}
