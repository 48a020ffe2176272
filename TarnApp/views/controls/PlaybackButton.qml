import QtQuick
import Tarn.Controls
import Tarn.Model
import Tarn.Style

/// Opens the speed and the volume of the translated voice.
SymbolButton {
    id: root

    required property TranslateViewModel vm
    readonly property alias showPopover: popover.opened

    symbol: "gauge.with.dots.needle.50percent"
    help: Loc.helpPlayback
    active: showPopover
    onClicked: popover.toggleAt(root)

    Popover {
        id: popover
        title: Loc.playback
        Loader {
            Component.onCompleted: setSource("PlaybackPanel.qml", {vm: root.vm})
        }
    }
}
