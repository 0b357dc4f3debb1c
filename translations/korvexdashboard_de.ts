<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="de_DE">
<context>
    <name>DashboardCommonFileController</name>
    <message>
        <source>today</source>
        <extracomment>Under a label file tile: viewed or changed today</extracomment>
        <translation>heute</translation>
    </message>
    <message>
        <source>one day ago</source>
        <extracomment>Under a label file tile: viewed or changed yesterday</extracomment>
        <translation>gestern</translation>
    </message>
    <message>
        <source>%1 days ago</source>
        <extracomment>Under a label file tile; %1 is a number of days from 2 to 6</extracomment>
        <translation>vor %1 Tagen</translation>
    </message>
    <message>
        <source>one week ago</source>
        <extracomment>Under a label file tile: viewed or changed a week ago</extracomment>
        <translation>vor einer Woche</translation>
    </message>
    <message>
        <source>%1 weeks ago</source>
        <extracomment>Under a label file tile; %1 is a number of weeks from 2 to 4</extracomment>
        <translation>vor %1 Wochen</translation>
    </message>
    <message>
        <source>one month ago</source>
        <extracomment>Under a label file tile: viewed or changed a month ago</extracomment>
        <translation>vor einem Monat</translation>
    </message>
    <message>
        <source>%1 months ago</source>
        <extracomment>Under a label file tile; %1 is a number of 30-day months from 2 to 12</extracomment>
        <translation>vor %1 Monaten</translation>
    </message>
    <message>
        <source>one year ago</source>
        <extracomment>Under a label file tile: viewed or changed a year ago</extracomment>
        <translation>vor einem Jahr</translation>
    </message>
    <message>
        <source>%1 years ago</source>
        <extracomment>Under a label file tile; %1 is a number of years, 2 or more</extracomment>
        <translation>vor %1 Jahren</translation>
    </message>
</context>
<context>
    <name>DashboardMain</name>
    <message>
        <source>Home</source>
        <comment>Navigation button to go back home</comment>
        <translation>Startseite</translation>
    </message>
    <message>
        <source>Cloud</source>
        <comment>Navigation button to view cloud saved labels</comment>
        <translation>Cloud</translation>
    </message>
    <message>
        <source>Label Designer</source>
        <comment>Navigation button to open the label designer</comment>
        <translation>Etiketten-Designer</translation>
    </message>
    <message>
        <source>Premade Signs</source>
        <comment>Navigation button to open the pre-made signs application</comment>
        <translation>Fertige Schilder</translation>
    </message>
    <message>
        <source>Arc Flash</source>
        <comment>Navigation button to open the arc flash application</comment>
        <translation>Lichtbogen</translation>
    </message>
    <message>
        <source>Chemical</source>
        <comment>Navigation button to open the chemical application</comment>
        <translation>Chemikalien</translation>
    </message>
    <message>
        <source>NFPA</source>
        <comment>Navigation button to open the nfpa application</comment>
        <translation>NFPA</translation>
    </message>
    <message>
        <source>Pipe Marking</source>
        <comment>Navigation button to open the pipe marking application</comment>
        <translation>Rohrkennzeichnung</translation>
    </message>
    <message>
        <source>Symbol Creator</source>
        <comment>Navigation button to open the symbol creator application</comment>
        <translation>Symbol-Editor</translation>
    </message>
    <message>
        <source>Printers</source>
        <comment>Navigation button to open the printer maintenance application</comment>
        <translation>Drucker</translation>
    </message>
    <message>
        <source>Resources</source>
        <comment>Navigation button to view resources</comment>
        <translation>Ressourcen</translation>
    </message>
    <message>
        <source>Request Support</source>
        <comment>Navigation button to request support</comment>
        <translation>Support anfordern</translation>
    </message>
    <message>
        <source>Live Chat</source>
        <comment>Navigation button to open live chat</comment>
        <translation>Live-Chat</translation>
    </message>
    <message>
        <source>Feedback</source>
        <comment>Navigation button to open feedback form</comment>
        <translation>Feedback</translation>
    </message>
    <message>
        <source>Guides and Downloads</source>
        <translation>Anleitungen und Downloads</translation>
    </message>
    <message>
        <source>Supplies</source>
        <comment>Navigation button to launch a url to re-order supplies</comment>
        <translation>Verbrauchsmaterial</translation>
    </message>
    <message>
        <source>How to Videos</source>
        <comment>Navigation button to launch a url to view how to videos</comment>
        <translation>Anleitungsvideos</translation>
    </message>
</context>
<context>
    <name>MeatballsNavigationModel</name>
    <message>
        <source>About</source>
        <comment>About the software</comment>
        <translation>Über</translation>
    </message>
    <message>
        <source>Settings</source>
        <comment>Settings for the software</comment>
        <translation>Einstellungen</translation>
    </message>
    <message>
        <source>Quit</source>
        <comment>Exit the software</comment>
        <translation>Beenden</translation>
    </message>
</context>
<context>
    <name>QVLocaleLanguages</name>
    <message>
        <source>English</source>
        <translation>Englisch</translation>
    </message>
    <message>
        <source>German</source>
        <translation>Deutsch</translation>
    </message>
    <message>
        <source>French</source>
        <translation>Französisch</translation>
    </message>
    <message>
        <source>Spanish</source>
        <translation>Spanisch</translation>
    </message>
    <message>
        <source>Italian</source>
        <translation>Italienisch</translation>
    </message>
    <message>
        <source>Portuguese (Brazil)</source>
        <translation>Portugiesisch (Brasilien)</translation>
    </message>
    <message>
        <source>Dutch</source>
        <translation>Niederländisch</translation>
    </message>
    <message>
        <source>Polish</source>
        <translation>Polnisch</translation>
    </message>
    <message>
        <source>Swedish</source>
        <translation>Schwedisch</translation>
    </message>
    <message>
        <source>Japanese</source>
        <translation>Japanisch</translation>
    </message>
    <message>
        <source>Chinese (Simplified)</source>
        <translation>Chinesisch (vereinfacht)</translation>
    </message>
    <message>
        <source>Korean</source>
        <translation>Koreanisch</translation>
    </message>
</context>
<context>
    <name>SettingsNavigationModel</name>
    <message>
        <source>Units</source>
        <comment>Units of measurement</comment>
        <translation>Maßeinheiten</translation>
    </message>
    <message>
        <source>Language</source>
        <comment>Language settings</comment>
        <translation>Sprache</translation>
    </message>
    <message>
        <source>Appearance</source>
        <comment>Appearance settings</comment>
        <translation>Darstellung</translation>
    </message>
    <message>
        <source>Privacy</source>
        <comment>Privacy settings</comment>
        <translation>Datenschutz</translation>
    </message>
    <message>
        <source>Cloud</source>
        <comment>Cloud settings</comment>
        <translation>Cloud</translation>
    </message>
    <message>
        <source>Reset Settings</source>
        <comment>Reset settings to default</comment>
        <translation>Einstellungen zurücksetzen</translation>
    </message>
</context>
</TS>
