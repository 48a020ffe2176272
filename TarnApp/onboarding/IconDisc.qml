import QtQuick
import Tarn.Onboarding
import Tarn.Style

/// The round backdrop of a picture, with a soft ring of light around it.
Item {
    id: root

    property real diameter: 156
    default property alias picture: face.data

    implicitWidth: root.diameter
    implicitHeight: root.diameter
    Accessible.ignored: true

    Repeater {
        model: 2
        Plate {
            id: ring
            required property int index
            anchors.centerIn: parent
            width: root.diameter * (1.14 + 0.16 * ring.index)
            height: ring.width
            radius: ring.width / 2
            color: Theme.faded(Theme.accent, 0.09 - 0.04 * ring.index)
        }
    }
    Plate {
        id: face
        anchors.fill: parent
        radius: face.width / 2
        color: Theme.discTop
        lower: Theme.discBottom
        border.color: Theme.faded(Brand.primary, 0.35)
    }
}
