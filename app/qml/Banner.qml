import QtQuick
import QtQuick.Layouts

// A promotional card with one action.
Rectangle {
    id: banner

    property string glyph
    property string title
    property string text
    property string action

    signal triggered()

    implicitHeight: content.implicitHeight + 2 * Theme.spacing
    implicitWidth: 320
    radius: Theme.radius + 2
    color: Theme.accentSoft
    border.color: Theme.border

    RowLayout {
        id: content
        anchors.fill: parent
        anchors.margins: Theme.spacing
        spacing: Theme.spacing
        Glyph {
            Layout.preferredWidth: 32
            glyph: banner.glyph
            size: 24
            color: Theme.accent
        }
        ColumnLayout {
            Layout.fillWidth: true
            spacing: 2
            Text {
                Layout.fillWidth: true
                text: banner.title
                color: Theme.text
                font.pixelSize: Theme.fontBody
                font.weight: Font.DemiBold
                elide: Text.ElideRight
                Accessible.role: Accessible.Heading
                Accessible.name: text
            }
            Text {
                Layout.fillWidth: true
                text: banner.text
                color: Theme.textMuted
                font.pixelSize: Theme.fontSmall
                wrapMode: Text.Wrap
                maximumLineCount: 2
                elide: Text.ElideRight
                Accessible.role: Accessible.StaticText
                Accessible.name: text
            }
        }
        ToolButtonX {
            objectName: banner.objectName + "Button"
            text: banner.action
            primary: true
            Accessible.name: banner.action
            onClicked: banner.triggered()
        }
    }
}
