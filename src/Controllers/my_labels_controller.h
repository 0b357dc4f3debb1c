#pragma once

#include "Controllers/dashboard_common_file_controller.h"
#include "korvexdashboard_export.h"

#include <QSet>

class QFileInfo;

// Browses the shared label folder one directory at a time, and searches its tree.
class KORVEXDASHBOARD_EXPORT MyLabelsController : public DashboardCommonFileController
{
    Q_OBJECT

public:
    explicit MyLabelsController(QObject *parent = nullptr);
    ~MyLabelsController() override;

    void ensureDefaultDirExists();
    void parseDirectory(QString dir);
    void readFileHistoryMap();
    bool IsLabelInList(QString path);

    // The shared label folder under the platform's root.
    QString defaultRootFolder() const;

    // A folder's lists as updateFileLists() builds them (file details, view dates and time
    // texts), made without touching any controller, so that a big folder can be read on a
    // worker thread; updateFileLists(listing) then takes them on the controller's own.
    struct FolderListing
    {
        QString folder;
        QList<DashboardFileInfoStruct> files;
        QList<DashboardFileInfoStruct> folders;
        QMap<QString, QDateTime> history; // the views the dates came from
    };
    static FolderListing readFolder(const QString &folder, const Clock &clock);
    // A listing of any other folder than the current one (the user moved on while it was
    // read) is refused: false, and nothing changes. Favourites are taken as they are now, as
    // one may have changed while the folder was read.
    bool updateFileLists(const FolderListing &listing);

public Q_SLOTS:
    void updateFileLists() override;
    void searchLabelFileList() override;
    void enterFolder(QString folder);
    QString exitFolder(QString path);
    void prependFolders();
    QString getCurrentFolder();
    void setRootFolder(QString folder);

protected:
    // platformRootPath stands for the file system root ("C:/", "/"), with its final "/";
    // tests give a temporary folder so the default folder's creation can be checked.
    explicit MyLabelsController(const QString &platformRootPath, QObject *parent = nullptr);

private:
    DashboardFileInfoStruct buildRecord(const QFileInfo &info);
    // The folder's lists from disk, with the view dates and favourites they carry; the
    // searched list is left empty.
    void readLists(const QString &folder);
    // Favourites from the dashboard's store, which must be open.
    void takeFavoriteKeys();
    void walkForMatches(const QString &dir, const QString &lowerTerm);
    void appendSearched(const DashboardFileInfoStruct &record);

    QStringList m_suffixList;
    QMap<QString, QDateTime> m_fileHistoryMap;
    QStringList m_favoriteKeys;
    int m_idCounter = 0;
    QString m_currentFolder;
    QList<DashboardFileInfoStruct> m_folderList;

    QString m_platformRootPath;
    QDate m_today; // the clock's date while a list is built
    QSet<QString> m_favoriteKeySet;
    // Directories that already have a record in the searched list, during a search.
    QSet<QString> m_searchedDirectories;
};
