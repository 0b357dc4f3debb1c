import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Korvex.Dashboard

// The dashboard's side bar: the entries of the navigation list, grouped, and the overflow
// menu at its foot.
Rectangle {
    id: bar

    required property var navItems
    // The entry shown as current: a navType, and for modules its appType.
    property int selectedNavType: DashboardGlobal.NAV_HOME
    property int selectedAppType: DashboardGlobal.APP_NULL
    // The label file of the shown module, empty when it has none.
    property string selectedFile
    // The running modules (a ModuleRegistry): a module running with a label file gets an
    // entry of its own below its module's, named by the file.
    property var instances: null
    // appType -> true while a module starts / runs.
    property var loadingApps: ({})
    property var runningApps: ({})
    property alias overflowButton: overflowButton
    // Whether the menu the More button opens is open.
    property bool overflowOpen: false

    signal activated(var item)
    signal instanceActivated(var processId)
    signal overflowRequested()

    color: Theme.navBackground
    // Wide enough for the longest name in the user's language (German ones are long), within
    // bounds; a button spends 96 px on margins, icon and busy indicator around its name.
    implicitWidth: {
        labelMetrics.font // read, so that the width follows the font as well as the names
        let widest = 0
        for (let i = 0; i < bar.navItems.length; ++i)
            widest = Math.max(widest, labelMetrics.advanceWidth(bar.navItems[i].navName))
        return Math.ceil(Math.min(300, Math.max(WindowShell.sideBarMinimumWidth, widest + 98)))
    }

    FontMetrics {
        id: labelMetrics
        font.pixelSize: Theme.fontBody
        font.weight: Font.DemiBold
    }

    function isModule(item) {
        return item.navType === DashboardGlobal.NAV_APP
    }
    function isSelected(item) {
        if (item.navType !== bar.selectedNavType)
            return false
        return !isModule(item) || (item.navAppType === bar.selectedAppType && bar.selectedFile.length === 0)
    }
    // Scrolls just enough to show an entry reached with the keyboard. An entry the pointer
    // clicked stays where it is, even when partly hidden: the bar must not move under the pointer.
    function reveal(y, height) {
        if (y < flick.contentY)
            flick.contentY = Math.max(0, y)
        else if (y + height > flick.contentY + flick.height)
            flick.contentY = Math.min(y + height - flick.height, flick.contentHeight - flick.height)
    }
    function isLink(item) {
        return item.navType === DashboardGlobal.NAV_URL_SUPPORT || item.navType === DashboardGlobal.NAV_URL_LIVECHAT
               || item.navType === DashboardGlobal.NAV_URL_FEEDBACK
    }
    function groupOf(item) {
        if (item.navType === DashboardGlobal.NAV_HOME || item.navType === DashboardGlobal.NAV_CLOUD)
            return 0
        if (isModule(item))
            return 1
        return 2
    }

    ColumnLayout {
        anchors.fill: parent
        spacing: 0

        Row {
            Layout.fillWidth: true
            Layout.topMargin: Theme.spacingLarge
            Layout.bottomMargin: Theme.spacing
            Layout.leftMargin: Theme.spacing + 4
            spacing: Theme.spacingSmall
            Image {
                source: "qrc:/Svg/KorvexLogo.svg"
                sourceSize.width: 28
                sourceSize.height: 28
                anchors.verticalCenter: parent.verticalCenter
                Accessible.ignored: true
            }
            Text {
                text: "Korvex PRO"
                color: "#ffffff"
                font.pixelSize: 18
                font.weight: Font.Bold
                anchors.verticalCenter: parent.verticalCenter
                Accessible.role: Accessible.StaticText
                Accessible.name: text
            }
        }

        Flickable {
            id: flick
            objectName: "navigationEntries"
            Layout.fillWidth: true
            Layout.fillHeight: true
            clip: true
            contentHeight: entries.implicitHeight
            boundsBehavior: Flickable.StopAtBounds
            ScrollBar.vertical: ScrollBar {
                Accessible.name: qsTr("Scroll the side bar")
            }

            Column {
                id: entries
                width: flick.width
                spacing: 2
                padding: Theme.spacingSmall

                Repeater {
                    model: bar.navItems
                    delegate: Column {
                        id: entry
                        required property var modelData
                        required property int index
                        width: entries.width - 2 * entries.padding
                        spacing: 2

                        Text {
                            visible: entry.index > 0
                                     && bar.groupOf(entry.modelData) !== bar.groupOf(bar.navItems[entry.index - 1])
                            topPadding: Theme.spacing
                            bottomPadding: 4
                            leftPadding: Theme.spacing
                            text: bar.groupOf(entry.modelData) === 1 ? qsTr("Modules") : qsTr("Help and resources")
                            color: Theme.navTextMuted
                            font.pixelSize: Theme.fontSmall
                            font.capitalization: Font.AllUppercase
                            font.letterSpacing: 0.6
                            Accessible.role: Accessible.Heading
                            Accessible.name: text
                        }
                        // One control per entry, a button or a link: the side bar is on the
                        // first screen, and each entry made both.
                        Loader {
                            id: control
                            width: parent.width
                            sourceComponent: bar.isLink(entry.modelData) ? linkControl : buttonControl
                        }
                        Component {
                            id: buttonControl
                            NavButton {
                                objectName: "nav_" + entry.modelData.navType + "_" + entry.modelData.navAppType
                                text: entry.modelData.navName
                                glyph: entry.modelData.navIcon
                                selected: bar.isSelected(entry.modelData)
                                loading: bar.isModule(entry.modelData) && bar.loadingApps[entry.modelData.navAppType] === true
                                running: bar.isModule(entry.modelData) && bar.runningApps[entry.modelData.navAppType] === true
                                onClicked: bar.activated(entry.modelData)
                                onVisualFocusChanged: if (visualFocus) bar.reveal(control.y + entry.y, height)
                            }
                        }
                        Component {
                            id: linkControl
                            NavLink {
                                objectName: "nav_" + entry.modelData.navType + "_" + entry.modelData.navAppType
                                text: entry.modelData.navName
                                glyph: entry.modelData.navIcon
                                onClicked: bar.activated(entry.modelData)
                                onActiveFocusChanged: if (activeFocus) bar.reveal(control.y + entry.y, height)
                            }
                        }
                        Repeater {
                            model: bar.isModule(entry.modelData) ? bar.instances : null
                            delegate: NavButton {
                                id: instanceButton
                                required property int appType
                                required property string fileName
                                required property var processId
                                required property bool shown
                                required property int moduleState
                                objectName: "instance_" + processId
                                visible: appType === entry.modelData.navAppType && fileName.length > 0
                                width: parent.width
                                implicitHeight: visible ? 32 : 0
                                leftPadding: 22
                                text: fileName
                                glyph: Theme.icons.file
                                selected: shown
                                loading: moduleState === ModuleRegistry.Starting
                                running: moduleState !== ModuleRegistry.Starting
                                onClicked: bar.instanceActivated(processId)
                                onVisualFocusChanged: if (visualFocus) bar.reveal(y + entry.y, height)
                            }
                        }
                    }
                }
            }
        }

        Rectangle {
            Layout.fillWidth: true
            Layout.preferredHeight: 1
            color: Theme.navSelected
        }
        NavButton {
            id: overflowButton
            objectName: "overflowButton"
            Layout.fillWidth: true
            Layout.margins: Theme.spacingSmall
            text: qsTr("More")
            glyph: Theme.icons.meatballs
            Accessible.role: Accessible.ButtonMenu
            Accessible.selectable: false
            // Read by the front end's accessible items: a screen reader hears the menu open.
            property bool accessibleExpanded: bar.overflowOpen
            onClicked: bar.overflowRequested()
        }
    }
}
