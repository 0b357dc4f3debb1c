<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="de_DE">
<context>
    <name>AboutDialog</name>
    <message>
        <source>About Korvex PRO</source>
        <translation>Über Korvex PRO</translation>
    </message>
    <message>
        <source>Installed version: %1</source>
        <translation>Installierte Version: %1</translation>
    </message>
    <message>
        <source>Available version: %1</source>
        <translation>Verfügbare Version: %1</translation>
    </message>
    <message>
        <source>Available version: unknown</source>
        <translation>Verfügbare Version: unbekannt</translation>
    </message>
    <message>
        <source>Available version: %1 (you are up to date)</source>
        <translation>Verfügbare Version: %1 (Sie sind auf dem neuesten Stand)</translation>
    </message>
    <message>
        <source>Licence agreement</source>
        <translation>Lizenzvereinbarung</translation>
    </message>
    <message>
        <source>Licence agreement text</source>
        <translation>Text der Lizenzvereinbarung</translation>
    </message>
    <message>
        <source>Close</source>
        <translation>Schließen</translation>
    </message>
</context>
<context>
    <name>CloudPage</name>
    <message>
        <source>Cloud</source>
        <translation>Cloud</translation>
    </message>
    <message>
        <source>Favorite labels kept in your cloud storage.</source>
        <translation>Favorisierte Etiketten aus Ihrem Cloud-Speicher.</translation>
    </message>
    <message>
        <source>Cloud labels</source>
        <translation>Cloud-Etiketten</translation>
    </message>
    <message>
        <source>No cloud labels from this service</source>
        <translation>Keine Cloud-Etiketten von diesem Dienst</translation>
    </message>
    <message>
        <source>Labels you mark as favorites in a cloud folder of the modules are listed here.</source>
        <translation>Etiketten, die Sie in einem Cloud-Ordner der Module als Favoriten markieren, werden hier aufgeführt.</translation>
    </message>
    <message>
        <source>Cloud services</source>
        <translation>Cloud-Dienste</translation>
    </message>
</context>
<context>
    <name>FileListView</name>
    <message>
        <source>Nothing here yet</source>
        <translation>Noch nichts vorhanden</translation>
    </message>
    <message>
        <source>Labels</source>
        <translation>Etiketten</translation>
    </message>
    <message>
        <source>Loading labels</source>
        <translation>Etiketten werden geladen</translation>
    </message>
    <message>
        <source>Scroll the labels</source>
        <translation>Etiketten blättern</translation>
    </message>
</context>
<context>
    <name>FileRow</name>
    <message>
        <source>Folder %1</source>
        <translation>Ordner %1</translation>
    </message>
    <message>
        <source>%1, viewed %2</source>
        <translation>%1, angesehen %2</translation>
    </message>
    <message>
        <source>Folder</source>
        <translation>Ordner</translation>
    </message>
    <message>
        <source>Remove %1 from favorites</source>
        <translation>%1 aus den Favoriten entfernen</translation>
    </message>
    <message>
        <source>Add %1 to favorites</source>
        <translation>%1 zu den Favoriten hinzufügen</translation>
    </message>
</context>
<context>
    <name>FileTile</name>
    <message>
        <source>Folder %1</source>
        <translation>Ordner %1</translation>
    </message>
    <message>
        <source>%1, viewed %2</source>
        <translation>%1, angesehen %2</translation>
    </message>
    <message>
        <source>Folder</source>
        <translation>Ordner</translation>
    </message>
    <message>
        <source>Remove %1 from favorites</source>
        <translation>%1 aus den Favoriten entfernen</translation>
    </message>
    <message>
        <source>Add %1 to favorites</source>
        <translation>%1 zu den Favoriten hinzufügen</translation>
    </message>
