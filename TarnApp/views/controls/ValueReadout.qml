import QtQuick
import Tarn.Controls
import Tarn.Style

/// A slider's value, which stays in its place while its digits change: each has the room of the widest.
Item {
    id: root

    required property string text
    property color color: Theme.secondaryText
    readonly property real digit: Math.max(...[..."0123456789"].map(one => metrics.advanceWidth(one)))
    readonly property real natural: [...text].reduce((sum, one) => sum + room(one), 0)
    readonly property real shrunk: Math.min(1, width / natural)

    function room(sign: string): real {
        return sign >= "0" && sign <= "9" ? digit : metrics.advanceWidth(sign)
    }

    implicitWidth: 40
    implicitHeight: Math.ceil(metrics.height)

    FontMetrics {
        id: metrics
        font.pixelSize: Theme.caption
    }
    Row {
        anchors.right: parent.right
        anchors.verticalCenter: parent.verticalCenter
        Repeater {
            model: root.text.length
            Text {
                required property int index
                readonly property string sign: root.text.charAt(index)
                width: root.room(sign) * root.shrunk
                horizontalAlignment: Text.AlignHCenter
                text: sign
                textFormat: Text.PlainText
                font.pixelSize: Math.max(9, Math.floor(Theme.caption * root.shrunk))
                color: root.color
            }
        }
    }
}
