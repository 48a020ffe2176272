import QtQuick
import QtQuick.Layouts
import Tarn.Model
import Tarn.Record
import Tarn.Style

/// How much there is, what is chosen of it, and what came of saving it; or where to type the path of the file.
ColumnLayout {
    id: root

    required property RecordWindowState record
    readonly property RecordRows rows: record.rows
    readonly property RecordSaving saving: record.saving

    spacing: Theme.space(2)

    RowLayout {
        visible: root.saving.askedPath !== ""
        spacing: Theme.space(2)
        EntryField {
            id: path
            objectName: "path"
            Layout.fillWidth: true
            implicitHeight: Theme.controlHeight
            name: Loc.recordSaveAs
            text: root.saving.askedPath
            onAccepted: root.saving.saveTo(text)
            onVisibleChanged: {
                if (visible)
                    forceActiveFocus(Qt.OtherFocusReason)
            }
        }
        PushButton {
            objectName: "saveHere"
            prominent: true
            text: Loc.recordSaveAs
            onClicked: root.saving.saveTo(path.text)
        }
        PushButton {
            text: Loc.cancel
            onClicked: root.saving.cancel()
        }
    }
    RowLayout {
        spacing: Theme.space(2)
        Text {
            objectName: "count"
            text: root.rows.isFiltered
                  ? Loc.filled(Loc.recordCountOf, root.rows.count).replace("%2", root.rows.total)
                  : Loc.filled(Loc.recordCount, root.rows.count)
            textFormat: Text.PlainText
            font.pixelSize: Theme.caption
            color: Theme.secondaryText
            Accessible.role: Accessible.StaticText
            Accessible.name: text
        }
        Text {
            visible: root.record.selection.count > 0
            text: Loc.filled(Loc.recordSelected, root.record.selection.count)
            textFormat: Text.PlainText
            font.pixelSize: Theme.caption
            color: Theme.secondaryText
        }
        Text {
            objectName: "notice"
            Layout.fillWidth: true
            text: root.saving.notice
            textFormat: Text.PlainText
            elide: Text.ElideMiddle
            horizontalAlignment: Text.AlignRight
            font.pixelSize: Theme.caption
            color: root.saving.isFailure ? Theme.red : Theme.secondaryText
            Accessible.role: Accessible.AlertMessage
            Accessible.name: text
        }
        LinkButton {
            objectName: "copy"
            text: Loc.copy
            enabled: root.rows.count > 0
            onClicked: root.record.copy()
        }
    }
}
