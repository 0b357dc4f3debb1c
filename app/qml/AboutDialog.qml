import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Korvex.Dashboard

// About: the installed and the available version, and the licence agreement.
ThemedDialog {
    id: dialog

    required property DashboardUpgraderHelper upgrader
    required property DashboardGetLicenseHelper license
    readonly property alias licenseArea: licenseArea

    focus: true
    title: qsTr("About Korvex PRO")
    buttons: ToolButtonX {
        objectName: "aboutCloseButton"
        text: qsTr("Close")
        primary: true
        onClicked: dialog.close()
    }

    onAboutToShow: dialog.license.loadLicense()

    ColumnLayout {
        anchors.fill: parent
        spacing: Theme.spacing
        RowLayout {
            spacing: Theme.spacing
            Image {
                source: "qrc:/Svg/KorvexLogo.svg"
                sourceSize.width: 56
                sourceSize.height: 56
                Accessible.ignored: true
            }
            ColumnLayout {
                spacing: 2
                Text {
                    text: "Korvex PRO"
                    color: Theme.text
                    font.pixelSize: Theme.fontTitle
                    font.weight: Font.DemiBold
                    Accessible.role: Accessible.StaticText
                    Accessible.name: text
                }
                Text {
                    objectName: "installedVersion"
                    text: qsTr("Installed version: %1").arg(dialog.upgrader.getCurrentVersion())
                    color: Theme.textMuted
                    font.pixelSize: Theme.fontBody
                    Accessible.role: Accessible.StaticText
                    Accessible.name: text
                }
                Text {
                    objectName: "availableVersion"
                    // "X.X.XX" stands in until the update check answers, which it may never do.
                    text: dialog.upgrader.availableVersion === "X.X.XX"
                          ? qsTr("Available version: unknown")
                          : dialog.upgrader.isUpdateAvailable
                            ? qsTr("Available version: %1").arg(dialog.upgrader.availableVersion)
                            : qsTr("Available version: %1 (you are up to date)").arg(dialog.upgrader.availableVersion)
                    color: dialog.upgrader.isUpdateAvailable ? Theme.accent : Theme.textMuted
                    font.pixelSize: Theme.fontBody
                    Accessible.role: Accessible.StaticText
                    Accessible.name: text
                }
            }
        }
        Text {
            text: qsTr("Licence agreement")
            color: Theme.text
            font.pixelSize: Theme.fontBody
            font.weight: Font.DemiBold
            Accessible.role: Accessible.Heading
            Accessible.name: text
        }
        ScrollView {
            Layout.fillWidth: true
            Layout.fillHeight: true
            Layout.preferredWidth: 640
            Layout.preferredHeight: 320
            TextArea {
                id: licenseArea
                objectName: "licenseText"
                readOnly: true
                wrapMode: TextEdit.Wrap
                text: dialog.license.licenseText
                color: dialog.license.licenseText.startsWith("Error:") ? Theme.danger : Theme.text
                selectByMouse: true
                Accessible.name: qsTr("Licence agreement text")
                Accessible.editable: false
                Accessible.readOnly: true
                Accessible.multiLine: true
                background: Rectangle {
                    color: Theme.surfaceAlt
                    radius: Theme.radius
                    border.width: licenseArea.activeFocus ? 2 : 1
                    border.color: licenseArea.activeFocus ? Theme.focus : Theme.border
                }
            }
        }
    }
}
