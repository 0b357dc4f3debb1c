import QtQuick
import QtQuick.Controls
import Korvex.Dashboard

// A drop-down list in the dashboard's colours, with the style's focus frame following the
// keyboard, that a screen reader hears open and close and can open with a press.
ComboBox {
    id: control

    readonly property StyleFocusFollowsFrames focusFrame: StyleFocusFollowsFrames { control: control }
    // Read by the front end's accessible items: open or closed, and a press opens it. Down
    // whenever its options show; asked first, so that their popup is made only when it opens.
    property bool accessibleExpanded: control.down && control.popup.visible
    function accessiblePressAction() {
        if (control.popup.visible)
            control.popup.close()
        else
            control.popup.open()
    }

    contentItem: Text {
        leftPadding: Theme.spacingSmall
        rightPadding: control.indicator.width + control.spacing
        text: control.displayText
        color: Theme.text
        font.pixelSize: Theme.fontBody
        verticalAlignment: Text.AlignVCenter
        elide: Text.ElideRight
        Accessible.ignored: true
    }
}
