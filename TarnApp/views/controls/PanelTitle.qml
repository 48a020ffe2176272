import QtQuick
import Tarn.Controls
import Tarn.Style

/// The heading of a popover or of a part of it.
Text {
    textFormat: Text.PlainText
    font.pixelSize: Theme.callout
    font.weight: Font.DemiBold
    color: Theme.primaryText

    Accessible.role: Accessible.Heading
    Accessible.name: text
}
