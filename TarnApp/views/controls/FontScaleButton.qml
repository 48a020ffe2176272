import QtQuick
import Tarn.Controls
import Tarn.Model
import Tarn.Style

/// Opens the size of the subtitles and the language of the interface.
SymbolButton {
    id: root

    required property TranslateViewModel vm
    readonly property alias showPopover: popover.opened
    signal lookWanted()

    symbol: "textformat.size"
    help: Loc.helpFont
    active: showPopover
    onClicked: popover.toggleAt(root)

    Popover {
        id: popover
        title: Loc.displayTitle
        Loader {
            id: panel
            Component.onCompleted: setSource("FontScalePanel.qml", {vm: root.vm})
            Connections {
                target: panel.item
                function onLookWanted(): void {
                    popover.dismiss(false)
                    root.lookWanted()
                }
            }
        }
    }
}
