// Popovers inside the program: which is open, what closes them, and where the keys go.
import QtQuick
import QtTest
import Tarn.Controls
import Tarn.Model
import Tarn.Style

Item {
    id: scene
    width: 500
    height: 200

    property int presses: 0
    property string picked

    Row {
        spacing: 10
        MenuPicker {
            id: many
            name: "Many"
            choices: Array.from({length: 100}, (_, i) => ({value: "v" + i, label: "Entry " + i}))
            value: "v90"
            onPicked: value => scene.picked = value
        }
        PlaybackButton { id: playback; vm: world.vm }
        FontScaleButton { id: font; vm: world.vm }
        PushButton { id: other; text: "Other"; onClicked: ++scene.presses }
    }

    TestCase {
        name: "Popovers"
        when: windowShown

        function init() {
            scene.Window.window.requestActivate()
            other.forceActiveFocus()
            tryVerify(() => other.activeFocus)
            scene.presses = 0
            scene.picked = ""
        }
        function cleanup() {
            for (let i = 0; i < 3 && Popovers.anyOpen; ++i)
                keyClick(Qt.Key_Escape)
            verify(!Popovers.anyOpen)
        }
        function popoverOf(button) {
            for (let i = 0; i < button.data.length; ++i) {
                if (button.data[i].openAt !== undefined)
                    return button.data[i].window
            }
            return null
        }

        function test_own_button_closes() {
            mouseClick(playback)
            verify(playback.showPopover)
            verify(Popovers.anyOpen)
            mouseClick(playback)
            verify(!playback.showPopover)
            mouseClick(playback)
            verify(playback.showPopover)
        }
        function test_press_elsewhere_closes_and_counts() {
            mouseClick(playback)
            mouseClick(other)
            verify(!playback.showPopover)
            compare(scene.presses, 1)
            mouseClick(playback)
            mouseClick(font)
            verify(!playback.showPopover)
            verify(font.showPopover)
            mouseClick(scene, 400, 150)
            verify(!font.showPopover)
        }
        function test_keys_open_a_menu() {
            many.forceActiveFocus(Qt.TabFocusReason)
            keyClick(Qt.Key_Down)
            verify(many.opened)
            tryVerify(() => popoverOf(many).activeFocusItem !== null)
            keyClick(Qt.Key_E)                  // every entry begins so: the next one
            compare(popoverOf(many).activeFocusItem.text, "Entry 91")
            keyClick(Qt.Key_Return)
            compare(scene.picked, "v91")
            tryVerify(() => many.visualFocus)
        }
        function test_goes_with_its_button() {
            mouseClick(playback)
            playback.visible = false
            verify(!Popovers.anyOpen)
            playback.visible = true
        }
        function test_long_menu_scrolls_to_the_chosen() {
            mouseClick(many)
            const popover = popoverOf(many)
            verify(popover.height <= Screen.height)
            tryVerify(() => popover.activeFocusItem !== null)
            const row = popover.activeFocusItem
            compare(row.text, "Entry 90")
            const y = row.mapToItem(null, 0, 0).y
            verify(y >= 0 && y + row.height <= popover.height)
            keyClick(Qt.Key_Home)
            compare(popover.activeFocusItem.text, "Entry 0")
            verify(popover.activeFocusItem.mapToItem(null, 0, 0).y >= 0)
            popover.activeFocusItem.press()
            compare(scene.picked, "v0")
            verify(!many.opened)
        }
    }
}
