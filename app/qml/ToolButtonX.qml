import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Korvex.Dashboard

// A flat button with an optional icon glyph and text, and a visible keyboard focus ring.
AbstractButton {
    id: control

    property string glyph
    property bool primary: false
    property bool danger: false
    property bool toggledOn: false
    property color foreground: primary ? Theme.textOnAccent : (danger ? Theme.danger : Theme.text)

    implicitHeight: Theme.controlHeight
    implicitWidth: Math.max(implicitHeight, implicitContentWidth + leftPadding + rightPadding)
    leftPadding: text.length > 0 ? Theme.spacing : 0
    rightPadding: leftPadding
    focusPolicy: Qt.StrongFocus
    hoverEnabled: true
    Accessible.role: Accessible.Button
    Accessible.name: control.text

    // A screen reader's press is a click. Found by name, so that "Press" is listed once: the
    // button's role lists it already.
    function accessiblePressAction() {
        control.clicked()
    }

    Keys.onReturnPressed: control.clicked()
    Keys.onEnterPressed: control.clicked()

    contentItem: RowLayout {
        spacing: Theme.spacingSmall
        Glyph {
            Layout.fillWidth: control.text.length === 0
            visible: control.glyph.length > 0
            glyph: control.glyph
            color: control.foreground
        }
        Text {
            Layout.fillWidth: true
            visible: control.text.length > 0
            text: control.text
            color: control.foreground
            font.pixelSize: Theme.fontBody
            font.weight: control.primary ? Font.DemiBold : Font.Normal
            horizontalAlignment: control.glyph.length > 0 ? Text.AlignLeft : Text.AlignHCenter
            elide: Text.ElideRight
        }
    }

    background: Rectangle {
        radius: Theme.radius
        color: control.primary ? (control.hovered || control.down ? Theme.accentHover : Theme.accent)
                               : (control.toggledOn ? Theme.accentSoft
                                                    : (control.hovered || control.down ? Theme.surfaceHover : "transparent"))
        border.width: (control.activeFocus && FocusFrames.shown) ? 2 : (control.primary ? 0 : 1)
        border.color: (control.activeFocus && FocusFrames.shown) ? Theme.focus : (control.toggledOn ? Theme.accent : Theme.border)
    }
}
