import QtQuick
import Tarn.Model
import Tarn.Onboarding
import Tarn.Style

/// The permissions that Tarn works with.
Item {
    id: root

    required property TranslateViewModel vm

    Column {
        anchors.centerIn: parent
        width: parent.width
        spacing: Theme.space(2)

        SlideText {
            heading: true
            width: parent.width
            horizontalAlignment: Text.AlignHCenter
            text: Loc.permTitle
            font.pixelSize: Theme.heading
        }
        SlideText {
            anchors.horizontalCenter: parent.horizontalCenter
            width: Paragraphs.balancedWidth(text, font, 420)
            horizontalAlignment: Text.AlignHCenter
            text: Loc.permSubtitle
            lineHeight: 1.15
            font.pixelSize: Theme.body
        }
        Item { width: 1; height: Theme.space(4) }
        Plate {
            width: parent.width
            height: rows.height
            radius: Theme.radiusPanel
            color: Theme.card
            border.color: Theme.divider
            Column {
                id: rows
                width: parent.width
                MicPermissionRow {
                    width: parent.width
                    vm: root.vm
                }
                Divider {
                    id: line
                    x: Theme.space(4)
                    width: parent.width - 2 * line.x
                }
                ScreenRecPermissionRow {
                    width: parent.width
                    vm: root.vm
                }
            }
        }
        Item { width: 1; height: Theme.space(1) }
        SlideText {
            width: parent.width
            horizontalAlignment: Text.AlignHCenter
            text: Loc.permFootnote
            font.pixelSize: Theme.caption
        }
    }
}
