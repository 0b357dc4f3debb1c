import QtQuick
import QtQuick.Layouts
import QtQuick.Templates as T
import Korvex.Dashboard

// A flat button that switches what a page shows (a list, a service): drawn as ToolButtonX,
// read by a screen reader as a page tab, selected while its content is shown.
T.TabButton {
    id: control

    property string glyph
    // Its content is the one shown.
    property bool toggledOn: false

    checked: toggledOn
    implicitHeight: Theme.controlHeight
    implicitWidth: Math.max(implicitHeight, implicitContentWidth + leftPadding + rightPadding)
    leftPadding: Theme.spacing
    rightPadding: leftPadding
    focusPolicy: Qt.StrongFocus
    hoverEnabled: true
    Accessible.name: control.text
    Accessible.selectable: true
    Accessible.selected: control.toggledOn
    // A page tab lists no press action of its own.
    Accessible.onPressAction: control.clicked()

    Keys.onReturnPressed: control.clicked()
    Keys.onEnterPressed: control.clicked()

    contentItem: RowLayout {
        spacing: Theme.spacingSmall
        Glyph {
            visible: control.glyph.length > 0
            glyph: control.glyph
            color: Theme.text
        }
        Text {
            Layout.fillWidth: true
            text: control.text
            color: Theme.text
            font.pixelSize: Theme.fontBody
            horizontalAlignment: control.glyph.length > 0 ? Text.AlignLeft : Text.AlignHCenter
            elide: Text.ElideRight
        }
    }

    background: Rectangle {
        radius: Theme.radius
        color: control.toggledOn ? Theme.accentSoft : (control.hovered || control.down ? Theme.surfaceHover : "transparent")
        border.width: (control.activeFocus && FocusFrames.shown) ? 2 : 1
        border.color: (control.activeFocus && FocusFrames.shown) ? Theme.focus : (control.toggledOn ? Theme.accent : Theme.border)
    }
}
