import QtQuick
import Tarn.Controls
import Tarn.Model
import Tarn.Style

/// As what, and which texts, the record is to be saved.
Column {
    id: root

    property string format: "txt"
    property string texts: "both"
    signal wanted(format: string, texts: string)

    spacing: Theme.space(2)

    PanelTitle {
        text: Loc.recordFormat
    }
    SegmentedPicker {
        objectName: "format"
        name: Loc.recordFormat
        choices: [{value: "txt", label: "TXT"}, {value: "md", label: "Markdown"}, {value: "srt", label: "SRT"},
                  {value: "vtt", label: "WebVTT"}, {value: "csv", label: "CSV"}, {value: "json", label: "JSON"}]
        value: root.format
        onPicked: value => root.format = value
    }
    PanelTitle {
        text: Loc.recordTexts
    }
    SegmentedPicker {
        objectName: "texts"
        name: Loc.recordTexts
        choices: [{value: "original", label: Loc.recordOriginal}, {value: "translation", label: Loc.recordTranslation},
                  {value: "both", label: Loc.recordBoth}]
        value: root.texts
        onPicked: value => root.texts = value
    }
    PushButton {
        objectName: "saveNow"
        anchors.right: parent.right
        prominent: true
        text: Loc.recordSave
        onClicked: root.wanted(root.format, root.texts)
    }
}
