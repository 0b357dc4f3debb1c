import QtQuick
import QtQuick.Controls
import QtQuick.Layouts

// A modal dialog in the dashboard's colours: the title on top, the content, and a row of
// buttons at the bottom right.
Dialog {
    id: dialog

    property alias buttons: buttonRow.data

    modal: true
    padding: Theme.spacingLarge
    topPadding: Theme.spacing

    background: Rectangle {
        color: Theme.surface
        radius: Theme.radius + 2
        border.color: Theme.border
    }
    header: Text {
        text: dialog.title
        visible: text.length > 0
        padding: Theme.spacingLarge
        bottomPadding: 0
        color: Theme.text
        font.pixelSize: Theme.fontSubtitle + 2
        font.weight: Font.DemiBold
        Accessible.role: Accessible.Heading
        Accessible.name: text
    }
    footer: Item {
        implicitWidth: buttonRow.implicitWidth + 2 * Theme.spacingLarge
        implicitHeight: buttonRow.implicitHeight + Theme.spacingLarge
        RowLayout {
            id: buttonRow
            anchors.top: parent.top
            anchors.right: parent.right
            anchors.rightMargin: Theme.spacingLarge
            spacing: Theme.spacingSmall
        }
    }

    Overlay.modal: Rectangle {
        color: Theme.dark ? "#99000000" : "#59000000"
    }
}
