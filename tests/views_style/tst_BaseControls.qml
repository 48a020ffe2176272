// The base controls under the pointer, the keys and what a screen reader calls.
import QtQuick
import QtTest
import Tarn.Style

Item {
    id: scene
    width: 600
    height: 400

    property int presses: 0
    property real number: 1
    property string choice: "b"

    Column {
        spacing: 10
        PushButton { id: push; text: "Push"; onClicked: ++scene.presses }
        SymbolButton { id: symbol; symbol: "plus.circle"; help: "Help"; onClicked: ++scene.presses }
        LinkButton { id: link; text: "Link"; onClicked: ++scene.presses }
        ToggleSwitch { id: toggle; name: "Switch"; onToggled: ++scene.presses }
        ValueSlider { id: slider; name: "Slider"; from: 0.6; to: 3; stepSize: 0.05; current: scene.number
                      onChanged: value => { ++scene.presses; scene.number = value } }
        SegmentedPicker { id: segments; choices: [{value: "a", label: "A"}, {value: "b", label: "Longer"}, {value: "c", label: "C"}]
                          value: scene.choice; onPicked: value => { ++scene.presses; scene.choice = value } }
        NumberStepper { id: stepper; minimumValue: 0; maximumValue: 250; stepSize: 100; value: scene.number
                        onStepped: value => { ++scene.presses; scene.number = value } }
        MenuPicker { id: picker; name: "Picker"; choices: segments.choices; value: scene.choice
                     onPicked: value => { ++scene.presses; scene.choice = value } }
        PushButton { id: narrow; text: "A title that is too long"; width: 80 }
        MenuColumn {
            id: column
            MenuRow { id: row; text: "Wide entry of a menu"; symbol: "mic.fill" }
            MenuRow { text: "Entry"; visible: false }
            MenuRow { id: divider; kind: "divider" }
            MenuRow { id: last; text: "Last" }
        }
    }

    TestCase {
        name: "BaseControls"
        when: windowShown

        function initTestCase() {
            scene.Window.window.requestActivate()
            tryVerify(() => scene.Window.active)
        }
        function init() {
            scene.number = 1
            scene.choice = "b"
            scene.presses = 0
        }
        function test_buttons_are_pressed_in_every_way_data() {
            return [{tag: "push", button: push}, {tag: "symbol", button: symbol}, {tag: "link", button: link},
                    {tag: "switch", button: toggle}]
        }
        function test_buttons_are_pressed_in_every_way(row) {
            const button = row.button
            narrow.forceActiveFocus()
            button.forceActiveFocus(Qt.TabFocusReason)
            verify(button.visualFocus)
            mouseClick(button)
            compare(scene.presses, 1)
            keyClick(Qt.Key_Space)
            keyClick(Qt.Key_Return)
            keyClick(Qt.Key_Enter)
            compare(scene.presses, 4)
            button.Accessible.pressAction()
            compare(scene.presses, 5)
            button.enabled = false
            button.Accessible.pressAction()
            mouseClick(button)
            compare(scene.presses, 5)
            button.enabled = true
            verify(button.Accessible.name !== "")
        }
        function test_slider_tells_whole_steps_and_keeps_following() {
            slider.forceActiveFocus()
            keyClick(Qt.Key_End)
            compare(scene.number, 3)
            keyClick(Qt.Key_End)
            compare(scene.presses, 1)
            for (let i = 0; i < 40; ++i)
                keyClick(Qt.Key_Left)
            compare(scene.number, 1)            // exactly
            keyClick(Qt.Key_Home)
            compare(scene.number, 0.6)
            mouseClick(slider, slider.width / 2, slider.height / 2)
            compare(scene.number, 1.8)
            scene.number = 2.25
            compare(slider.value, 2.25)
            scene.presses = 0
            scene.number = 70                   // a stored value out of the range is shown, and left alone
            compare(slider.value, 3)
            compare(scene.presses, 0)
            slider.value = 2                    // as a screen reader does
            compare(scene.number, 2)
        }
        function test_segments_follow_keys_and_stop_at_the_ends() {
            segments.forceActiveFocus()
            keyClick(Qt.Key_Right)
            keyClick(Qt.Key_Right)
            compare(scene.choice, "c")
            keyClick(Qt.Key_Home)
            compare(scene.choice, "a")
            keyClick(Qt.Key_Left)
            keyClick(Qt.Key_End)
            compare(scene.choice, "c")
            compare(scene.presses, 3)
            segments.width = 200
            mouseClick(segments, 10, 10)
            compare(scene.choice, "a")
            waitForRendering(segments)
            mouseClick(segments, 190, 10)       // the labels share the width
            compare(scene.choice, "c")
        }
        function test_stepper_stays_in_its_range() {
            scene.number = 200
            stepper.forceActiveFocus()
            keyClick(Qt.Key_Up)
            compare(scene.number, 250)
            keyClick(Qt.Key_Up)
            compare(scene.presses, 1)
            keyClick(Qt.Key_PageDown)
            compare(scene.number, 0)
            mouseClick(stepper, 10, 4)
            compare(scene.number, 100)
            mouseClick(stepper, 10, stepper.height - 4)
            mouseClick(stepper, 10, stepper.height - 4)
            compare(scene.number, 0)
        }
        function test_picker_shows_the_chosen_and_what_is_not_listed() {
            compare(picker.text, "Longer")
            scene.choice = "tlh"
            compare(picker.text, "tlh")
            compare(picker.Accessible.name, "Picker: tlh")
        }
        function test_a_title_without_room_is_cut() {
            verify(narrow.implicitWidth > 80)
            verify(narrow.contentItem.children[2].truncated)
        }
        function test_menu_rows_are_as_wide_as_the_widest() {
            compare(last.width, column.implicitWidth)
            compare(row.width, column.implicitWidth)
            compare(column.implicitHeight, 28 + 9 + 28)
            compare(last.y, 28 + 9)
        }
    }
}
