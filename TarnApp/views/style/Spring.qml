import QtQuick
import Tarn.Style

/// The way of a spring without overshoot, for numbers and colours.
PropertyAnimation {
    property real response: 0.3     ///< seconds; how stiff the spring is

    duration: Theme.time(1200 * response)
    easing.type: Easing.BezierSpline
    easing.bezierCurve: [0.25, 0.3, 0.15, 1, 1, 1]
}
