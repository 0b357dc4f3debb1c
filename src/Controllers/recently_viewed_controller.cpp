#include "Controllers/recently_viewed_controller.h"

#include "Controllers/file_status.h"

#include <QFileInfo>
#include <QSet>

RecentlyViewedController::RecentlyViewedController(QObject *parent)
    : DashboardCommonFileController(parent)
{
    m_sortType = DashboardGlobal::A_TO_Z;
    updateFileLists();
}

RecentlyViewedController::~RecentlyViewedController() = default;

void RecentlyViewedController::updateFileLists()
{
    m_labelFilesList.clear();
    m_searchedLabelFilesList.clear();
    const QDate now = today();
    openSettingsFiles();
    const QStringList favoriteKeys = readFavoriteKeys();
    const QMap<QString, qint64> history = loadFileHistoryInstants();
    closeSettingsFiles();

    const QSet<QString> favorites(favoriteKeys.cbegin(), favoriteKeys.cend());
    m_labelFilesList.reserve(history.size());
    // The map iterates in ascending code-unit order of the full paths.
    for (auto it = history.cbegin(); it != history.cend(); ++it) {
        // A path that does not exist is not a file either.
        const FileStatus status = FileStatus::of(it.key());
        if (!status.isFile || !status.isReadable)
            continue;
        const QFileInfo info(it.key());
        DashboardFileInfoStruct record;
        record.labelFileName = info.fileName();
        record.filePath = info.absolutePath();
        record.isWritable = status.isWritable;
        record.type = false;
        record.cloudEnum = DashboardGlobal::LABEL_LOCAL;
        fillFileDates(record, status, it.value(), now);
        record.isFavorite = favorites.contains(it.key());
        record.id = int(m_labelFilesList.size());
        m_labelFilesList.append(record);
    }
    searchLabelFileList();
}
