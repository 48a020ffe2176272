import QtQuick
import QtTest
import Tarn.Style

/// What a desktop that asks for high contrast gets.
Item {
    id: scene
    width: 300
    height: 100

    PushButton {
        id: button
        text: "Button"
    }
    Spinner {
        id: spinner
        x: 200
    }
    TestCase {
        name: "HighContrast"
        when: windowShown

        function luminance(colour: color): real {
            const linear = part => part <= 0.04045 ? part / 12.92 : Math.pow((part + 0.055) / 1.055, 2.4)
            return 0.2126 * linear(colour.r) + 0.7152 * linear(colour.g) + 0.0722 * linear(colour.b)
        }
        function contrast(one: color, other: color): real {
            const lights = [luminance(one), luminance(other)].sort((a, b) => b - a)
            return (lights[0] + 0.05) / (lights[1] + 0.05)
        }
        function cleanup() {
            Appearance.highContrast = false
            Appearance.reducedMotion = false
            Appearance.dark = true
        }

        function test_texts_and_edges_data() {
            return [{tag: "dark", dark: true}, {tag: "light", dark: false}]
        }
        function test_texts_and_edges(data) {
            Appearance.dark = data.dark
            Appearance.highContrast = true
            const pairs = [["accentInk", "accent"], ["dangerInk", "danger"], ["segmentInk", "segment"]]
            for (const text of ["primaryText", "secondaryText", "red", "orange", "success", "accent", "focusRing"])
                pairs.push([text, "panel"], [text, "window"], [text, "popover"])
            for (const [text, ground] of pairs)
                verify(contrast(Theme[text], Theme[ground]) >= 7, `${text} on ${ground}`)
            for (const ground of ["panel", "window", "popover", "hairline", "divider"])
                compare(Theme[ground].a, 1, ground)
            for (const light of ["Green", "Yellow", "Orange", "Red", "Grey"])
                verify(contrast(Theme["light" + light], Theme.panel) >= 3, light)
            compare(Theme.dimmed, 1)
            compare(button.background.border.width, 1)
            button.forceActiveFocus(Qt.TabFocusReason)
            compare(button.background.children[0].border.width, 3)
        }
        function test_a_spinner_rests_where_motion_is_unwanted() {
            const opacities = () => Array.from(spinner.children).map(dot => dot.opacity).join()
            const before = opacities()
            tryVerify(() => opacities() !== before)
            Appearance.reducedMotion = true
            const rested = opacities()
            wait(3 * Theme.spinnerStep)
            compare(opacities(), rested)
        }
    }
}
