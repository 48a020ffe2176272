import QtQuick
import Tarn.Model
import Tarn.Onboarding
import Tarn.Style

/// A page that introduces: a picture over a title over some lines.
Item {
    id: root

    required property Component icon
    required property string title
    required property string bodyKey    ///< of the lines, a text's name in `Loc`

    Column {
        anchors.centerIn: parent
        width: parent.width
        spacing: Theme.space(3)

        Loader {
            anchors.horizontalCenter: parent.horizontalCenter
            sourceComponent: root.icon
        }
        Item { width: 1; height: Theme.space(6) }
        SlideText {
            heading: true
            width: parent.width
            horizontalAlignment: Text.AlignHCenter
            text: root.title
            font.pixelSize: Theme.title
        }
        SlideText {
            anchors.horizontalCenter: parent.horizontalCenter
            width: Paragraphs.balancedWidth(text, font, Math.min(400, parent.width))
            horizontalAlignment: Text.AlignHCenter
            text: Loc[root.bodyKey]
            lineHeight: 1.25
            font.pixelSize: Theme.title3
        }
    }
}
