import QtQuick
import Tarn.Controls
import Tarn.Model
import Tarn.Overlay
import Tarn.Style

/// One session: its row, its settings while they are shown, its subtitles.
Item {
    id: root

    required property TranslateViewModel vm
    required property TranslateSession session
    required property bool isPrimary
    required property bool narrow
    required property real headerOpacity
    property bool bare: false           ///< there is no background behind
    property bool faint: false          ///< there is too little of it for text without an outline
    readonly property var faults: session.health.map(
        (fault, i) => Loc.filled(Loc[fault], session.healthValues[i] || ""))
    readonly property string worstFault: session.health[0] || ""
    property string spokenFault     ///< with the number that it began with: it may change every second

    function speakFault(): void {
        spokenFault = worstFault === "" ? "" : Loc.filled(Loc[worstFault], session.healthValues[0] || "")
    }

    onWorstFaultChanged: speakFault()
    Connections {
        target: Loc
        function onLanguageChanged(): void { root.speakFault() }
    }

    clip: true

    Item {
        id: header
        objectName: "header"
        width: parent.width
        height: row.implicitHeight + 2 * Theme.space(1) + settings.height
        opacity: root.headerOpacity
        Behavior on opacity { NumberAnimation { duration: Theme.fade; easing.type: Easing.InOutQuad } }

        Plate {
            objectName: "plate"
            anchors.fill: parent
            anchors.margins: Theme.space(1) / 2
            radius: Theme.radiusPanel - anchors.margins
            color: Theme.panel
            border.width: Theme.controlEdge
            border.color: Theme.hairline
            // Controls that the pointer has left are dimmed, and are no longer to be read.
            opacity: root.headerOpacity === 1 ? 1 : 0
            visible: root.bare && opacity > 0
            Behavior on opacity { NumberAnimation { duration: Theme.fade; easing.type: Easing.InOutQuad } }
        }
        SessionRow {
            id: row
            x: Theme.space(3)
            y: Theme.space(1)
            width: remove.x - x - (remove.visible ? Theme.space(1) : 0)
            vm: root.vm
            session: root.session
            faults: root.faults
        }
        SymbolButton {
            id: remove
            objectName: "remove"
            x: root.width - Theme.space(2) - (visible ? width : Theme.space(1))
            y: row.y + (28 - height) / 2
            visible: !root.isPrimary
            symbol: "xmark.circle.fill"
            ink: Theme.secondaryText
            help: Loc.removeSource
            onClicked: root.vm.removeSession(root.session)
        }
        Item {
            id: settings
            objectName: "chips"

            readonly property bool shown: root.vm.tier2Expanded
            property real part: shown ? 1 : 0       ///< of it that has come in

            y: row.y + row.implicitHeight + Theme.space(1)
            width: parent.width
            height: chips.item ? part * (chips.item.implicitHeight + 2 * Theme.space(1.5)) : 0
            opacity: part
            clip: part < 1
            Behavior on part { Spring { response: 0.25 } }

            Divider {
                width: parent.width
            }
            Loader {
                id: chips
                active: settings.part > 0
                x: Theme.space(3)
                y: settings.height - (item ? item.implicitHeight : 0) - Theme.space(1)
                width: parent.width - 2 * x
                Component.onCompleted: setSource("qrc:/qt/qml/Tarn/Controls/SettingsChipRow.qml",
                                                 {session: root.session, vm: root.vm})
            }
        }
    }
    NoticePlaces {
        id: places
        beside: Qt.rect(row.x + row.end + Theme.space(1.5), row.y, row.width - row.end - Theme.space(1.5), row.height)
        below: Qt.rect(row.x, header.height, root.width - 2 * row.x, 0)
        errorSize: Qt.size(error.message !== "" ? error.implicitWidth : 0, error.implicitHeight)
        healthSize: Qt.size(health.message !== "" ? health.implicitWidth : 0, health.implicitHeight)
    }
    ErrorChip {
        id: error
        objectName: "error"
        x: places.error.x
        y: places.error.y
        width: places.error.width
        visible: message !== ""
        opacity: root.bare ? 1 : header.opacity
        message: root.session.errorMessage
    }
    // Not dimmed with the header.
    ErrorChip {
        id: health
        objectName: "health"
        x: places.health.x
        y: places.health.y
        width: places.health.width
        visible: message !== ""
        message: root.faults[0] || ""
        details: root.faults.join("\n")
        spoken: root.spokenFault
        ink: Theme.orange
    }
    SubtitlePane {
        objectName: "pane"
        anchors { left: parent.left; right: parent.right; top: header.bottom; bottom: parent.bottom }
        anchors.topMargin: places.heightBelow
        vm: root.vm
        session: root.session
        narrow: root.narrow
        bare: root.vm.miniMode || root.faint
    }
}
