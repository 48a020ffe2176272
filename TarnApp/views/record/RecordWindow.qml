import QtQuick
import Tarn.Model
import Tarn.Record
import Tarn.Style

/// An ordinary window with what was said. It may stand beside the overlay, or behind other windows.
Window {
    id: root

    required property RecordWindowState record

    objectName: "tarn-record"
    title: Loc.recordTitle
    flags: Qt.Window
    width: 760
    height: 600
    minimumWidth: 460
    minimumHeight: 320
    color: Theme.window

    RecordView {
        anchors.fill: parent
        focus: true
        record: root.record
        onCloseWanted: root.close()
    }
}