</context>
<context>
    <name>HomePage</name>
    <message>
        <source>My Labels</source>
        <translation>Meine Etiketten</translation>
    </message>
    <message>
        <source>Home</source>
        <translation>Startseite</translation>
    </message>
    <message>
        <source>Open a recent label, browse your label folder or start a module.</source>
        <translation>Öffnen Sie ein zuletzt angesehenes Etikett, durchsuchen Sie Ihren Etikettenordner oder starten Sie ein Modul.</translation>
    </message>
    <message>
        <source>Premade safety signs</source>
        <translation>Fertige Sicherheitsschilder</translation>
    </message>
    <message>
        <source>Start from a ready-made sign and adapt it to your site.</source>
        <translation>Beginnen Sie mit einem fertigen Schild und passen Sie es an Ihren Standort an.</translation>
    </message>
    <message>
        <source>Browse signs</source>
        <translation>Schilder durchsuchen</translation>
    </message>
    <message>
        <source>Guides and videos</source>
        <translation>Anleitungen und Videos</translation>
    </message>
    <message>
        <source>Printer guides, supplies and how-to videos in one place.</source>
        <translation>Druckeranleitungen, Verbrauchsmaterial und Anleitungsvideos an einem Ort.</translation>
    </message>
    <message>
        <source>See resources</source>
        <translation>Ressourcen ansehen</translation>
    </message>
    <message>
        <source>Recently viewed</source>
        <translation>Zuletzt angesehen</translation>
    </message>
    <message>
        <source>Favorites</source>
        <translation>Favoriten</translation>
    </message>
    <message>
        <source>Small tiles</source>
        <translation>Kleine Kacheln</translation>
    </message>
    <message>
        <source>Medium tiles</source>
        <translation>Mittelgroße Kacheln</translation>
    </message>
    <message>
        <source>Large tiles</source>
        <translation>Große Kacheln</translation>
    </message>
    <message>
        <source>Show as tiles</source>
        <translation>Als Kacheln anzeigen</translation>
    </message>
    <message>
        <source>Show as rows</source>
        <translation>Als Liste anzeigen</translation>
    </message>
    <message>
        <source>Search labels</source>
        <translation>Etiketten suchen</translation>
    </message>
    <message>
        <source>Recently viewed first</source>
        <translation>Zuletzt angesehene zuerst</translation>
    </message>
    <message>
        <source>Recently viewed last</source>
        <translation>Zuletzt angesehene zuletzt</translation>
    </message>
    <message>
        <source>Name A to Z</source>
        <translation>Name A bis Z</translation>
    </message>
    <message>
        <source>Name Z to A</source>
        <translation>Name Z bis A</translation>
    </message>
    <message>
        <source>Newest first</source>
        <translation>Neueste zuerst</translation>
    </message>
    <message>
        <source>Oldest first</source>
        <translation>Älteste zuerst</translation>
    </message>
    <message>
        <source>Up one folder</source>
        <translation>Eine Ordnerebene nach oben</translation>
    </message>
    <message>
        <source>Go to %1</source>
        <translation>Zu %1 wechseln</translation>
    </message>
    <message>
        <source>Open in file browser</source>
        <translation>Im Dateimanager öffnen</translation>
    </message>
    <message>
        <source>Open the folder in the file browser</source>
        <translation>Den Ordner im Dateimanager öffnen</translation>
    </message>
    <message>
        <source>No recently viewed label matches your search</source>
        <translation>Kein zuletzt angesehenes Etikett entspricht Ihrer Suche</translation>
    </message>
    <message>
        <source>No recently viewed labels</source>
        <translation>Keine zuletzt angesehenen Etiketten</translation>
    </message>
    <message>
        <source>Labels you open in a module are listed here.</source>
        <translation>Etiketten, die Sie in einem Modul öffnen, werden hier aufgeführt.</translation>
    </message>
    <message>
        <source>No label in this folder matches your search</source>
        <translation>Kein Etikett in diesem Ordner entspricht Ihrer Suche</translation>
    </message>
    <message>
        <source>This folder has no labels yet</source>
        <translation>Dieser Ordner enthält noch keine Etiketten</translation>
    </message>
    <message>
        <source>Labels saved to %1 are listed here.</source>
        <translation>In %1 gespeicherte Etiketten werden hier aufgeführt.</translation>
    </message>
    <message>
        <source>The label folder cannot be found</source>
        <translation>Der Etikettenordner wurde nicht gefunden</translation>
    </message>
    <message>
        <source>%1 does not exist or cannot be read. Labels are listed again once it is back.</source>
        <translation>%1 existiert nicht oder kann nicht gelesen werden. Die Etiketten werden wieder aufgeführt, sobald der Ordner verfügbar ist.</translation>
    </message>
    <message>
        <source>No favorites yet</source>
        <translation>Noch keine Favoriten</translation>
    </message>
    <message>
        <source>Mark a label with the star to keep it here.</source>
        <translation>Markieren Sie ein Etikett mit dem Stern, um es hier abzulegen.</translation>
    </message>
    <message>
        <source>Label lists</source>
        <translation>Etikettenlisten</translation>
    </message>
    <message>
        <source>Tile size</source>
        <translation>Kachelgröße</translation>
    </message>
    <message>
        <source>View</source>
        <translation>Ansicht</translation>
    </message>
    <message>
        <source>1 label</source>
        <translation>1 Etikett</translation>
    </message>
    <message>
        <source>%1 labels</source>
        <translation>%1 Etiketten</translation>
    </message>
    <message>
        <source>Sort by: %1</source>
        <translation>Sortieren nach: %1</translation>
    </message>
