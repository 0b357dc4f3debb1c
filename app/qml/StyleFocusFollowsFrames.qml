import QtQuick
import Korvex.Dashboard

// The style draws a control's own focus frame from visualFocus, which a Tab sets and a later
// click on the same control never clears. The control's focus reason follows the front end's
// focus frames instead: shown after keyboard use, gone at the next mouse press.
QtObject {
    // A Control; its focusReason is set.
    required property Item control

    readonly property Connections frames: Connections {
        target: FocusFrames
        function onShownChanged() {
            if (control.activeFocus)
                control.focusReason = FocusFrames.shown ? Qt.TabFocusReason : Qt.MouseFocusReason
        }
    }
}
