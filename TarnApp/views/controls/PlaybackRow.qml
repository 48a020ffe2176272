import QtQuick
import Tarn.Controls
import Tarn.Style

/// A symbol, a name, a slider and its value.
Row {
    id: root

    required property string symbol
    required property string label
    required property string valueText
    property color valueColor: Theme.secondaryText
    property alias from: slider.from
    property alias to: slider.to
    property alias stepSize: slider.stepSize
    property alias current: slider.current
    signal changed(value: real)

    spacing: Theme.space(2)

    Symbol {
        anchors.verticalCenter: parent.verticalCenter
        name: root.symbol
        size: Theme.title3
        color: Theme.secondaryText
    }
    Text {
        anchors.verticalCenter: parent.verticalCenter
        width: 48
        text: root.label
        textFormat: Text.PlainText
        fontSizeMode: Text.HorizontalFit
        minimumPixelSize: 9
        font.pixelSize: Theme.caption
        color: Theme.primaryText
    }
    ValueSlider {
        id: slider
        anchors.verticalCenter: parent.verticalCenter
        implicitWidth: 130
        name: root.label
        valueText: root.valueText
        onChanged: value => root.changed(value)
    }
    ValueReadout {
        anchors.verticalCenter: parent.verticalCenter
        text: root.valueText
        color: root.valueColor
    }
}
