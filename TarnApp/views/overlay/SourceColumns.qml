import QtQuick
import Tarn.Model
import Tarn.Overlay
import Tarn.Style

/// One column for each session, side by side.
Item {
    id: root

    required property TranslateViewModel vm
    required property real headerOpacity
    property bool bare: false           ///< there is no background behind
    property bool faint: false          ///< there is too little of it for text without an outline

    SessionListModel {
        id: sessions
        viewModel: root.vm
    }
    Repeater {
        model: sessions
        Item {
            id: column

            required property TranslateSession session
            required property int index
            readonly property bool last: index === sessions.count - 1

            x: Math.round(index * root.width / sessions.count)
            width: Math.round((index + 1) * root.width / sessions.count) - x
            height: root.height

            SourceColumn {
                width: parent.width - (column.last ? 0 : line.width)
                height: parent.height
                vm: root.vm
                session: column.session
                isPrimary: column.index === 0
                narrow: sessions.count >= 2
                headerOpacity: root.headerOpacity
                bare: root.bare
                faint: root.faint
            }
            Divider {
                id: line
                anchors.right: parent.right
                height: parent.height
                vertical: true
                visible: !column.last
            }
        }
    }
}
