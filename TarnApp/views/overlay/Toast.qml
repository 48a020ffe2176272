import QtQuick
import Tarn.Controls
import Tarn.Overlay
import Tarn.Style

/// The notice over the content: while there is a message it slides in from below and fades in, and then out again with
/// the message that it had. It stays at the lower edge, where nothing is to be pressed.
Item {
    id: root

    required property string message

    anchors.horizontalCenter: parent.horizontalCenter
    anchors.bottom: parent.bottom
    anchors.bottomMargin: root.message !== "" ? Theme.space(3) : -height
    width: shown.width
    height: shown.height
    opacity: root.message !== "" ? 1 : 0
    visible: opacity > 0
    Behavior on anchors.bottomMargin { Spring {} }
    Behavior on opacity { Spring {} }

    onMessageChanged: {
        if (root.message !== "")
            shown.message = root.message
    }
    SuccessToast {
        id: shown
        message: ""
        width: Math.min(implicitWidth, root.parent.width - Theme.space(6))
        Component.onCompleted: message = root.message
    }
}
