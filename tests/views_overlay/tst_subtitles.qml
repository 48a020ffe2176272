// The subtitles of a session: sizes, placeholders, odd texts, long ones, selecting and scrolling.
import QtQuick
import QtTest
import Tarn.Overlay
import Tarn.Style

Item {
    id: root
    width: 640
    height: 480

    Component {
        id: panes
        SubtitlePane {
            width: 500
            height: 160
            vm: world.vm
            session: world.session(0)
            narrow: false
        }
    }
    TestCase {
        name: "SubtitlePane"
        when: windowShown

        property SubtitlePane pane: null
        property Item said: null
        property Item translation: null

        function init() {
            world.renew(true)
            pane = panes.createObject(root)
            said = findChild(pane, "source")
            translation = findChild(pane, "translation")
        }
        function cleanup() {
            pane.destroy()
            wait(0)
        }
        function run() {
            world.vm.startAll()
            world.settle()
        }
        function words(count) {
            return Array.from({length: count}, (_, i) => "word" + i).join(" ")
        }
        /// Whether the text's last line is inside what is seen.
        function endIsSeen(line) {
            const flow = line.subtitle.flow
            return Math.abs(flow.contentHeight - flow.offset - line.subtitle.height) < 1
        }

        function test_placeholders() {
            compare(said.text, "Not started")
            compare(translation.text, "Translated text will appear here")
            compare(translation.subtitle.edit.color, Theme.secondaryText)
            world.vm.miniMode = true
            compare(translation.subtitle.edit.color, "#80ffffff")
            world.setLanguage("zhHans")
            compare(said.text, "未启动")
            compare(translation.subtitle.edit.text, "翻译结果将显示在这里")
            world.setLanguage("en")
            run()
            world.translate(0, "Hello")
            compare(translation.subtitle.edit.text, "Hello")
            compare(translation.subtitle.edit.color, "#ffffff")
        }
        function test_sizes_data() {
            return [{tag: "wide", narrow: false, scale: 1, source: 16, translation: 18, spacing: 10},
                    {tag: "narrow", narrow: true, scale: 1, source: 14, translation: 15, spacing: 6},
                    {tag: "largest", narrow: false, scale: 3, source: 48, translation: 54, spacing: 30},
                    {tag: "smallest", narrow: true, scale: 0.6, source: 8, translation: 9, spacing: 3.6}]
        }
        function test_sizes(row) {
            pane.height = 400
            pane.narrow = row.narrow
            world.vm.subtitleScale = row.scale
            compare(said.subtitle.edit.font.pixelSize, row.source)
            compare(translation.subtitle.edit.font.pixelSize, row.translation)
            fuzzyCompare(translation.y - said.y - said.height, row.spacing, 0.01)
        }
        function test_automaticDetectionHasNoSourceLine() {
            world.session(0).sourceLang = ""
            verify(!said.visible)
            compare(translation.y, said.y)
            world.session(0).sourceLang = "fr"
            verify(said.visible)
        }
        function test_oddTexts_data() {
            return [{tag: "markup", text: "<b>bold</b> <img src='file:///etc/passwd'> &amp;"},
                    {tag: "controls", text: "a\u001b[31mb\u0007", shown: "a [31mb "},
                    {tag: "no spaces", text: "字".repeat(500)},
                    {tag: "one long word", text: "w".repeat(500)},
                    {tag: "emoji", text: "🎤👩‍👩‍👧🇨🇳 ok"}]
        }
        function test_oddTexts(row) {
            run()
            world.translate(0, row.text)
            const edit = translation.subtitle.edit
            compare(edit.text, row.shown ?? row.text)
            verify(edit.contentWidth <= edit.width + 1, "wrapped")
            verify(endIsSeen(translation))
            compare(edit.textFormat, TextEdit.PlainText)
        }
        function test_arabicIsOnTheRight() {
            run()
            world.translate(0, "الاجتماع يبدأ بعد عشر دقائق")
            const subtitle = translation.subtitle, marker = findChild(translation, "marker")
            compare(subtitle.edit.effectiveHorizontalAlignment, TextEdit.AlignRight)
            compare(marker.x + marker.width, translation.width)
            verify(subtitle.x + subtitle.width < marker.x)
            world.translate(0, "The meeting begins")
            compare(subtitle.edit.effectiveHorizontalAlignment, TextEdit.AlignLeft)
            compare(marker.x, 0)
            verify(subtitle.x > marker.width)
        }
        function test_bothEndsStayInView() {
            run()
            for (let i = 1; i < 150; ++i) {
                world.hear(0, words(i))
                world.translate(0, words(i))
                verify(endIsSeen(said) && endIsSeen(translation), i)
                verify(translation.y + translation.height <= pane.height, i)
            }
            verify(said.height >= said.lineHeight)
            pane.width = 200
            verify(endIsSeen(said) && endIsSeen(translation))
            pane.height = 60
            verify(endIsSeen(translation) && translation.y + translation.height <= pane.height)
        }
        function test_scrollingBackIsKeptUntilTheNextSentence() {
            run()
            world.translate(0, words(200))
            const flow = translation.subtitle.flow
            mouseWheel(translation, 50, 5, 0, 120)
            const kept = flow.offset
            verify(!endIsSeen(translation))
            world.translate(0, words(201))
            compare(flow.offset, kept)
            mouseWheel(translation, 50, 5, 0, -1200)
            verify(endIsSeen(translation))
            world.translate(0, words(220))
            verify(endIsSeen(translation), "followed again")
            translation.subtitle.edit.forceActiveFocus()
            keyClick(Qt.Key_Home)
            compare(flow.offset, 0)
            world.translate(0, "Another sentence")
            compare(flow.offset, 0)
            world.translate(0, "Another sentence, " + words(200))
            verify(endIsSeen(translation))
        }
        function test_selectionSurvivesGrowth() {
            run()
            world.translate(0, "The meeting begins")
            const edit = translation.subtitle.edit
            edit.select(4, 11)
            world.translate(0, "The meeting begins in ten")
            compare(edit.selectedText, "meeting")
            edit.selectAll()
            world.translate(0, "The meeting begins in ten minutes")
            compare(edit.selectedText, "The meeting begins in ten", "it does not grow by itself")
            edit.forceActiveFocus()
            keySequence(StandardKey.Copy)
            edit.select(0, 0)
            world.translate(0, "Something else")
            compare(edit.selectedText, "")
            compare(edit.text, "Something else")
            keyClick(Qt.Key_X)
            keySequence(StandardKey.Paste)
            compare(edit.text, "Something else", "read only")
        }
        function test_tenThousandCharactersWithoutASpace_data() {
            return [{tag: "one word", text: "w".repeat(10000)}, {tag: "Chinese", text: "字".repeat(10000)},
                    {tag: "emoji", text: "🎤".repeat(5000)}, {tag: "marks", text: "a" + "\u0301".repeat(9999)}]
        }
        function test_tenThousandCharactersWithoutASpace(row) {
            run()
            world.vm.miniMode = true
            for (const text of [row.text, row.text + row.text.slice(-2), ""]) {
                world.translate(0, text)
                waitForRendering(pane, 1000)
                verify(translation.subtitle.edit.contentWidth <= translation.subtitle.width + 1)
                verify(endIsSeen(translation))
            }
        }
        function test_tenThousandCharacters() {
            run()
            world.vm.miniMode = true
            world.translate(0, words(2000))
            const edit = translation.subtitle.edit
            verify(edit.text.endsWith("word1999") && edit.text.startsWith("word"))
            verify(endIsSeen(translation))
            edit.select(edit.length - 8, edit.length)
            for (let i = 2001; i < 2150; ++i)
                world.translate(0, words(i))
            verify(edit.length <= 3000)
            compare(edit.selectedText, "word1999")
            verify(endIsSeen(translation))
        }
        function test_readsOverAnyPicture_data() {
            return [{tag: "text on white", back: "white", text: "Imitation of life"},
                    {tag: "placeholder on white", back: "white", text: ""},
                    {tag: "placeholder on grey", back: "#808080", text: ""},
                    {tag: "placeholder on black", back: "black", text: ""}]
        }
        function test_readsOverAnyPicture(row) {
            run()
            const back = createTemporaryQmlObject("import QtQuick; Rectangle { anchors.fill: parent; z: -1 }", pane)
            back.color = row.back
            world.vm.miniMode = true
            world.translate(0, row.text)
            waitForRendering(pane)
            const shown = grabImage(pane)
            translation.subtitle.edit.color = "black"
            waitForRendering(pane)
            const without = grabImage(pane)
            const light = (x, y) => Math.pow(shown.red(x, y) / 255, 2.2)
            const isLetter = (x, y) => shown.red(x, y) - without.red(x, y) > 100
            let letters = 0, letterLight = 0, around = 0, aroundLight = 0
            const at = translation.subtitle.mapToItem(pane, 0, 0)
            for (let y = at.y + 3; y < at.y + translation.height - 3; ++y) {
                for (let x = at.x + 3; x < at.x + 100; ++x) {
                    if (!isLetter(x, y))
                        continue
                    ++letters
                    letterLight += light(x, y)
                    for (const [dx, dy] of [[-3, 0], [3, 0], [0, -3], [0, 3]]) {
                        if (shown.red(x + dx, y + dy) === without.red(x + dx, y + dy)) {
                            ++around
                            aroundLight += light(x + dx, y + dy)
                        }
                    }
                }
            }
            verify(letters > 50 && around > 50)
            const contrast = (letterLight / letters + 0.05) / (aroundLight / around + 0.05)
            verify(contrast >= 4.5, contrast)
        }
    }
}
