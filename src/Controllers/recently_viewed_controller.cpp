#include "Controllers/recently_viewed_controller.h"

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
    openSettingsFiles();
    const QStringList favoriteKeys = readFavoriteKeys();
    const QMap<QString, QDateTime> history = loadFileHistoryMap();
    closeSettingsFiles();

    const QSet<QString> favorites(favoriteKeys.cbegin(), favoriteKeys.cend());
    const QDate now = today();
    m_labelFilesList.reserve(history.size());
    // The map iterates in ascending code-unit order of the full paths.
    for (auto it = history.cbegin(); it != history.cend(); ++it) {
        const QFileInfo info(it.key());
        if (!info.exists() || !info.isFile() || !info.isReadable())
            continue;
        DashboardFileInfoStruct record;
        record.labelFileName = info.fileName();
        record.filePath = info.absolutePath();
        record.isWritable = info.isWritable();
        record.type = false;
        record.cloudEnum = DashboardGlobal::LABEL_LOCAL;
        fillFileDates(record, info, it.value(), now);
        record.isFavorite = favorites.contains(it.key());
        record.id = int(m_labelFilesList.size());
        m_labelFilesList.append(record);
    }
    searchLabelFileList();
}
