import QtQuick
import Tarn.Look
import Tarn.Model
import Tarn.Style

/// How subtitles look, with a preview; the overlay follows at once.
Window {
    id: root

    objectName: "tarn-look"
    title: Loc.lookTitle
    flags: Qt.Window
    width: 480
    height: Math.min(panel.implicitHeight, Screen.desktopAvailableHeight - 60)
    minimumWidth: 440
    minimumHeight: 300
    color: Theme.window

    Flickable {
        anchors.fill: parent
        contentHeight: panel.implicitHeight
        boundsBehavior: Flickable.StopAtBounds
        LookPanel {
            id: panel
            width: root.width
        }
    }
    Shortcut {
        sequences: ["Escape", StandardKey.Close]
        onActivated: root.close()
    }
}
