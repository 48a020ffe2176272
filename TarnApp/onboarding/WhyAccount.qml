import QtQuick
import Tarn.Model
import Tarn.Onboarding
import Tarn.Style

/// Why there are accounts: a link, and in its place once it is pressed the explanation.
Item {
    id: root

    required property bool open
    signal toggled(open: bool)

    implicitHeight: root.open ? panel.height : link.height

    LinkButton {
        id: link
        anchors.horizontalCenter: parent.horizontalCenter
        visible: !root.open
        text: Loc.loginWhyLink
        onClicked: {
            root.toggled(true)
            dismiss.forceActiveFocus(Qt.OtherFocusReason)
        }
    }
    Plate {
        id: panel
        width: parent.width
        height: column.height + 2 * column.y
        visible: root.open
        radius: Theme.radiusPanel
        color: Theme.card
        border.color: Theme.divider
        Column {
            id: column
            x: Theme.space(4)
            y: Theme.space(3)
            width: parent.width - 2 * column.x
            spacing: Theme.space(1.5)
            SlideText {
                heading: true
                width: parent.width
                text: Loc.loginWhyTitle
                font.pixelSize: Theme.body
            }
            SlideText {
                width: parent.width
                text: Loc.loginWhyBody
                font.pixelSize: Theme.callout
            }
            PushButton {
                id: dismiss
                anchors.right: parent.right
                text: Loc.loginWhyDismiss
                onClicked: {
                    root.toggled(false)
                    link.forceActiveFocus(Qt.OtherFocusReason)
                }
            }
        }
    }
}
