import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Korvex.Dashboard

// Asked when modules are still open after quitting asked them to close: they may be asking
// about unsaved work. Going back keeps everything; quitting leaves them running on their own.
ThemedDialog {
    id: question

    required property ModuleRegistry modules
    property var stillOpen: question.modules ? question.modules.stillOpen : []

    title: qsTr("Modules are still open")
    closePolicy: Popup.NoAutoClose
    visible: question.stillOpen.length > 0
    onRejected: question.modules.cancelQuit()

    contentItem: ColumnLayout {
        spacing: Theme.spacing
        Text {
            Layout.fillWidth: true
            text: qsTr("These modules did not close within %n second(s). They may be asking about unsaved changes.", "",
                       Math.round(question.modules ? question.modules.quitWait / 1000 : 0))
            color: Theme.text
            font.pixelSize: Theme.fontBody
            wrapMode: Text.Wrap
        }
        // One text, not a Repeater: delegates made and destroyed inside a layout of a popup
        // that is resizing crash Qt 6.4's layout.
        Text {
            objectName: "stillOpenModules"
            Layout.fillWidth: true
            Layout.leftMargin: Theme.spacing
            text: question.stillOpen.map(name => "\u2022 " + name).join("\n")
            color: Theme.text
            font.pixelSize: Theme.fontBody
            font.weight: Font.DemiBold
            wrapMode: Text.Wrap
            Accessible.role: Accessible.StaticText
            Accessible.name: question.stillOpen.join(", ")
        }
        Text {
            Layout.fillWidth: true
            text: qsTr("Go back to answer them, or quit and leave them running on their own.")
            color: Theme.textMuted
            font.pixelSize: Theme.fontBody
            wrapMode: Text.Wrap
        }
    }

    buttons: [
        ToolButtonX {
            objectName: "quitLeaveRunningButton"
            text: qsTr("Quit and leave them running")
            onClicked: question.modules.quitLeavingModules()
        },
        ToolButtonX {
            objectName: "quitGoBackButton"
            text: qsTr("Go back")
            primary: true
            onClicked: question.modules.cancelQuit()
        }
    ]
}
