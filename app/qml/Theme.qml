pragma Singleton
import QtQuick
import Korvex.Dashboard

// Colours, spacing and type of the dashboard, in a light and a dark variant.
QtObject {
    property bool dark: false

    readonly property QVDashboardIcons icons: QVDashboardIcons {}
    readonly property string iconFont: icons.fontFamily

    readonly property color window: WindowShell.windowColor(dark)
    readonly property color surface: dark ? "#1d2027" : "#ffffff"
    readonly property color surfaceAlt: dark ? "#262a32" : "#eceef2"
    readonly property color surfaceHover: dark ? "#2d323b" : "#e3e7ec"
    readonly property color border: dark ? "#363b46" : "#d7dbe1"
    readonly property color text: dark ? "#e9ebef" : "#1b1e23"
    readonly property color textMuted: dark ? "#a0a7b3" : "#5b6270"
    readonly property color accent: "#e35d0b"
    readonly property color accentHover: "#c94f06"
    readonly property color accentSoft: dark ? "#3a2a1f" : "#fdeee3"
    readonly property color textOnAccent: "#ffffff"
    readonly property color focus: dark ? "#8ab4ff" : "#1b5fd1"
    readonly property color danger: dark ? "#ff8a80" : "#b3261e"
    readonly property color dangerSoft: dark ? "#3b2222" : "#fbe9e7"
    readonly property color info: dark ? "#24344d" : "#e6effc"
    readonly property color favorite: "#f2a900"

    readonly property color navBackground: WindowShell.sideBarColor(dark)
    readonly property color navHover: dark ? "#1c2027" : "#2b3440"
    readonly property color navSelected: dark ? "#262b34" : "#34404e"
    readonly property color navText: "#d3d8df"
    readonly property color navTextMuted: "#8d96a3"

    readonly property int spacingSmall: 6
    readonly property int spacing: 12
    readonly property int spacingLarge: 20
    readonly property int pageMargin: 24
    readonly property int radius: 6
    readonly property int controlHeight: 34

    readonly property int fontSmall: 12
    readonly property int fontBody: 14
    readonly property int fontSubtitle: 16
    readonly property int fontTitle: 22
    readonly property int iconSize: 16
    // How long the pointer rests before a tooltip shows.
    readonly property int toolTipDelay: 600
}
