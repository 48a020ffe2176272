import QtQuick
import Tarn.Controls
import Tarn.Style

/// A slider's value, which stays in its place while its digits change.
Text {
    width: 40
    horizontalAlignment: Text.AlignRight
    textFormat: Text.PlainText
    fontSizeMode: Text.HorizontalFit
    minimumPixelSize: 9
    font.pixelSize: Theme.caption
    color: Theme.secondaryText
}
