import QtQuick
import Tarn.Onboarding
import Tarn.Style

/// Two who talk: one bubble before the other, with a gap between them.
IconDisc {
    id: root

    readonly property real glyph: root.diameter * 0.4

    Symbol {
        x: (root.diameter - width) / 2 - root.glyph * 0.32
        y: (root.diameter - height) / 2 - root.glyph * 0.2
        name: "bubble.left.fill"
        size: root.glyph
        color: Brand.primary
    }
    Symbol {
        anchors.centerIn: front
        name: "bubble.right.fill"
        size: root.glyph * 1.2
        color: Qt.rgba((Theme.discTop.r + Theme.discBottom.r) / 2, (Theme.discTop.g + Theme.discBottom.g) / 2,
                       (Theme.discTop.b + Theme.discBottom.b) / 2, 1)
    }
    Symbol {
        id: front
        x: (root.diameter - width) / 2 + root.glyph * 0.32
        y: (root.diameter - height) / 2 + root.glyph * 0.24
        name: "bubble.right.fill"
        size: root.glyph
        color: Brand.accent
    }
}
