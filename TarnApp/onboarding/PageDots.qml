import QtQuick
import Tarn.Model
import Tarn.Onboarding
import Tarn.Style

/// One dot for each page, the current one bright.
Row {
    id: root

    required property int page
    required property int lastPage

    spacing: Theme.space(2)
    Accessible.role: Accessible.StaticText
    Accessible.name: Loc.pageOf.arg(root.page + 1).arg(root.lastPage + 1)

    Repeater {
        model: root.lastPage + 1
        Item {
            id: dot
            required property int index
            readonly property bool current: dot.index === root.page

            width: 7
            height: 7

            Plate {
                Behavior on width { Spring {} }
                anchors.centerIn: parent
                width: dot.current ? 7 * 1.15 : 7   // and no scale, since it is painted at its size
                height: width
                radius: width / 2
                color: dot.current ? (Theme.dark ? Brand.primary : Theme.accent)
                                   : Theme.faded(Theme.secondaryText, Theme.pure ? 0.5 : 0.28)
                Behavior on color { Spring {} }
            }
        }
    }
}