</context>
<context>
    <name>Main</name>
    <message>
        <source>Korvex PRO %1 is available. You have %2.</source>
        <translation>Korvex PRO %1 ist verfügbar. Installiert ist %2.</translation>
    </message>
    <message>
        <source>Update now</source>
        <translation>Jetzt aktualisieren</translation>
    </message>
    <message>
        <source>New firmware is available for %1.</source>
        <translation>Für %1 ist neue Firmware verfügbar.</translation>
    </message>
    <message>
        <source>New firmware is available for a connected printer.</source>
        <translation>Für einen angeschlossenen Drucker ist neue Firmware verfügbar.</translation>
    </message>
    <message>
        <source>Open printer maintenance</source>
        <translation>Druckerwartung öffnen</translation>
    </message>
    <message>
        <source>Dashboard</source>
        <translation>Dashboard</translation>
    </message>
    <message>
        <source>Back to the dashboard</source>
        <translation>Zurück zum Dashboard</translation>
    </message>
    <message>
        <source>Close %1</source>
        <translation>%1 schließen</translation>
    </message>
    <message>
        <source>%1 is running</source>
        <translation>%1 wird ausgeführt</translation>
    </message>
    <message>
        <source>Modules open in their own windows on this desktop.</source>
        <translation>Module öffnen sich auf diesem Desktop in eigenen Fenstern.</translation>
    </message>
    <message>
        <source>%1 stopped unexpectedly.</source>
        <translation>%1 wurde unerwartet beendet.</translation>
    </message>
    <message>
        <source>Start again</source>
        <translation>Erneut starten</translation>
    </message>
    <message>
        <source>%1 could not be opened: no program on this computer opens it.</source>
        <translation>%1 konnte nicht geöffnet werden: Kein Programm auf diesem Computer öffnet es.</translation>
    </message>
    <message>
        <source>%1 — %2</source>
        <translation>%1 — %2</translation>
    </message>
</context>
<context>
    <name>ModuleHost</name>
    <message>
        <source>%1 started, but its window could not be shown.</source>
        <translation>%1 wurde gestartet, aber das Fenster konnte nicht angezeigt werden.</translation>
    </message>
    <message>
        <source>%1 could not be placed in the dashboard; it runs in a window of its own.</source>
        <translation>%1 konnte nicht in das Dashboard eingebettet werden; es läuft in einem eigenen Fenster.</translation>
    </message>
