// The controls over a real view model: what each shows, what it changes, and when a running session takes it up.
import QtQuick
import QtTest
import Tarn.Controls
import Tarn.Model
import Tarn.Style

Item {
    id: scene
    width: 900
    height: 700

    QtObject {
        id: coordinator
        property bool manuallyReopened: false
    }
    Loader {
        id: loader
        active: false
        sourceComponent: Column {
            property alias chips: chips
            property alias playback: playback
            property alias font: font
            property alias account: account
            property alias accountPanel: accountPanel
            property alias modal: modal
            SettingsChipRow { id: chips; width: 800; session: world.session(0); vm: world.vm }
            PlaybackPanel { id: playback; vm: world.vm }
            FontScalePanel { id: font; vm: world.vm }
            AccountButton { id: account; vm: world.vm; onboarding: coordinator }
            AccountPanel { id: accountPanel; vm: world.vm; onboarding: coordinator }
            ScreenRecJITModal { id: modal; vm: world.vm }
        }
    }
    StatusDot { id: dot; state: "idle" }
    ErrorChip { id: chip; y: 20; message: "" }
    LangPicker { id: some; y: 80; label: "Source"; selection: "en"; offered: ["en", "es"] }
    LangPicker { id: language; y: 40; label: "Source"; selection: ""; includeAuto: true; onPicked: code => selection = code }
    LevelMeter { id: meter; y: 80; level: 0 }
    ValueReadout { id: readout; y: 120; text: "1.11×" }
    TextInput { id: paste }

    /// The first item below `item` that `matches`.
    function find(item, matches) {
        if (matches(item))
            return item
        for (let i = 0; i < item.children.length; ++i) {
            const found = find(item.children[i], matches)
            if (found)
                return found
        }
        return null
    }
    function textOf(item, text) {
        return find(item, one => one.visible && one.text === text)
    }

    TestCase {
        id: test
        name: "Controls"
        when: windowShown

        property alias shown: loader.item

        function show(signedIn) {
            cleanup()
            world.renew(signedIn)
            loader.active = true
            coordinator.manuallyReopened = false
            scene.Window.window.requestActivate()
            tryVerify(() => scene.Window.active)
        }
        function cleanup() {
            loader.active = false
            wait(0)     // until it is gone
        }
        function init() { show(true) }
        /// Whether the first session, which runs, has opened a new stream since the last call.
        function reconnected() {
            world.pass(400)
            return world.takeTrail().some(line => line.startsWith("open "))
        }
        function start() {
            world.vm.startAll()
            world.settle()
            compare(world.session(0).state, "running")
            world.takeTrail()
        }
        function named(item, name) {
            return find(item, one => one.name === name && one.visible)
        }

        function test_digitsStayInTheirPlace() {
            const places = () => Array.from(readout.children[0].children).filter(one => one.text).map(one => one.x)
            const before = places()
            compare(before.length, 5)
            readout.text = "8.40×"
            compare(places(), before)
        }
        function test_chips_change_settings_and_reconnect() {
            start()
            const session = world.session(0)
            const clone = named(shown.chips, Loc.chipClone)
            clone.picked("once")
            compare(session.voiceClone, "once")
            verify(reconnected())
            clone.picked("once")
            verify(!reconnected())

            const voice = named(shown.chips, Loc.chipVoice)
            voice.forceActiveFocus()
            for (const key of [Qt.Key_A, Qt.Key_B])
                keyClick(key)
            compare(session.voice, "ab")
            verify(!reconnected())
            keyClick(Qt.Key_Return)
            verify(reconnected())
            session.voice = "Cherry"
            compare(voice.text, "Cherry")

            const echo = named(shown.chips, Loc.chipAEC)
            mouseClick(echo)
            compare(session.voiceProcessing, false)
            verify(!reconnected())
            session.captureSource = "mic"
            mouseClick(echo)
            compare(session.voiceProcessing, true)
            verify(reconnected())
        }
        function test_silence_is_typed_or_stepped() {
            start()
            const session = world.session(0)
            const field = named(shown.chips, "VAD (ms)")
            verify(field.acceptableInput !== undefined)
            session.silenceMs = 9950
            compare(field.text, "9950")
            field.forceActiveFocus()
            keyClick(Qt.Key_Up)
            compare(session.silenceMs, 10000)
            keyClick(Qt.Key_Down)
            compare(session.silenceMs, 9900)
            verify(!reconnected())
            field.selectAll()
            keyClick(Qt.Key_7)
            keyClick(Qt.Key_X)
            keyClick(Qt.Key_0)
            compare(session.silenceMs, 70)
            keyClick(Qt.Key_Return)
            verify(reconnected())
            field.selectAll()
            keyClick(Qt.Key_Backspace)
            compare(session.silenceMs, 70)
            keyClick(Qt.Key_Tab)
            compare(field.text, "70")           // nothing typed is no number
            session.silenceMs = 20000
            compare(field.text, "20000")        // as it is stored
        }
        function test_chips_wrap() {
            const high = shown.chips.implicitHeight
            shown.chips.width = 200
            tryVerify(() => shown.chips.implicitHeight > 2 * high)
        }
        function test_playback_reads_and_writes() {
            const speed = named(shown.playback, Loc.playbackSpeed)
            const volume = named(shown.playback, Loc.playbackVolume)
            verify(textOf(shown.playback, "1.0×"))
            speed.forceActiveFocus()
            keyClick(Qt.Key_Home)
            keyClick(Qt.Key_Right)
            compare(world.vm.rate, 0.55)
            verify(textOf(shown.playback, "0.6×"))
            volume.forceActiveFocus()
            for (const [gain, text, tone] of [[1, "100%", "secondary"], [1.5, "150%", "primary"], [2.1, "210%", "orange"], [10, "1000%", "red"]]) {
                world.vm.outputGain = gain
                const readout = textOf(shown.playback, text)
                verify(readout, text)
                compare(readout.color, Theme.tone(tone))
                verify(readout.children[0].width < 40.01)
            }
            compare(volume.value, 10)
            const keepUp = named(shown.playback, Loc.keepUp)
            for (const on of [false, true]) {
                mouseClick(keepUp)
                compare(world.vm.keepsUp, on)
            }
            world.vm.keepsUp = false
            verify(!keepUp.checked)
        }
        function test_voices_have_places_in_conversations() {
            verify(!named(shown.playback, Loc.placeDubs))
            world.vm.mode = "conversation"
            const places = named(shown.playback, Loc.placeDubs)
            verify(!places.checked)
            waitForRendering(places)
            mouseClick(places)
            verify(world.vm.placesDubs)
        }
        function test_others_are_turned_down_by_choice() {
            const others = named(shown.playback, Loc.turnOthersDown)
            const marked = () => find(others, one => one.marked === true).text
            compare(marked(), "−12 dB")
            waitForRendering(others)
            mouseClick(textOf(others, "−6 dB"))
            compare(world.vm.othersTurnedDown, -6)
            others.forceActiveFocus()
            keyClick(Qt.Key_Home)
            compare(world.vm.othersTurnedDown, 0)
            compare(marked(), "Off")
            keyClick(Qt.Key_End)
            compare(marked(), "−20 dB")
        }
        function test_subtitle_size_is_reset() {
            const reset = textOf(shown.font, Loc.resetToDefault)
            verify(!reset.enabled)
            const slider = named(shown.font, Loc.subtitleSize)
            slider.forceActiveFocus()
            keyClick(Qt.Key_Right)
            compare(world.vm.subtitleScale, 1.05)
            verify(textOf(shown.font, "1.05×"))
            verify(reset.enabled)
            mouseClick(reset)
            compare(world.vm.subtitleScale, 1)
            compare(slider.value, 1)
            verify(!reset.enabled)
        }
        function test_language_is_chosen_at_once() {
            const picker = named(shown.font, "Interface language")
            mouseClick(textOf(picker, "简体中文"))
            compare(world.setting("app.language"), "zhHans")
            verify(textOf(shown.font, "字幕字号"))
            verify(textOf(shown.chips, "克隆"))
            compare(dot.lines, ["未启动"])
            waitForRendering(picker)
            mouseClick(textOf(picker, "跟随系统"))
            compare(world.setting("app.language"), "system")
        }
        function test_account_signed_out() {
            show(false)
            const button = textOf(shown.account, Loc.signIn)
            mouseClick(button)
            compare(world.openedUrls().length, 1)
            verify(textOf(shown.accountPanel, Loc.notSignedIn))
            mouseClick(textOf(shown.accountPanel, Loc.signIn))
            compare(world.openedUrls().length, 2)
            verify(!textOf(shown.accountPanel, Loc.signOut))
        }
        function test_address_to_copy_without_a_browser() {
            show(false)
            world.setHasBrowser(false)
            mouseClick(textOf(shown.account, Loc.signIn))
            compare(world.vm.signInAddress, "https://tarn.example/site/auth?return_to=macos")
            const popover = findChild(shown.account, "signInAddress").window
            tryCompare(popover, "visible", true)
            mouseClick(textOf(popover.contentItem, Loc.copy))
            verify(textOf(popover.contentItem, Loc.copied))
            paste.paste()
            compare(paste.text, world.vm.signInAddress)
            popover.dismiss(false)
            world.setHasBrowser(true)
        }
        function test_account_signed_in() {
            verify(!textOf(shown.account, Loc.signIn))
            verify(textOf(shown.accountPanel, Loc.signedIn))
            verify(textOf(shown.accountPanel, "ada@example.org"))
            mouseClick(textOf(shown.accountPanel, Loc.reopenSetup))
            verify(coordinator.manuallyReopened)
            mouseClick(textOf(shown.accountPanel, Loc.feedback))
            compare(world.openedUrls(), ["https://tarn.example/issues"])
            mouseClick(textOf(shown.accountPanel, Loc.signOut))
            world.settle()
            verify(!world.vm.isLoggedIn)
            verify(textOf(shown.account, Loc.signIn))
            verify(!textOf(shown.accountPanel, "ada@example.org"))
        }
        function test_wishes_for_a_lost_connection() {
            show(true)
            const row = text => find(shown.accountPanel, one => one.visible && one.kind === "entry" && one.text === text)
            verify(row(Loc.resumeConnection).Accessible.checked && !row(Loc.useStandIn).Accessible.checked)
            row(Loc.useStandIn).Accessible.toggleAction()
            mouseClick(row(Loc.resumeConnection))
            verify(!world.vm.resumesConnection && world.vm.usesStandIn)
            mouseClick(row(Loc.useStandIn))
            verify(world.vm.usesStandIn, "it stands in for nothing where nothing is resumed")
            for (const text of [Loc.resumeConnection, Loc.useStandIn])
                verify(row(text).Accessible.description !== "")
        }
        function test_feedback_without_a_page_for_it() {
            world.setHasIssuesPage(false)
            show(true)
            world.setHasIssuesPage(true)
            mouseClick(textOf(shown.accountPanel, Loc.feedback))
            compare(world.openedUrls(), ["/usr/share/doc/tarn/troubleshooting.md"])
            world.setHasBrowser(false)
            mouseClick(textOf(shown.accountPanel, Loc.feedback))
            verify(world.vm.toastMessage.endsWith("/usr/share/doc/tarn/troubleshooting.md"))
        }
        function test_prompt_waits_for_the_permission() {
            world.setScreenAllowed(false)
            show(true)
            world.setScreenAllowed(false)
            world.vm.screenRecNeededEvent = true
            world.pass(1500)
            verify(!shown.modal.granted)
            verify(!textOf(shown.modal, Loc.permGrantedRelaunch))
            mouseClick(textOf(shown.modal, Loc.jitOpenSettings))
            compare(world.openedUrls().length, 1)
            world.setScreenAllowed(true)
            world.pass(1000)
            verify(shown.modal.granted)
            verify(textOf(shown.modal, Loc.permGrantedRelaunch))
            shown.modal.visible = false         // it does not look any more
            world.setScreenAllowed(false)
            shown.modal.visible = true
            verify(!shown.modal.granted)
            mouseClick(textOf(shown.modal, Loc.jitRelaunch))    // in a test: nothing happens
            verify(world.vm.screenRecNeededEvent)
            mouseClick(textOf(shown.modal, Loc.cancel))
            verify(!world.vm.screenRecNeededEvent)
            world.vm.screenRecNeededEvent = true
            world.setScreenAllowed(true)
            mouseClick(textOf(shown.modal, Loc.jitRelaunch))    // nothing to relaunch for any more
            verify(!world.vm.screenRecNeededEvent)
            world.vm.screenRecNeededEvent = true
            world.pass(1000)
            verify(shown.modal.granted)
            world.pass(1000)
            verify(!world.vm.screenRecNeededEvent, "closes by itself")
        }
        function test_state_has_a_light_and_a_name_data() {
            return [{tag: "idle", light: Qt.rgba(Theme.lightGrey.r, Theme.lightGrey.g, Theme.lightGrey.b, 0.6), label: "Idle"},
                    {tag: "connecting", light: Theme.lightYellow, label: "Connecting"},
                    {tag: "running", light: Theme.lightGreen, label: "Running"},
                    {tag: "stopping", light: Theme.lightOrange, label: "Stopping"},
                    {tag: "error", light: Theme.lightRed, label: "Error"}]
        }
        function test_state_has_a_light_and_a_name(row) {
            dot.state = row.tag
            compare(dot.color, row.light)
            compare(dot.lines, [row.label])
            compare(dot.Accessible.name, row.label)
            compare([dot.width, dot.height], [8, 8])
            dot.state = "idle"
        }
        function test_error_is_one_line() {
            chip.message = "<b>first</b>\nsecond " + "word ".repeat(4000)
            chip.width = 200
            const line = find(chip, one => one.truncated === true)
            verify(line)
            compare(line.lineCount, 1)
            verify(line.text.startsWith("<b>first</b> second"))
            compare(chip.Accessible.name, chip.message)
            verify(chip.activeFocusOnTab)
            verify(!find(chip, one => one.active === true), "the tooltip")
            chip.forceActiveFocus()
            compare(find(chip, one => one.active === true).text, chip.message)
            chip.message = "short"
            scene.forceActiveFocus()
            verify(!chip.activeFocusOnTab, "no stop on the way of Tab where there is nothing more")
        }
        function test_language_picker_keeps_what_is_not_listed() {
            compare(language.text, "Auto-detect")
            compare(language.choices.length, 17)
            compare(language.choices.filter(choice => choice.note).length, 0)
            compare(some.choices.filter(choice => !choice.note).map(choice => choice.value), ["en", "es"])
            language.selection = "zh"
            compare(language.text, "中文 (zh)")
            language.selection = "tlh-Latn"
            compare(language.text, "tlh-Latn")
            language.includeAuto = false
            compare(language.choices.length, 16)
        }
        function test_level_fills_the_meter() {
            meter.level = 0.1
            tryCompare(meter, "filled", meter.width * 0.75, 5000)
            compare(meter.barColor, Theme.lightYellow)
        }
    }
}
