import QtQuick.Layouts

/// The rows of a menu, one below the other, all as wide as the widest.
ColumnLayout {
    spacing: 0
}
