#include "Controllers/recently_viewed_controller.h"

#include "Controllers/file_status.h"

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
    const ViewInstants history = loadFileHistoryInstants();
    closeSettingsFiles();

    const QSet<QString> favorites(favoriteKeys.cbegin(), favoriteKeys.cend());
    m_labelFilesList.reserve(qsizetype(history.size()));
    const FileStatusReader files;
    // In ascending code-unit order of the full paths.
    for (const auto &[path, viewedAt] : history) {
        // A path that does not exist is not a file either.
        const FileStatus status = files.of(path);
        if (!status.isFile || !status.isReadable)
            continue;
        DashboardFileInfoStruct record;
        FileStatus::splitPath(path, &record.filePath, &record.labelFileName);
        record.isWritable = status.isWritable;
        record.type = false;
        record.cloudEnum = DashboardGlobal::LABEL_LOCAL;
        fillFileDates(record, status, viewedAt, now);
        record.isFavorite = favorites.contains(path);
        record.id = int(m_labelFilesList.size());
        m_labelFilesList.append(std::move(record));
    }
    searchLabelFileList();
}