</context>
<context>
    <name>ModuleRegistry</name>
    <message>
        <source>%1 cannot start: its program %2 is not installed.</source>
        <translation>%1 kann nicht gestartet werden: Das Programm %2 ist nicht installiert.</translation>
    </message>
    <message>
        <source>%1 could not be started.</source>
        <translation>%1 konnte nicht gestartet werden.</translation>
    </message>
    <message>
        <source>%1 did not start: its window did not appear within %2 seconds.</source>
        <translation>%1 wurde nicht gestartet: Das Fenster ist nicht innerhalb von %2 Sekunden erschienen.</translation>
    </message>
    <message>
        <source>%1 did not start: it ended before its window appeared.</source>
        <translation>%1 wurde nicht gestartet: Das Programm wurde beendet, bevor sein Fenster erschien.</translation>
    </message>
    <message>
        <source>%1 (process %2)</source>
        <translation>%1 (Prozess %2)</translation>
    </message>
</context>
<context>
    <name>NavButton</name>
    <message>
        <source>Starting</source>
        <translation>Wird gestartet</translation>
    </message>
    <message>
        <source>Running</source>
        <translation>Wird ausgeführt</translation>
    </message>
    <message>
        <source>Starting %1</source>
        <translation>%1 wird gestartet</translation>
    </message>
</context>
<context>
    <name>NavigationBar</name>
    <message>
        <source>Modules</source>
        <translation>Module</translation>
    </message>
    <message>
        <source>Help and resources</source>
        <translation>Hilfe und Ressourcen</translation>
    </message>
    <message>
        <source>More</source>
        <translation>Mehr</translation>
    </message>
    <message>
        <source>Scroll the side bar</source>
        <translation>Seitenleiste blättern</translation>
    </message>
</context>
<context>
    <name>NoticeBar</name>
    <message>
        <source>Dismiss</source>
        <translation>Ausblenden</translation>
    </message>
</context>
<context>
    <name>QuitQuestion</name>
    <message>
        <source>Modules are still open</source>
        <translation>Module sind noch geöffnet</translation>
    </message>
    <message numerus="yes">
        <source>These modules did not close within %n second(s). They may be asking about unsaved changes.</source>
        <translation>
            <numerusform>Diese Module wurden nicht innerhalb von %n Sekunde geschlossen. Vielleicht fragen sie nach ungespeicherten Änderungen.</numerusform>
            <numerusform>Diese Module wurden nicht innerhalb von %n Sekunden geschlossen. Vielleicht fragen sie nach ungespeicherten Änderungen.</numerusform>
        </translation>
    </message>
    <message>
        <source>Go back to answer them, or quit and leave them running on their own.</source>
        <translation>Gehen Sie zurück, um ihre Fragen zu beantworten, oder beenden Sie und lassen Sie sie eigenständig weiterlaufen.</translation>
    </message>
    <message>
        <source>Quit and leave them running</source>
        <translation>Beenden und weiterlaufen lassen</translation>
    </message>
    <message>
        <source>Go back</source>
        <translation>Zurück</translation>
    </message>
</context>
<context>
    <name>ResourcesPage</name>
    <message>
        <source>Resources</source>
        <translation>Ressourcen</translation>
    </message>
    <message>
        <source>Supplies, guides and downloads for your printers, and how-to videos.</source>
        <translation>Verbrauchsmaterial, Anleitungen und Downloads für Ihre Drucker sowie Anleitungsvideos.</translation>
    </message>
    <message>
        <source>Premade safety signs</source>
        <translation>Fertige Sicherheitsschilder</translation>
    </message>
    <message>
        <source>Hundreds of compliant signs, ready to print on your supplies.</source>
        <translation>Hunderte normgerechter Schilder, bereit zum Druck auf Ihrem Verbrauchsmaterial.</translation>
    </message>
    <message>
        <source>Browse signs</source>
        <translation>Schilder durchsuchen</translation>
    </message>
    <message>
        <source>Scroll the resources</source>
        <translation>Ressourcen blättern</translation>
    </message>
