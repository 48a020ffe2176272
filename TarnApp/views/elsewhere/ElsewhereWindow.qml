import QtQuick
import Tarn.Elsewhere
import Tarn.Model
import Tarn.Style

/// Where else subtitles are shown, each with its switch and its address.
Window {
    id: root

    required property SubtitlesElsewhere elsewhere

    objectName: "tarn-elsewhere"
    title: Loc.elsewhereTitle
    flags: Qt.Window
    width: 500
    height: panel.implicitHeight
    minimumWidth: 420
    minimumHeight: 240
    color: Theme.window

    ElsewherePanel {
        id: panel
        width: root.width
        elsewhere: root.elsewhere
    }
    Shortcut {
        sequences: ["Escape", StandardKey.Close]
        onActivated: root.close()
    }
}
