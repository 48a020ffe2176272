import QtQuick
import Tarn.Onboarding
import Tarn.Style

/// What is heard becomes what is read and spoken.
IconDisc {
    id: root

    Row {
        anchors.centerIn: parent
        spacing: root.diameter * 0.035
        Symbol {
            anchors.verticalCenter: parent.verticalCenter
            name: "speaker.wave.2.fill"
            size: root.diameter * 0.29
            color: Brand.primary
        }
        Symbol {
            anchors.verticalCenter: parent.verticalCenter
            name: "arrow.right"
            size: root.diameter * 0.15
            color: Brand.primaryDark
        }
        Symbol {
            anchors.verticalCenter: parent.verticalCenter
            name: "captions.bubble.fill"
            size: root.diameter * 0.29
            color: Brand.accent
        }
    }
}
