import QtQuick
import Tarn.Style

/// A hairline: as long as the longer side that its place gives it.
Rectangle {
    property bool vertical: false

    implicitWidth: 1
    implicitHeight: 1
    color: Theme.divider
}
