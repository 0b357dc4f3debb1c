import QtQuick
import QtQuick.Layouts

// The message a list shows instead of content: nothing there, or something went wrong.
ColumnLayout {
    id: state

    property string glyph
    property string title
    property string message
    property bool error: false

    spacing: Theme.spacingSmall

    Glyph {
        Layout.alignment: Qt.AlignHCenter
        glyph: state.glyph
        size: 40
        color: state.error ? Theme.danger : Theme.textMuted
    }
    Text {
        Layout.alignment: Qt.AlignHCenter
        Layout.maximumWidth: 520
        text: state.title
        color: state.error ? Theme.danger : Theme.text
        font.pixelSize: Theme.fontSubtitle
        font.weight: Font.DemiBold
        wrapMode: Text.Wrap
        horizontalAlignment: Text.AlignHCenter
        Accessible.role: Accessible.StaticText
        Accessible.name: text
    }
    Text {
        Layout.alignment: Qt.AlignHCenter
        // Narrower than the title: a message of a line and a bit wraps into two even lines
        // instead of leaving its last word alone.
        Layout.maximumWidth: 440
        visible: state.message.length > 0
        text: state.message
        color: Theme.textMuted
        font.pixelSize: Theme.fontBody
        wrapMode: Text.Wrap
        horizontalAlignment: Text.AlignHCenter
        Accessible.role: Accessible.StaticText
        Accessible.name: text
    }
}
