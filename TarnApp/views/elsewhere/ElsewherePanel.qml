import QtQuick
import Tarn.Controls
import Tarn.Elsewhere
import Tarn.Model
import Tarn.Style

/// Three ways out of the window, and what does not work of them.
Column {
    id: root

    required property SubtitlesElsewhere elsewhere
    readonly property real room: width - leftPadding - rightPadding

    component Note: Text {
        width: root.room
        textFormat: Text.PlainText
        wrapMode: Text.Wrap
        font.pixelSize: Theme.caption
        color: Theme.secondaryText
        Accessible.role: Accessible.StaticText
        Accessible.name: text
    }
    component Address: CopyField {
        width: root.room
        copyLabel: Loc.copy
        copiedLabel: Loc.copied
    }

    spacing: Theme.space(2)
    leftPadding: Theme.space(3)
    rightPadding: Theme.space(3)
    topPadding: Theme.space(3)
    bottomPadding: Theme.space(3)

    PlaybackSwitch {
        objectName: "page"
        width: root.room
        label: Loc.elsewherePage
        help: Loc.helpElsewherePage
        current: root.elsewhere.page
        onChanged: value => root.elsewhere.page = value
    }
    Note {
        text: Loc.helpElsewherePage
    }
    Address {
        objectName: "pageAddress"
        visible: root.elsewhere.pageAddress !== ""
        name: Loc.elsewherePage
        text: root.elsewhere.pageAddress
    }
    Note {
        visible: root.elsewhere.hasOtherPort
        color: Theme.orange
        text: Loc.elsewherePort
    }
    LinkButton {
        objectName: "newKey"
        visible: root.elsewhere.page
        text: Loc.elsewhereNewKey
        onClicked: root.elsewhere.renewKey()
    }
    Divider {
        width: root.room
    }
    PlaybackSwitch {
        objectName: "bus"
        width: root.room
        label: Loc.elsewhereBus
        help: Loc.helpElsewhereBus
        current: root.elsewhere.bus
        onChanged: value => root.elsewhere.bus = value
    }
    Note {
        text: Loc.helpElsewhereBus
    }
    Address {
        visible: root.elsewhere.bus
        name: Loc.elsewhereBus
        text: root.elsewhere.busName
    }
    Divider {
        width: root.room
    }
    PlaybackSwitch {
        objectName: "file"
        width: root.room
        label: Loc.elsewhereFile
        help: Loc.helpElsewhereFile
        current: root.elsewhere.file
        onChanged: value => root.elsewhere.file = value
    }
    Note {
        text: Loc.helpElsewhereFile
    }
    EntryField {
        objectName: "filePath"
        width: root.room
        name: Loc.elsewhereFile
        text: root.elsewhere.filePath
        onEditingFinished: {
            root.elsewhere.filePath = text
            text = Qt.binding(() => root.elsewhere.filePath)
        }
    }
    Note {
        objectName: "failure"
        visible: root.elsewhere.failure !== ""
        color: Theme.red
        text: Loc.filled(Loc.elsewhereFails, root.elsewhere.failure)
    }
}
