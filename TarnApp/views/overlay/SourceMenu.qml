import QtQuick
import Tarn.Model
import Tarn.Overlay
import Tarn.Style

/// The menu of what a session can capture.
Popover {
    id: root

    required property SourceChoice choice
    property int at: -1                 ///< the row that has the keys

    title: Loc.captureSource
    insetX: Theme.space(1)
    insetY: Theme.space(1)
    onOpenedChanged: {
        at = -1
        if (opened)
            choice.opened()
    }

    MenuColumn {
        Accessible.role: Accessible.PopupMenu
        Accessible.name: Loc.captureSource
        Repeater {
            model: root.choice.rows
            // The rows are made anew by every choice, and the keys stay where they were.
            onItemAdded: (index, item) => {
                if (index === root.at)
                    item.forceActiveFocus()
            }
            MenuRow {
                id: row

                required property var modelData
                required property int index

                kind: modelData.kind
                text: modelData.text
                symbol: modelData.symbol
                chosen: modelData.chosen
                onActiveFocusChanged: {
                    if (activeFocus)
                        root.at = index
                }
                onClicked: {
                    const choice = root.choice
                    const index = row.index
                    if (!row.modelData.stays)
                        root.dismiss(visualFocus)
                    choice.choose(index)
                }
            }
        }
    }
}
