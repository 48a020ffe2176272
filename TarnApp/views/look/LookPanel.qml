import QtQuick
import Tarn.Controls
import Tarn.Look
import Tarn.Model
import Tarn.Style

/// All choices of the look, and the preview above them.
Column {
    id: root

    readonly property color behind: Look.backgroundOpacity < Look.leastBackground ? "black" : Theme.panelOpaque
    readonly property real contrast: Math.min(
        LookContrast.of(Look.translationColor, behind),
        LookContrast.of(Look.original === "hidden" ? "" : Look.originalColor, behind))

    component Slide: Row {
        id: slide

        required property string name
        required property string shown
        required property int from
        required property int to
        required property int step
        required property int current
        signal changed(value: int)

        spacing: Theme.space(2)
        ValueSlider {
            implicitWidth: 180
            name: slide.name
            valueText: slide.shown
            from: slide.from
            to: slide.to
            stepSize: slide.step
            current: slide.current
            onChanged: value => slide.changed(Math.round(value))
        }
        Text {
            anchors.verticalCenter: parent.verticalCenter
            text: slide.shown
            textFormat: Text.PlainText
            font.pixelSize: Theme.caption
            color: Theme.secondaryText
        }
    }

    spacing: Theme.space(2.5)
    leftPadding: Theme.space(3)
    rightPadding: Theme.space(3)
    topPadding: Theme.space(3)
    bottomPadding: Theme.space(3)

    readonly property real room: width - leftPadding - rightPadding

    LookPreview {
        objectName: "preview"
        width: root.room
    }
    Text {
        objectName: "contrast"
        width: root.room
        visible: !LookContrast.isEnough(root.contrast)
        text: Loc.filled(Loc.lookContrast, root.contrast.toFixed(1))
        textFormat: Text.PlainText
        wrapMode: Text.Wrap
        font.pixelSize: Theme.caption
        color: Theme.orange
        Accessible.role: Accessible.AlertMessage
        Accessible.name: text
    }
    LookRow {
        width: root.room
        label: Loc.lookFont
        MenuPicker {
            objectName: "font"
            width: Math.min(implicitWidth, parent.width)
            implicitHeight: Theme.fieldHeight
            name: Loc.lookFont
            choices: [{value: "", label: Loc.lookUsual}].concat(
                         Look.families.map(family => ({value: family, label: family})))
            value: Look.fontFamily
            onPicked: value => Look.fontFamily = value
        }
    }
    LookRow {
        width: root.room
        label: Loc.lookWeight
        SegmentedPicker {
            objectName: "weight"
            name: Loc.lookWeight
            choices: [{value: 0, label: Loc.lookUsual}, {value: Font.Light, label: Loc.lookLight},
                      {value: Font.Normal, label: Loc.lookRegular}, {value: Font.Medium, label: Loc.lookMedium},
                      {value: Font.Bold, label: Loc.lookBold}]
            value: Look.weight
            onPicked: value => Look.weight = value
        }
    }
    LookRow {
        width: root.room
        label: Loc.lookTranslationColor
        ColorChoice {
            name: Loc.lookTranslationColor
            current: Look.translationColor
            onPicked: value => Look.translationColor = value
        }
    }
    LookRow {
        width: root.room
        label: Loc.lookOriginalColor
        ColorChoice {
            name: Loc.lookOriginalColor
            current: Look.originalColor
            onPicked: value => Look.originalColor = value
        }
    }
    LookRow {
        width: root.room
        label: Loc.lookOutline
        Slide {
            name: Loc.lookOutline
            shown: Look.outlineWidth
            from: 0
            to: 4
            step: 1
            current: Look.outlineWidth
            onChanged: value => Look.outlineWidth = value
        }
    }
    LookRow {
        width: root.room
        label: Loc.lookBackground
        Slide {
            name: Loc.lookBackground
            shown: Look.backgroundOpacity + " %"
            from: 0
            to: 100
            step: 5
            current: Look.backgroundOpacity
            onChanged: value => Look.backgroundOpacity = value
        }
    }
    LookRow {
        width: root.room
        label: Loc.lookAlignment
        SegmentedPicker {
            objectName: "alignment"
            name: Loc.lookAlignment
            choices: [{value: "start", label: Loc.lookStart}, {value: "center", label: Loc.lookCenter},
                      {value: "end", label: Loc.lookEnd}]
            value: Look.alignment
            onPicked: value => Look.alignment = value
        }
    }
    LookRow {
        width: root.room
        label: Loc.lookOriginal
        SegmentedPicker {
            objectName: "original"
            name: Loc.lookOriginal
            choices: [{value: "above", label: Loc.lookAbove}, {value: "below", label: Loc.lookBelow},
                      {value: "hidden", label: Loc.lookHidden}]
            value: Look.original
            onPicked: value => Look.original = value
        }
    }
    Divider {
        width: root.room
    }
    PlaybackSwitch {
        objectName: "readingMode"
        width: root.room
        label: Loc.readingMode
        help: Loc.helpReadingMode
        current: Look.readingMode
        onChanged: value => Look.readingMode = value
    }
    Text {
        width: root.room
        text: Loc.helpReadingMode
        textFormat: Text.PlainText
        wrapMode: Text.Wrap
        font.pixelSize: Theme.caption
        color: Theme.secondaryText
    }
    LookRow {
        width: root.room
        label: Loc.readingKept
        enabled: Look.readingMode
        SegmentedPicker {
            objectName: "kept"
            name: Loc.readingKept
            choices: [1, 2, 3, 4, 5].map(count => ({value: count, label: String(count)}))
            value: Look.keptUtterances
            onPicked: value => Look.keptUtterances = value
        }
    }
    PushButton {
        objectName: "reset"
        text: Loc.lookReset
        enabled: Look.isChanged
        onClicked: Look.reset()
    }
}
