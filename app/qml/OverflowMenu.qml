import QtQuick
import QtQuick.Controls
import Korvex.Dashboard

// The overflow (three-dot) menu: About, Settings, Quit, from the menu model.
Menu {
    id: menu

    required property MeatballsNavigationModel menuModel

    signal chosen(int navType)

    // Its own colours: the style's popup palette does not follow the theme once made.
    background: Rectangle {
        implicitWidth: 200
        color: Theme.surface
        border.color: Theme.border
        radius: Theme.radius
    }

    Repeater {
        model: menu.menuModel.meatballsNavItemsList
        delegate: MenuItem {
            id: menuItem
            required property var modelData
            objectName: "menu_" + modelData.navType
            text: modelData.navName
            Accessible.name: modelData.navName
            // A menu item offers no press action of its own: pressing it is choosing it.
            Accessible.onPressAction: menuItem.triggered()
            background: Rectangle {
                implicitWidth: 200
                implicitHeight: 36
                radius: Theme.radius
                color: menuItem.highlighted ? Theme.surfaceHover : "transparent"
            }
            contentItem: Row {
                spacing: Theme.spacing
                leftPadding: 4
                Glyph {
                    width: 18
                    glyph: modelData.navIcon
                    anchors.verticalCenter: parent.verticalCenter
                    color: Theme.textMuted
                }
                Text {
                    text: modelData.navName
                    color: Theme.text
                    font.pixelSize: Theme.fontBody
                    anchors.verticalCenter: parent.verticalCenter
                }
            }
            onTriggered: menu.chosen(modelData.navType)
        }
    }
}
