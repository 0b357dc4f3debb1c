#pragma once

#include "Controllers/dashboard_file_info_struct.h"
#include "dashboard_global.h"
#include "korvexdashboard_export.h"

#include <QDateTime>
#include <QHash>
#include <QList>
#include <QMap>
#include <QObject>
#include <QSettings>
#include <QString>
#include <QStringList>

#include <functional>
#include <limits>
#include <memory>
#include <utility>
#include <vector>

class LocalTimes;
struct FileStatus;
class QFileInfo;

// Base of the label file lists that QML shows (My Labels, Recently viewed, Favorites): the
// full list a subclass fills, the searched and sorted list QML displays, favourites and
// opening a label in its module.
class KORVEXDASHBOARD_EXPORT DashboardCommonFileController : public QObject
{
    Q_OBJECT

public:
    // "Now" for the time-since texts; tests replace it to pin day boundaries.
    using Clock = std::function<QDateTime()>;

    // Marks a file that no module has recorded as viewed.
    static const QDateTime DEFAULT_ACCESS_DATE;
    static const QString ORGANIZATION_NAME;
    static const QString HISTORY_DATE_FORMAT;

    explicit DashboardCommonFileController(QObject *parent = nullptr);
    ~DashboardCommonFileController() override;

    void setClock(Clock clock);
    Clock clock() const { return m_clock; }
    QDateTime currentDateTime() const;

    // Each operation that touches a store opens it first and destroys it at its end, which
    // writes it out; nothing stays open between operations. A store whose file holds a
    // value nested too deeply to decode safely is left closed (null) and logged.
    void openSettingsFiles();
    void closeSettingsFiles();
    void openFavoriteSettings();
    void closeFavoriteSettings();

    QMap<QString, QDateTime> getFileHistoryMap(const QList<std::pair<QString, QString>> &history) const;
    QString calculateTimeSince(const QDateTime &date) const;
    QString adjustDaysSinceModified(int days) const;

Q_SIGNALS:
    void recentlyViewedLabelsListFilled();
    void updateAllButtons();
    void launchLabelInModule(DashboardGlobal::ApplicationType applicationType, QString filePath);
    void listSorted();
    void favoriteChanged();

public Q_SLOTS:
    virtual void updateFileLists() = 0;
    QList<DashboardFileInfoStruct> getSearchedLabelFilesList();
    void setSortType(DashboardGlobal::SortByType sortSettings);
    virtual void searchLabelFileList();
    virtual void sortLabelFilesList();
    DashboardGlobal::SortByType getSortType();
    void openLabel(int labelIndex);
    bool setFavorite(bool currentValue, int id);
    void removeFavorite(bool current, QString filePath, int cloudService);
    QString getSearchString();
    void setSearchString(QString searchString);
    void consoleLog(QString message);

protected:
    // The merged view history of the six stores, newest view per path; stores must be open.
    QMap<QString, QDateTime> loadFileHistoryMap() const;
    // The same merge as loadFileHistoryMap, with each date as milliseconds since the epoch
    // (INVALID_VIEW for a text that does not parse), in the map's order (ascending code units
    // of the paths); stores must be open.
    using ViewInstants = std::vector<std::pair<QString, qint64>>;
    ViewInstants loadFileHistoryInstants() const;
    static constexpr qint64 INVALID_VIEW = std::numeric_limits<qint64>::min();
    // Full paths of the local favourites; the dashboard store must be open.
    QStringList readFavoriteKeys() const;
    // Dates and time-since texts of a record from the file system, with accessDate taken
    // from the history when a module recorded a view.
    // today is the clock's local date, taken once per list.
    void fillFileDates(DashboardFileInfoStruct &record, const QFileInfo &info,
                       const QDateTime &viewedAt, const QDate &today) const;
    // The same from a file's status, with the view as an instant from
    // loadFileHistoryInstants.
    void fillFileDates(DashboardFileInfoStruct &record, const FileStatus &status,
                       qint64 viewedAt, const QDate &today) const;
    // Also starts a new list: local times are converted afresh from here on.
    QDate today() const;
    QString timeSince(const QDateTime &date, const QDate &today) const;
    // A store of the given program, or null when its file is not safe to parse.
    std::unique_ptr<QSettings> openCheckedStore(const QString &applicationName) const;
    // Writes the store out; logs it and returns false when it could not be written.
    bool checkWritten(QSettings *settings, const char *what) const;

    QList<DashboardFileInfoStruct> m_labelFilesList;
    QList<DashboardFileInfoStruct> m_searchedLabelFilesList;
    DashboardGlobal::SortByType m_sortType = DashboardGlobal::A_TO_Z;
    QString m_searchString;
    QString m_rootFolder;

    std::unique_ptr<QSettings> m_dashboardSettings;
    std::unique_ptr<QSettings> m_labelEditorSettings;
    std::unique_ptr<QSettings> m_pipeMarkingSettings;
    std::unique_ptr<QSettings> m_arcFlashSettings;
    std::unique_ptr<QSettings> m_ghsSettings;
    std::unique_ptr<QSettings> m_nfpaSettings;

private:
    QDateTime toUtc(const QDateTime &local) const;

    Clock m_clock;
    std::unique_ptr<LocalTimes> m_localTimes;
    // The time-since text of each day count met in the current list.
    mutable QHash<int, QString> m_timeSinceTexts;
};
