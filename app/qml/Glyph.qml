import QtQuick

// One glyph of the dashboard's icon font.
Text {
    property string glyph
    property int size: Theme.iconSize

    text: glyph
    font.family: Theme.iconFont
    font.pixelSize: size
    color: Theme.text
    horizontalAlignment: Text.AlignHCenter
    verticalAlignment: Text.AlignVCenter
    Accessible.ignored: true
}