</context>
<context>
    <name>SettingsPage</name>
    <message>
        <source>Settings</source>
        <translation>Einstellungen</translation>
    </message>
    <message>
        <source>Settings sections</source>
        <translation>Bereiche der Einstellungen</translation>
    </message>
    <message>
        <source>Units</source>
        <translation>Maßeinheiten</translation>
    </message>
    <message>
        <source>Sizes of labels and signs are shown in these units.</source>
        <translation>Größen von Etiketten und Schildern werden in diesen Einheiten angezeigt.</translation>
    </message>
    <message>
        <source>Inches</source>
        <translation>Zoll</translation>
    </message>
    <message>
        <source>Centimeters</source>
        <translation>Zentimeter</translation>
    </message>
    <message>
        <source>Millimeters</source>
        <translation>Millimeter</translation>
    </message>
    <message>
        <source>Language</source>
        <translation>Sprache</translation>
    </message>
    <message>
        <source>The dashboard changes language at once; modules use it when they start next.</source>
        <translation>Das Dashboard wechselt die Sprache sofort; Module übernehmen sie beim nächsten Start.</translation>
    </message>
    <message>
        <source>Appearance</source>
        <translation>Darstellung</translation>
    </message>
    <message>
        <source>Choose a light or a dark look for the dashboard.</source>
        <translation>Wählen Sie eine helle oder dunkle Darstellung für das Dashboard.</translation>
    </message>
    <message>
        <source>Light</source>
        <translation>Hell</translation>
    </message>
    <message>
        <source>Dark</source>
        <translation>Dunkel</translation>
    </message>
    <message>
        <source>Privacy</source>
        <translation>Datenschutz</translation>
    </message>
    <message>
        <source>Anonymous usage data tells us which features are used. It never contains your labels or files.</source>
        <translation>Anonyme Nutzungsdaten zeigen uns, welche Funktionen verwendet werden. Sie enthalten niemals Ihre Etiketten oder Dateien.</translation>
    </message>
    <message>
        <source>Send anonymous usage data</source>
        <translation>Anonyme Nutzungsdaten senden</translation>
    </message>
    <message>
        <source>Use hardware acceleration (after a restart)</source>
        <translation>Hardwarebeschleunigung verwenden (nach einem Neustart)</translation>
    </message>
    <message>
        <source>Cloud</source>
        <translation>Cloud</translation>
    </message>
    <message>
        <source>Labels you mark as favorites in Dropbox, Google Drive or OneDrive folders of the modules are listed on the Cloud page.</source>
        <translation>Etiketten, die Sie in Dropbox-, Google-Drive- oder OneDrive-Ordnern der Module als Favoriten markieren, werden auf der Seite „Cloud“ aufgeführt.</translation>
    </message>
    <message>
        <source>Show cloud labels</source>
        <translation>Cloud-Etiketten anzeigen</translation>
    </message>
    <message>
        <source>Reset Settings</source>
        <translation>Einstellungen zurücksetzen</translation>
    </message>
    <message>
        <source>Units, language, appearance, privacy and hardware acceleration go back to their defaults. Your labels and favorites stay.</source>
        <translation>Maßeinheiten, Sprache, Darstellung, Datenschutz und Hardwarebeschleunigung werden auf die Standardwerte zurückgesetzt. Ihre Etiketten und Favoriten bleiben erhalten.</translation>
    </message>
    <message>
        <source>Reset settings…</source>
        <translation>Einstellungen zurücksetzen …</translation>
    </message>
    <message>
        <source>Reset all settings?</source>
        <translation>Alle Einstellungen zurücksetzen?</translation>
    </message>
    <message>
        <source>This cannot be undone.</source>
        <translation>Dies kann nicht rückgängig gemacht werden.</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>Abbrechen</translation>
    </message>
    <message>
        <source>Reset</source>
        <translation>Zurücksetzen</translation>
    </message>
    <message>
        <source>Language: %1</source>
        <translation>Sprache: %1</translation>
    </message>
</context>
</TS>
