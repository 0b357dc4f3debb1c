import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Korvex.Dashboard

// Settings: sections from the settings navigation model on the left, the chosen pane on the
// right. Every change goes through the settings controller.
FocusScope {
    id: page

    required property DashboardSettingsController settings
    required property SettingsNavigationModel sections
    required property SettingsContentsModels contents
    required property HostServices host

    property int section: SettingsNavigationModel.NAV_UNITS
    // The stored values the controller does not re-announce when written.
    property int units: readUnits()
    property int languageIndex: readLanguageIndex()
    readonly property alias resetDialog: resetDialog
    // The contents model announces no change when it is filled again.
    property var languageNames: contents.languagesModelList
    // Each language named in itself, so that a user who cannot read the current one finds theirs.
    readonly property var languageNamesInThemselves: page.languageNames.map(
        (name, index) => page.host.languageName(page.contents.getLanguageCode(index)))

    signal showCloud()

    function readUnits() {
        return Number(page.settings.getSetting(page.settings.KEY_UNITS, 0)) || 0
    }
    // The list index of the stored language.
    function readLanguageIndex() {
        const code = String(page.settings.getSetting(page.settings.KEY_LANGUAGE, "en_US"))
        const names = page.contents.getLanguagesModelList()
        for (let i = 0; i < names.length; ++i) {
            if (page.contents.getLanguageCode(i) === code)
                return i
        }
        return 0
    }
    function setUnits(value) {
        page.settings.setSetting(page.settings.KEY_UNITS, value)
        page.units = page.readUnits()
        page.settings.sendAnalyticHit(page.settings.KEY_UNITS, value)
    }
    function setLanguage(index) {
        const code = page.contents.getLanguageCode(index)
        if (code.length === 0)
            return
        page.settings.setSetting(page.settings.KEY_LANGUAGE, code)
        page.settings.sendAnalyticHit(page.settings.KEY_LANGUAGE, code)
        page.languageIndex = index
        page.host.applyLanguage(code)
    }
    function setDark(dark) {
        page.settings.setSetting(page.settings.KEY_APPEARANCE, !dark)
        page.settings.sendAnalyticHit(page.settings.KEY_APPEARANCE, !dark)
    }
    function setAnalytics(on) {
        page.settings.setSetting(page.settings.KEY_PRIVACY_ANALYTICS, on)
        page.settings.sendAnalyticHit(page.settings.KEY_PRIVACY_ANALYTICS, on)
    }
    function setHardware(on) {
        page.settings.setSetting(page.settings.KEY_HARDWARE, on)
        page.settings.sendAnalyticHit(page.settings.KEY_HARDWARE, on)
    }
    function reset() {
        page.settings.resetSettings()
        page.units = page.readUnits()
        page.languageIndex = page.readLanguageIndex()
        page.host.applyLanguage(page.contents.getLanguageCode(page.languageIndex))
    }

    Connections {
        target: page.settings
        function onSettingUnitsChanged() { page.units = page.readUnits() }
        function onSettingLanguageIndexChanged() { page.languageIndex = page.readLanguageIndex() }
    }

    FontMetrics {
        id: sectionMetrics
        font.pixelSize: Theme.fontBody
        font.weight: Font.DemiBold
    }

    component SectionTitle: Text {
        Layout.fillWidth: true
        color: Theme.text
        font.pixelSize: Theme.fontSubtitle + 2
        font.weight: Font.DemiBold
        Accessible.role: Accessible.Heading
        Accessible.name: text
    }
    component Explanation: Text {
        Layout.fillWidth: true
        color: Theme.textMuted
        font.pixelSize: Theme.fontBody
        wrapMode: Text.Wrap
        Accessible.role: Accessible.StaticText
        Accessible.name: text
    }
    component Choice: RadioButton {
        id: choice
        Accessible.name: choice.text
        // Chosen through the settings, as a click is; toggling the property alone would not
        // store it.
        function accessiblePressAction() {
            choice.clicked()
        }
        function accessibleToggleAction() {
            choice.clicked()
        }
        indicator: Rectangle {
            x: choice.leftPadding
            y: (choice.height - height) / 2
            implicitWidth: 20
            implicitHeight: 20
            radius: 10
            color: Theme.surface
            border.width: 2
            border.color: choice.checked ? Theme.accent : Theme.textMuted
            Rectangle {
                anchors.centerIn: parent
                width: 10
                height: 10
                radius: 5
                visible: choice.checked
                color: Theme.accent
            }
        }
        contentItem: Text {
            leftPadding: choice.indicator.width + choice.spacing
            text: choice.text
            color: Theme.text
            font.pixelSize: Theme.fontBody
            verticalAlignment: Text.AlignVCenter
        }
        Rectangle {
            anchors.fill: parent
            anchors.margins: -2
            visible: choice.activeFocus && FocusFrames.shown
            color: "transparent"
            radius: Theme.radius
            border.width: 2
            border.color: Theme.focus
        }
    }
    component Toggle: Switch {
        id: toggle
        readonly property StyleFocusFollowsFrames focusFrame: StyleFocusFollowsFrames { control: toggle }
        Accessible.name: toggle.text
        function accessiblePressAction() {
            toggle.toggle()
            toggle.toggled()
        }
        function accessibleToggleAction() {
            toggle.toggle()
            toggle.toggled()
        }
        contentItem: Text {
            leftPadding: toggle.indicator.width + toggle.spacing
            text: toggle.text
            color: Theme.text
            font.pixelSize: Theme.fontBody
            verticalAlignment: Text.AlignVCenter
            wrapMode: Text.Wrap
        }
        Rectangle {
            anchors.fill: parent
            anchors.margins: -2
            visible: toggle.activeFocus && FocusFrames.shown
            color: "transparent"
            radius: Theme.radius
            border.width: 2
            border.color: Theme.focus
        }
    }

    ColumnLayout {
        anchors.fill: parent
        anchors.margins: Theme.pageMargin
        spacing: Theme.spacing

        PageHeader {
            Layout.fillWidth: true
            title: qsTr("Settings")
        }

        RowLayout {
            Layout.fillWidth: true
            Layout.fillHeight: true
            spacing: Theme.spacingLarge

            Rectangle {
                // Wide enough for the longest section name in the user's language, within
                // bounds; a row spends 44 px on its margin and icon before the name.
                Layout.preferredWidth: {
                    sectionMetrics.font // read, so that the width follows the font as well as the names
                    let widest = 0
                    const items = page.sections.settingsNavItemsList
                    for (let i = 0; i < items.length; ++i)
                        widest = Math.max(widest, sectionMetrics.advanceWidth(items[i].navName))
                    return Math.ceil(Math.min(320, Math.max(230, widest + 44 + 2 * Theme.spacing)))
                }
                Layout.fillHeight: true
                radius: Theme.radius + 2
                color: Theme.surface
                border.color: Theme.border

                ListView {
                    id: sectionList
                    objectName: "settingsSections"
                    anchors.fill: parent
                    anchors.margins: Theme.spacingSmall
                    spacing: 2
                    clip: true
                    focus: true
                    activeFocusOnTab: true
                    keyNavigationEnabled: true
                    model: page.sections.settingsNavItemsList
                    Accessible.role: Accessible.PageTabList
                    Accessible.name: qsTr("Settings sections")
                    Keys.onReturnPressed: page.section = page.sections.settingsNavItemsList[currentIndex].navType
                    Keys.onEnterPressed: page.section = page.sections.settingsNavItemsList[currentIndex].navType
                    delegate: TabButton {
                        id: sectionButton
                        required property var modelData
                        required property int index
                        readonly property bool selected: page.section === modelData.navType
                        objectName: "section_" + modelData.navType
                        width: sectionList.width
                        // Two lines for a name longer than the column, until the column has
                        // widened for it (the layout takes the new width at the next start).
                        implicitHeight: Math.max(40, implicitContentHeight + 12)
                        focusPolicy: Qt.NoFocus
                        hoverEnabled: true
                        text: modelData.navName
                        checked: selected
                        Accessible.name: modelData.navName
                        Accessible.selectable: true
                        Accessible.selected: selected
                        // A page tab lists no press action of its own.
                        Accessible.onPressAction: sectionButton.clicked()
                        background: Rectangle {
                            radius: Theme.radius
                            color: sectionButton.selected ? Theme.accentSoft : (sectionButton.hovered ? Theme.surfaceHover : "transparent")
                            border.width: sectionList.activeFocus && FocusFrames.shown && sectionList.currentIndex === sectionButton.index ? 2 : 0
                            border.color: Theme.focus
                        }
                        contentItem: RowLayout {
                            spacing: Theme.spacing
                            Glyph {
                                Layout.leftMargin: Theme.spacing
                                Layout.preferredWidth: 20
                                glyph: sectionButton.modelData.navIcon
                                color: sectionButton.selected ? Theme.accent : Theme.textMuted
                            }
                            Text {
                                Layout.fillWidth: true
                                Layout.rightMargin: Theme.spacingSmall
                                text: sectionButton.modelData.navName
                                color: Theme.text
                                font.pixelSize: Theme.fontBody
                                font.weight: sectionButton.selected ? Font.DemiBold : Font.Normal
                                wrapMode: Text.Wrap
                                maximumLineCount: 2
                                elide: Text.ElideRight
                            }
                        }
                        onClicked: {
                            sectionList.currentIndex = index
                            page.section = modelData.navType
                        }
                    }
                }
            }

            Rectangle {
                Layout.fillWidth: true
                Layout.fillHeight: true
                radius: Theme.radius + 2
                color: Theme.surface
                border.color: Theme.border

                StackLayout {
                    id: panes
                    anchors.fill: parent
                    anchors.margins: Theme.spacingLarge
                    currentIndex: Math.max(0, page.section)

                    // Units
                    ColumnLayout {
                        objectName: "unitsPane"
                        spacing: Theme.spacing
                        SectionTitle { text: qsTr("Units") }
                        Explanation { text: qsTr("Sizes of labels and signs are shown in these units.") }
                        ButtonGroup { id: unitGroup }
                        Repeater {
                            model: [qsTr("Inches"), qsTr("Centimeters"), qsTr("Millimeters")]
                            delegate: Choice {
                                required property string modelData
                                required property int index
                                objectName: "units_" + index
                                text: modelData
                                ButtonGroup.group: unitGroup
                                checked: page.units === index
                                onClicked: page.setUnits(index)
                            }
                        }
                        Item { Layout.fillHeight: true }
                    }

                    // Language
                    ColumnLayout {
                        objectName: "languagePane"
                        spacing: Theme.spacing
                        SectionTitle { text: qsTr("Language") }
                        Explanation { text: qsTr("The dashboard changes language at once; modules use it when they start next.") }
                        ComboBoxX {
                            id: languageBox
                            objectName: "languageBox"
                            Layout.preferredWidth: 280
                            model: page.languageNamesInThemselves
                            currentIndex: page.languageIndex
                            // A new list of names, after a change of language, puts the box
                            // back on its first entry; it shows the chosen language again.
                            onModelChanged: languageBox.currentIndex = Qt.binding(() => page.languageIndex)
                            Accessible.name: qsTr("Language: %1").arg(displayText)
                            onActivated: (index) => page.setLanguage(index)
                        }
                        Item { Layout.fillHeight: true }
                    }

                    // Appearance
                    ColumnLayout {
                        objectName: "appearancePane"
                        spacing: Theme.spacing
                        SectionTitle { text: qsTr("Appearance") }
                        Explanation { text: qsTr("Choose a light or a dark look for the dashboard.") }
                        ButtonGroup { id: themeGroup }
                        Choice {
                            objectName: "lightTheme"
                            text: qsTr("Light")
                            ButtonGroup.group: themeGroup
                            checked: page.settings.settingAppearance
                            onClicked: page.setDark(false)
                        }
                        Choice {
                            objectName: "darkTheme"
                            text: qsTr("Dark")
                            ButtonGroup.group: themeGroup
                            checked: !page.settings.settingAppearance
                            onClicked: page.setDark(true)
                        }
                        Item { Layout.fillHeight: true }
                    }

                    // Privacy
                    ColumnLayout {
                        objectName: "privacyPane"
                        spacing: Theme.spacing
                        SectionTitle { text: qsTr("Privacy") }
                        Explanation { text: qsTr("Anonymous usage data tells us which features are used. It never contains your labels or files.") }
                        Toggle {
                            objectName: "analyticsSwitch"
                            Layout.fillWidth: true
                            text: qsTr("Send anonymous usage data")
                            checked: page.settings.settingPrivacyAnalytics
                            onToggled: page.setAnalytics(checked)
                        }
                        Toggle {
                            objectName: "hardwareSwitch"
                            Layout.fillWidth: true
                            text: qsTr("Use hardware acceleration (after a restart)")
                            checked: page.settings.settingHardware
                            onToggled: page.setHardware(checked)
                        }
                        Item { Layout.fillHeight: true }
                    }

                    // Cloud
                    ColumnLayout {
                        objectName: "cloudPane"
                        spacing: Theme.spacing
                        SectionTitle { text: qsTr("Cloud") }
                        Explanation { text: qsTr("Labels you mark as favorites in Dropbox, Google Drive or OneDrive folders of the modules are listed on the Cloud page.") }
                        ToolButtonX {
                            objectName: "showCloudButton"
                            glyph: Theme.icons.cloud
                            text: qsTr("Show cloud labels")
                            onClicked: page.showCloud()
                        }
                        Item { Layout.fillHeight: true }
                    }

                    // Reset
                    ColumnLayout {
                        objectName: "resetPane"
                        spacing: Theme.spacing
                        SectionTitle { text: qsTr("Reset Settings") }
                        Explanation { text: qsTr("Units, language, appearance, privacy and hardware acceleration go back to their defaults. Your labels and favorites stay.") }
                        ToolButtonX {
                            objectName: "resetButton"
                            glyph: Theme.icons.restart
                            text: qsTr("Reset settings…")
                            danger: true
                            onClicked: resetDialog.open()
                        }
                        Item { Layout.fillHeight: true }
                    }
                }
            }
        }
    }

    ThemedDialog {
        id: resetDialog
        objectName: "resetDialog"
        parent: Overlay.overlay
        anchors.centerIn: parent
        title: qsTr("Reset all settings?")
        buttons: [
            ToolButtonX {
                objectName: "resetCancelButton"
                text: qsTr("Cancel")
                onClicked: resetDialog.reject()
            },
            ToolButtonX {
                objectName: "resetConfirmButton"
                text: qsTr("Reset")
                primary: true
                onClicked: resetDialog.reset()
            }
        ]
        Text {
            text: qsTr("This cannot be undone.")
            color: Theme.textMuted
            font.pixelSize: Theme.fontBody
            Accessible.role: Accessible.StaticText
            Accessible.name: text
        }
        onReset: {
            page.reset()
            resetDialog.close()
        }
    }
}
