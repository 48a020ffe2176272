import QtQuick
import Tarn.Controls
import Tarn.Model
import Tarn.Record
import Tarn.Style

/// Whether records are kept on the disk, how many, and their deletion.
Column {
    id: root

    required property RecordWindowState record
    readonly property RecordKeeping keeping: record.keeping

    width: 320
    spacing: Theme.space(2)

    component Limit: Item {
        id: limit

        required property string label
        required property int value
        required property int step
        required property int most
        signal changed(value: int)

        width: root.width
        implicitHeight: Theme.fieldHeight

        Text {
            anchors.verticalCenter: parent.verticalCenter
            text: limit.label
            textFormat: Text.PlainText
            font.pixelSize: Theme.caption
            color: Theme.primaryText
        }
        Row {
            anchors.right: parent.right
            spacing: Theme.space(1)
            EntryField {
                implicitWidth: 64
                name: limit.label
                text: limit.value
                inputMethodHints: Qt.ImhDigitsOnly
                validator: IntValidator { bottom: 1; top: limit.most }
                onEditingFinished: {
                    limit.changed(Number(text))
                    text = Qt.binding(() => limit.value)
                }
            }
            NumberStepper {
                name: limit.label
                value: limit.value
                minimumValue: 1
                maximumValue: limit.most
                stepSize: limit.step
                onStepped: value => limit.changed(value)
            }
        }
    }
    component Deletion: PushButton {
        id: deletion

        required property string label
        property bool asked: false
        signal sure()

        text: asked ? Loc.recordDeleteSure : label
        prominent: asked
        tint: Theme.danger
        tintInk: Theme.dangerInk
        onClicked: {
            const isSure = asked
            asked = !asked
            if (isSure)
                sure()
        }
        onActiveFocusChanged: if (!activeFocus) asked = false
    }

    PlaybackSwitch {
        objectName: "keepRecords"
        width: parent.width
        label: Loc.recordSettings
        help: Loc.helpKeepRecords
        current: root.keeping.isOn
        onChanged: value => root.keeping.isOn = value
    }
    Text {
        width: parent.width
        text: Loc.helpKeepRecords
        textFormat: Text.PlainText
        wrapMode: Text.Wrap
        font.pixelSize: Theme.caption
        color: Theme.secondaryText
    }
    Limit {
        label: Loc.recordDays
        value: root.keeping.days
        step: 1
        most: 3650
        onChanged: value => root.keeping.days = value
    }
    Limit {
        label: Loc.recordMebibytes
        value: root.keeping.mebibytes
        step: 10
        most: 100000
        onChanged: value => root.keeping.mebibytes = value
    }
    Text {
        width: parent.width
        text: Loc.filled(Loc.recordFolder, root.keeping.folder)
        textFormat: Text.PlainText
        wrapMode: Text.WrapAnywhere
        font.pixelSize: Theme.caption
        color: Theme.secondaryText
    }
    Divider {
        width: parent.width
    }
    Deletion {
        objectName: "deleteRun"
        visible: root.record.run !== ""
        label: Loc.recordDelete
        onSure: root.record.removeRun()
    }
    Deletion {
        objectName: "deleteAll"
        label: Loc.recordDeleteAll
        enabled: root.keeping.records.length > 0
        onSure: {
            root.record.run = ""
            root.keeping.removeAll()
        }
    }
}
