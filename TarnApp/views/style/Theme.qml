pragma Singleton
import QtQuick
import Tarn.Style

/// What every view is drawn with: colours for light and dark desktops, sizes of type, distances, radii, times.
/// Distances and sizes are in points, which are the window system's own unit at every scale; times in milliseconds.
QtObject {
    id: theme

    readonly property bool dark: Appearance.dark

    // Surfaces. The panel lies over any picture: its opacity leaves 4.5:1 for every colour of text below.
    readonly property color panelOpaque: dark ? "#15181f" : "#f6f7fb"
    readonly property color panel: Appearance.translucent ? Qt.rgba(panelOpaque.r, panelOpaque.g, panelOpaque.b, dark ? 0.86 : 0.9)
                                                          : panelOpaque
    readonly property color window: Appearance.translucent ? Qt.rgba(panelOpaque.r, panelOpaque.g, panelOpaque.b, 0.96)
                                                           : panelOpaque
    readonly property color popover: dark ? "#20242e" : "#ffffff"
    readonly property color card: dark ? Qt.rgba(1, 1, 1, 0.06) : Qt.rgba(0, 0, 0, 0.04)
    readonly property color hairline: dark ? Qt.rgba(1, 1, 1, 0.14) : Qt.rgba(0, 0, 0, 0.14)
    readonly property color divider: dark ? Qt.rgba(1, 1, 1, 0.1) : Qt.rgba(0, 0, 0, 0.1)

    // Text.
    readonly property color primaryText: dark ? "#f4f5fa" : "#171a21"
    readonly property color secondaryText: dark ? "#b9becb" : "#4b5160"
    readonly property color red: dark ? "#ff8078" : "#b3261e"
    readonly property color orange: dark ? "#ffad5c" : "#8f4a00"
    readonly property color success: dark ? Brand.success : "#146c43"

    // Controls.
    // What is written on a colour is its ink. (QML takes a name that begins with "on" for a signal's handler.)
    readonly property color accent: dark ? Brand.primary : "#4a58b8"
    readonly property color accentInk: dark ? "#12162b" : "#ffffff"
    readonly property color danger: dark ? "#ff6b62" : "#c4281f"
    readonly property color dangerInk: dark ? "#2b0a08" : "#ffffff"
    readonly property color brandInk: "#12162b"     ///< on `Brand.primary`
    readonly property color fill: dark ? Qt.rgba(1, 1, 1, 0.1) : Qt.rgba(0, 0, 0, 0.07)
    readonly property color fillHovered: dark ? Qt.rgba(1, 1, 1, 0.17) : Qt.rgba(0, 0, 0, 0.11)
    readonly property color fillPressed: dark ? Qt.rgba(1, 1, 1, 0.24) : Qt.rgba(0, 0, 0, 0.17)
    readonly property color focusRing: accent
    readonly property color field: dark ? fill : "#ffffff"              ///< for typing
    readonly property color fieldHovered: dark ? fillHovered : "#ffffff"
    readonly property color segment: dark ? "#4a5063" : "#ffffff"       ///< the chosen one of a few
    readonly property color track: dark ? Qt.rgba(1, 1, 1, 0.24) : Qt.rgba(0, 0, 0, 0.2)
    readonly property color trackHovered: dark ? Qt.rgba(1, 1, 1, 0.32) : Qt.rgba(0, 0, 0, 0.28)
    readonly property color knob: "#ffffff"
    readonly property color knobPressed: "#e6e8f0"
    readonly property color knobEdge: Qt.rgba(0, 0, 0, 0.25)
    readonly property color knobEdgeHovered: Qt.rgba(0, 0, 0, 0.5)
    readonly property real disabledOpacity: 0.45
    readonly property real dimmed: 0.3          ///< controls that the pointer has left

    // Subtitles without a background, outlined in black.
    readonly property color overPicture: "#ffffff"
    readonly property color overPictureFaint: "#80ffffff"

    // What lies behind Brand's own colours, on either desktop: the dark discs of pictures.
    readonly property color discTop: "#3a4384"
    readonly property color discBottom: "#1e2349"

    // Lights: state dots and level meters. Never text.
    readonly property color lightGreen: "#34c759"
    readonly property color lightYellow: "#ffcc00"
    readonly property color lightOrange: "#ff9500"
    readonly property color lightRed: "#ff3b30"
    readonly property color lightGrey: "#8e8e93"

    function light(name: string): color {
        switch (name) {
        case "green": return lightGreen
        case "yellow": return lightYellow
        case "orange": return lightOrange
        case "red": return lightRed
        default: return faded(lightGrey, 0.6)
        }
    }
    function tone(name: string): color {
        switch (name) {
        case "primary": return primaryText
        case "orange": return orange
        case "red": return red
        default: return secondaryText
        }
    }

    // Type.
    readonly property int caption2: 11
    readonly property int caption: 12
    readonly property int callout: 13
    readonly property int body: 14
    readonly property int title3: 17
    readonly property int heading: 24
    readonly property int title: 27
    readonly property int symbol: 18            ///< of a button that is only a symbol

    // Distances: a grid of four points.
    readonly property int grid: 4
    function space(steps: real): real {
        return grid * steps
    }

    readonly property int promptSymbol: 40      ///< over a question
    readonly property int controlHeight: 28
    readonly property int fieldHeight: 24
    readonly property int tipWidth: 320         ///< at most, of a tooltip's text
    readonly property int menuTextWidth: 320    ///< at most, of an entry's text

    // Radii.
    readonly property int radiusSmall: 5
    readonly property int radiusControl: 6
    readonly property int radiusChip: 7
    readonly property int radiusMenuRow: 8
    readonly property int radiusPanel: 12

    // Times; none where the desktop asks for less motion.
    function time(milliseconds: int): int {
        return Appearance.reducedMotion ? 0 : milliseconds
    }
    readonly property int quick: time(120)
    readonly property int pageSlide: time(280)
    readonly property int fade: time(250)
    readonly property int spring: time(360)     ///< a spring of 0.3 s without overshoot, with `springCurve`
    readonly property var springCurve: [0.25, 0.3, 0.15, 1, 1, 1]
    readonly property int levelTime: time(80)         ///< that a level meter takes to a new level
    readonly property int tipDelay: 600         ///< that the pointer rests before a tooltip is shown
    readonly property int spinnerStep: 100

    /// `color` at an opacity.
    function faded(color: color, opacity: real): color {
        return Qt.rgba(color.r, color.g, color.b, color.a * opacity)
    }
}
