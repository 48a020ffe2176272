pragma Singleton
import QtQuick
import Tarn.Style

/// What every view is drawn with: colours for light and dark desktops, sizes of type, distances, radii, times.
/// Distances and sizes are in points, which are the window system's own unit at every scale; times in milliseconds.
QtObject {
    id: theme

    readonly property bool dark: Appearance.dark
    readonly property bool pure: Appearance.highContrast        ///< nothing is translucent, and text has 7:1

    function chosen(usualDark: color, usualLight: color, pureDark: color, pureLight: color): color {
        return pure ? (dark ? pureDark : pureLight) : dark ? usualDark : usualLight
    }

    // Surfaces. The panel lies over any picture: its opacity leaves 4.5:1 for every colour of text below.
    readonly property color panelOpaque: chosen("#15181f", "#f6f7fb", "#000000", "#ffffff")
    readonly property color panel: seeThrough ? Qt.rgba(panelOpaque.r, panelOpaque.g, panelOpaque.b, dark ? 0.86 : 0.9)
                                               : panelOpaque
    readonly property color window: panelOpaque     ///< of an ordinary window, behind which nothing is blurred
    readonly property bool seeThrough: Appearance.translucent && !pure
    readonly property color popover: chosen("#20242e", "#ffffff", panelOpaque, panelOpaque)
    readonly property color card: pure ? panelOpaque : dark ? Qt.rgba(1, 1, 1, 0.06) : Qt.rgba(0, 0, 0, 0.04)
    readonly property color hairline: pure ? primaryText : dark ? Qt.rgba(1, 1, 1, 0.14) : Qt.rgba(0, 0, 0, 0.14)
    readonly property color divider: pure ? primaryText : dark ? Qt.rgba(1, 1, 1, 0.1) : Qt.rgba(0, 0, 0, 0.1)

    // Text.
    readonly property color primaryText: chosen("#f4f5fa", "#171a21", "#ffffff", "#000000")
    readonly property color secondaryText: chosen("#b9becb", "#4b5160", "#ffffff", "#000000")
    readonly property color red: chosen("#ff8078", "#b3261e", "#ffaaa3", "#8c0000")
    readonly property color orange: chosen("#ffad5c", "#8f4a00", "#ffc285", "#663300")
    readonly property color success: chosen(Brand.success, "#146c43", "#7dffb8", "#005229")

    // Controls.
    // What is written on a colour is its ink. (QML takes a name that begins with "on" for a signal's handler.)
    readonly property color accent: chosen(Brand.primary, "#4a58b8", "#c9d1ff", "#1c2a8c")
    readonly property color accentInk: chosen("#12162b", "#ffffff", "#000000", "#ffffff")
    readonly property color danger: chosen("#ff6b62", "#c4281f", "#ffaaa3", "#8c0000")
    readonly property color dangerInk: chosen("#2b0a08", "#ffffff", "#000000", "#ffffff")
    readonly property color brandInk: "#12162b"     ///< on `Brand.primary`
    readonly property color fill: pure ? "transparent" : dark ? Qt.rgba(1, 1, 1, 0.1) : Qt.rgba(0, 0, 0, 0.07)
    readonly property color fillHovered: dark ? Qt.rgba(1, 1, 1, 0.17) : Qt.rgba(0, 0, 0, 0.11)
    readonly property color fillPressed: dark ? Qt.rgba(1, 1, 1, 0.24) : Qt.rgba(0, 0, 0, 0.17)
    readonly property color focusRing: chosen(accent, accent, "#ffd60a", "#0b3ad6")
    readonly property int focusWidth: pure ? 3 : 2
    readonly property int controlEdge: pure ? 1 : 0     ///< the width of the line around what can be pressed
    readonly property color field: dark ? fill : "#ffffff"              ///< for typing
    readonly property color fieldHovered: dark ? fillHovered : "#ffffff"
    readonly property color segment: chosen("#4a5063", "#ffffff", accent, accent)     ///< the chosen one of a few
    readonly property color segmentInk: pure ? accentInk : primaryText
    readonly property color track: pure ? "#767676" : dark ? Qt.rgba(1, 1, 1, 0.24) : Qt.rgba(0, 0, 0, 0.2)
    readonly property color trackHovered: pure ? "#666666" : dark ? Qt.rgba(1, 1, 1, 0.32) : Qt.rgba(0, 0, 0, 0.28)
    readonly property color knob: "#ffffff"
    readonly property color knobPressed: "#e6e8f0"
    readonly property color knobEdge: pure ? "#000000" : Qt.rgba(0, 0, 0, 0.25)
    readonly property color knobEdgeHovered: pure ? "#000000" : Qt.rgba(0, 0, 0, 0.5)
    readonly property real disabledOpacity: pure ? 0.6 : 0.45
    readonly property real dimmed: pure ? 1 : 0.3          ///< controls that the pointer has left

    // Subtitles without a background, outlined in black.
    readonly property color overPicture: "#ffffff"
    readonly property color overPictureFaint: pure ? overPicture : "#80ffffff"

    // What lies behind Brand's own colours, on either desktop: the dark discs of pictures.
    readonly property color discTop: "#3a4384"
    readonly property color discBottom: "#1e2349"

    // Lights: state dots and level meters. Never text.
    readonly property color lightGreen: chosen("#34c759", "#34c759", "#34c759", "#1a7a35")
    readonly property color lightYellow: chosen("#ffcc00", "#ffcc00", "#ffcc00", "#8a6d00")
    readonly property color lightOrange: chosen("#ff9500", "#ff9500", "#ff9500", "#b35900")
    readonly property color lightRed: chosen("#ff3b30", "#ff3b30", "#ff5c52", "#c4281f")
    readonly property color lightGrey: chosen("#8e8e93", "#8e8e93", "#a8a8ad", "#5e5e62")

    function light(name: string): color {
        switch (name) {
        case "green": return lightGreen
        case "yellow": return lightYellow
        case "orange": return lightOrange
        case "red": return lightRed
        default: return pure ? lightGrey : faded(lightGrey, 0.6)
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
    readonly property int levelTime: time(80)         ///< that a level meter takes to a new level
    readonly property int tipDelay: 600         ///< that the pointer rests before a tooltip is shown
    readonly property int spinnerStep: 100

    /// `color` at an opacity.
    function faded(color: color, opacity: real): color {
        return Qt.rgba(color.r, color.g, color.b, color.a * opacity)
    }
}
