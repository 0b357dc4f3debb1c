#pragma once

#include "korvexsuite_export.h"

#include <QObject>
#include <QString>

// Names of the dashboard's icons in its icon font (":/Fonts/QVDashboardIcons.ttf", family
// "qvdashboardicons"). Each icon property holds one glyph: a single private-use code point of
// that font. QML and C++ read them by property name.
class KORVEXSUITE_EXPORT QVDashboardIcons : public QObject
{
    Q_OBJECT
    Q_PROPERTY(QString fontFamily MEMBER m_fontFamily CONSTANT)

    // Navigation bar
    Q_PROPERTY(QString home MEMBER m_home CONSTANT)
    Q_PROPERTY(QString sharedLabelsFolder MEMBER m_sharedLabelsFolder CONSTANT)
    Q_PROPERTY(QString labelDesigner MEMBER m_labelDesigner CONSTANT)
    Q_PROPERTY(QString premadeSigns MEMBER m_premadeSigns CONSTANT)
    Q_PROPERTY(QString arcFlash MEMBER m_arcFlash CONSTANT)
    Q_PROPERTY(QString chemical MEMBER m_chemical CONSTANT)
    Q_PROPERTY(QString nfpa MEMBER m_nfpa CONSTANT)
    Q_PROPERTY(QString pipeMarking MEMBER m_pipeMarking CONSTANT)
    Q_PROPERTY(QString symbolCreator MEMBER m_symbolCreator CONSTANT)
    Q_PROPERTY(QString printers MEMBER m_printers CONSTANT)
    Q_PROPERTY(QString resources MEMBER m_resources CONSTANT)
    Q_PROPERTY(QString help MEMBER m_help CONSTANT)
    Q_PROPERTY(QString chat MEMBER m_chat CONSTANT)
    Q_PROPERTY(QString feedback MEMBER m_feedback CONSTANT)

    // Overflow menu
    Q_PROPERTY(QString about MEMBER m_about CONSTANT)
    Q_PROPERTY(QString generalSettings MEMBER m_generalSettings CONSTANT)
    Q_PROPERTY(QString logOut MEMBER m_logOut CONSTANT)

    // Settings page
    Q_PROPERTY(QString tapeRuler MEMBER m_tapeRuler CONSTANT)
    Q_PROPERTY(QString language MEMBER m_language CONSTANT)
    Q_PROPERTY(QString palette MEMBER m_palette CONSTANT)
    Q_PROPERTY(QString shield MEMBER m_shield CONSTANT)
    Q_PROPERTY(QString cloud MEMBER m_cloud CONSTANT)
    Q_PROPERTY(QString restart MEMBER m_restart CONSTANT)

    // File lists and window chrome
    Q_PROPERTY(QString search MEMBER m_search CONSTANT)
    Q_PROPERTY(QString favorite MEMBER m_favorite CONSTANT)
    Q_PROPERTY(QString favoriteOutline MEMBER m_favoriteOutline CONSTANT)
    Q_PROPERTY(QString folder MEMBER m_folder CONSTANT)
    Q_PROPERTY(QString folderOpen MEMBER m_folderOpen CONSTANT)
    Q_PROPERTY(QString file MEMBER m_file CONSTANT)
    Q_PROPERTY(QString back MEMBER m_back CONSTANT)
    Q_PROPERTY(QString close MEMBER m_close CONSTANT)
    Q_PROPERTY(QString meatballs MEMBER m_meatballs CONSTANT)
    Q_PROPERTY(QString download MEMBER m_download CONSTANT)
    Q_PROPERTY(QString externalLink MEMBER m_externalLink CONSTANT)
    Q_PROPERTY(QString recent MEMBER m_recent CONSTANT)
    Q_PROPERTY(QString gridView MEMBER m_gridView CONSTANT)
    Q_PROPERTY(QString listView MEMBER m_listView CONSTANT)
    Q_PROPERTY(QString sort MEMBER m_sort CONSTANT)

public:
    explicit QVDashboardIcons(QObject *parent = nullptr);

private:
    QString m_fontFamily;
    QString m_home;
    QString m_sharedLabelsFolder;
    QString m_labelDesigner;
    QString m_premadeSigns;
    QString m_arcFlash;
    QString m_chemical;
    QString m_nfpa;
    QString m_pipeMarking;
    QString m_symbolCreator;
    QString m_printers;
    QString m_resources;
    QString m_help;
    QString m_chat;
    QString m_feedback;
    QString m_about;
    QString m_generalSettings;
    QString m_logOut;
    QString m_tapeRuler;
    QString m_language;
    QString m_palette;
    QString m_shield;
    QString m_cloud;
    QString m_restart;
    QString m_search;
    QString m_favorite;
    QString m_favoriteOutline;
    QString m_folder;
    QString m_folderOpen;
    QString m_file;
    QString m_back;
    QString m_close;
    QString m_meatballs;
    QString m_download;
    QString m_externalLink;
    QString m_recent;
    QString m_gridView;
    QString m_listView;
    QString m_sort;
};
