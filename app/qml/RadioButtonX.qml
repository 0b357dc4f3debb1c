import QtQuick
import QtQuick.Templates as T
import Korvex.Dashboard

// A flat button that is one choice of a few (a tile size, tiles or rows): drawn as
// ToolButtonX, read by a screen reader as a radio button, checked while it is the choice.
T.RadioButton {
    id: control

    property string glyph
    // It is the current choice.
    property bool toggledOn: false

    checked: toggledOn
    implicitHeight: Theme.controlHeight
    implicitWidth: Math.max(implicitHeight, implicitContentWidth + leftPadding + rightPadding)
    leftPadding: text.length > 0 && glyph.length === 0 ? Theme.spacing : 0
    rightPadding: leftPadding
    spacing: 0
    focusPolicy: Qt.StrongFocus
    hoverEnabled: true
    Accessible.name: control.text
    // A screen reader's press or toggle chooses it, as a click does. Found by name, so that the
    // radio button's own actions are listed once.
    function accessiblePressAction() {
        control.clicked()
    }
    function accessibleToggleAction() {
        control.clicked()
    }

    Keys.onReturnPressed: control.clicked()
    Keys.onEnterPressed: control.clicked()

    indicator: null
    // One text: the glyph in the icon font, or the text.
    contentItem: Text {
        text: control.glyph.length > 0 ? control.glyph : control.text
        font.family: control.glyph.length > 0 ? Theme.iconFont : control.font.family
        font.pixelSize: control.glyph.length > 0 ? Theme.iconSize : Theme.fontBody
        color: Theme.text
        horizontalAlignment: Text.AlignHCenter
        verticalAlignment: Text.AlignVCenter
        Accessible.ignored: true
    }

    background: Rectangle {
        implicitWidth: Theme.controlHeight
        implicitHeight: Theme.controlHeight
        radius: Theme.radius
        color: control.toggledOn ? Theme.accentSoft : (control.hovered || control.down ? Theme.surfaceHover : "transparent")
        border.width: (control.activeFocus && FocusFrames.shown) ? 2 : 1
        border.color: (control.activeFocus && FocusFrames.shown) ? Theme.focus : (control.toggledOn ? Theme.accent : Theme.border)
    }
}
