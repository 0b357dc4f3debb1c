import QtQuick
import QtQuick.Layouts

// Title of a page with room for its tools on the right.
RowLayout {
    id: header

    property string title
    property string subtitle
    default property alias tools: toolRow.data

    spacing: Theme.spacing

    ColumnLayout {
        Layout.fillWidth: true
        spacing: 2
        Text {
            Layout.fillWidth: true
            text: header.title
            color: Theme.text
            font.pixelSize: Theme.fontTitle
            font.weight: Font.DemiBold
            elide: Text.ElideRight
            Accessible.role: Accessible.Heading
            Accessible.name: header.title
        }
        Text {
            Layout.fillWidth: true
            visible: header.subtitle.length > 0
            text: header.subtitle
            color: Theme.textMuted
            font.pixelSize: Theme.fontBody
            wrapMode: Text.Wrap
            maximumLineCount: 3
            elide: Text.ElideRight
            Accessible.role: Accessible.StaticText
            Accessible.name: text
        }
    }
    RowLayout {
        id: toolRow
        spacing: Theme.spacingSmall
    }
}
