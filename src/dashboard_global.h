#pragma once

#include "korvexdashboard_export.h"

#include <QMetaType>
#include <QObject>
#include <QString>

// The vocabulary shared by every part of the dashboard and by its QML front end. The
// enumerators' names and values are part of the QML interface, gaps included. Each enum has a
// fixed int base because QML hands any number to slots that take them.
class KORVEXDASHBOARD_EXPORT DashboardGlobal : public QObject
{
    Q_OBJECT

public:
    enum NavigationType : int {
        NAV_NULL = -1,
        NAV_HOME = 0,
        NAV_CLOUD = 1,
        NAV_BACK = 2,
        NAV_PREMADESIGNS = 3,
        NAV_RESOURCES = 10,
        NAV_URL_SUPPORT = 11,
        NAV_URL_LIVECHAT = 12,
        NAV_URL_FEEDBACK = 13,
        NAV_APP = 19,
        NAV_TOOLS = 20,
        NAV_DEBUG = 21,
    };
    Q_ENUM(NavigationType)

    enum LabelLocation : int {
        LABEL_LOCAL = 1,
        LABEL_FAVORITE = 2,
        LABEL_DROPBOX = 3,
        LABEL_GOOGLEDRIVE = 4,
        LABEL_ONEDRIVE = 5,
    };
    Q_ENUM(LabelLocation)

    enum ApplicationType : int {
        APP_NULL = -1,
        APP_LABELDESIGNER = 0,
        APP_PREMADESIGNS = 1,
        APP_ARCFLASH = 2,
        APP_CHEMICAL = 3,
        APP_NFPA = 4,
        APP_PIPEMARKING = 5,
        APP_SYMBOLCREATOR = 6,
        APP_PRINTERMAINTENANCE = 7,
        APP_SETTINGS = 8,
        APP_CALCULATOR = 9,
        APP_CHARACTERMAP = 10,
        APP_DATABASEMANAGER = 11,
        APP_FONTINSTALLER = 12,
        APP_GRAPHICVIEWER = 13,
        APP_PDFVIEWER = 14,
        APP_SPREADSHEETVIEWER = 15,
        // 16 is unused.
        APP_TEXTEDITOR = 17,
        APP_VIDEOPLAYER = 18,
        APP_FIRMWAREDIAGNOSTICS = 19,
        APP_LITERMINAL = 20,
        APP_MACHINEQA = 21,
        APP_QDBUSVIEWER = 22,
        APP_SOFTRESET = 23,
        APP_LABELDESIGNERTEST = 24,
        APP_ALIENBLASTER = 25,
    };
    Q_ENUM(ApplicationType)

    enum SortByType : int {
        LAST_VIEWED_ASCENDING = 0,
        LAST_VIEWED_DESCENDING = 1,
        A_TO_Z = 2,
        Z_TO_A = 3,
        NEWEST = 4,
        OLDEST = 5,
    };
    Q_ENUM(SortByType)

    enum ErrorOnPage : int {
        CLOUD = 1,
        LOCAL = 2,
        FAVORITE = 3,
        RECENTS = 4,
    };
    Q_ENUM(ErrorOnPage)

    enum FileType : int {
        FILE = 0,
        FOLDER = 1,
    };
    Q_ENUM(FileType)

    enum ZoomLevel : int {
        SMALL = 1,
        NORMAL = 2,
        LARGE = 3,
    };
    Q_ENUM(ZoomLevel)

    using QObject::QObject;
};

// One entry of a navigation list, handed to QML by value.
struct KORVEXDASHBOARD_EXPORT NavigationItem
{
    Q_GADGET
    Q_PROPERTY(QString navIcon MEMBER navIcon)
    Q_PROPERTY(QString navName MEMBER navName)
    Q_PROPERTY(QString execName MEMBER execName)
    Q_PROPERTY(int navType MEMBER navType)
    Q_PROPERTY(int navAppType MEMBER navAppType)
    Q_PROPERTY(QString navGenericName MEMBER navGenericName)
    Q_PROPERTY(QString navPackageName MEMBER navPackageName)
    Q_PROPERTY(QString navComment MEMBER navComment)
    Q_PROPERTY(QString tryExec MEMBER tryExec)
    Q_PROPERTY(bool terminal MEMBER terminal)
    Q_PROPERTY(QString categories MEMBER categories)
    Q_PROPERTY(int menuOrder MEMBER menuOrder)
    Q_PROPERTY(QString nameUS MEMBER nameUS)
    Q_PROPERTY(bool selected MEMBER selected)
    Q_PROPERTY(bool loading MEMBER loading)

public:
    QString navIcon;
    QString navName;
    QString execName;
    int navType = 0;
    int navAppType = 0;
    QString navGenericName;
    QString navPackageName;
    QString navComment;
    QString tryExec;
    bool terminal = false;
    QString categories;
    int menuOrder = 0;
    QString nameUS;
    bool selected = false;
    bool loading = false;

    bool operator==(const NavigationItem &other) const;
    bool operator!=(const NavigationItem &other) const { return !(*this == other); }
};

// One tile of the resources page, handed to QML by value.
struct KORVEXDASHBOARD_EXPORT ResourceItem
{
    Q_GADGET
    Q_PROPERTY(QString resImage MEMBER resImage)
    Q_PROPERTY(QString resName MEMBER resName)
    Q_PROPERTY(QString resSubtitle MEMBER resSubtitle)
    Q_PROPERTY(QString resUrl MEMBER resUrl)

public:
    QString resImage;
    QString resName;
    QString resSubtitle;
    QString resUrl;

    bool operator==(const ResourceItem &other) const;
    bool operator!=(const ResourceItem &other) const { return !(*this == other); }
};

Q_DECLARE_METATYPE(NavigationItem)
Q_DECLARE_METATYPE(ResourceItem)
