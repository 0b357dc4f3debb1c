import QtQuick
import QtQuick.Layouts

// A one-line notice above the pages, with an action and a dismiss button.
Rectangle {
    id: notice

    property string glyph: Theme.icons.about
    property string text
    property string action
    property bool error: false
    // Shown or folded away; the bar stays visible to its layout, which does not always
    // notice a child that becomes visible later.
    property bool shown: false
    // It has been shown once: its contents are made.
    property bool unfolded: false

    signal triggered()
    signal dismissed()

    implicitHeight: row.implicitHeight + 2 * Theme.spacingSmall
    Layout.fillWidth: true
    Layout.preferredHeight: shown ? implicitHeight : 0
    clip: true
    enabled: shown
    color: error ? Theme.dangerSoft : Theme.info

    RowLayout {
        id: row
        anchors.fill: parent
        // Folded away, its buttons are not drawn; hidden, they are not offered to a screen
        // reader either, and unfolding announces the notice as an alert.
        visible: notice.shown
        Accessible.role: Accessible.AlertMessage
        Accessible.name: notice.text
        anchors.leftMargin: Theme.pageMargin
        anchors.rightMargin: Theme.spacing
        spacing: Theme.spacing
        // Its contents are made the first time it unfolds: most notices never do, and the
        // window starts with every one of them folded.
        Loader {
            Layout.fillWidth: true
            Layout.fillHeight: true
            active: notice.shown || notice.unfolded
            sourceComponent: RowLayout {
                spacing: Theme.spacing
                Component.onCompleted: notice.unfolded = true
                Glyph {
                    glyph: notice.glyph
                    color: notice.error ? Theme.danger : Theme.focus
                }
                Text {
                    Layout.fillWidth: true
                    Accessible.ignored: true
                    text: notice.text
                    color: notice.error ? Theme.danger : Theme.text
                    font.pixelSize: Theme.fontBody
                    wrapMode: Text.Wrap
                }
                ToolButtonX {
                    objectName: notice.objectName + "Action"
                    visible: notice.action.length > 0
                    text: notice.action
                    primary: true
                    onClicked: notice.triggered()
                }
                ToolButtonX {
                    objectName: notice.objectName + "Dismiss"
                    glyph: Theme.icons.close
                    Accessible.name: qsTr("Dismiss")
                    onClicked: notice.dismissed()
                }
            }
        }
    }
}
