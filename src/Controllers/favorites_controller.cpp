#include "Controllers/favorites_controller.h"

#include <QDir>
#include <QFileInfo>

FavoritesController::FavoritesController(QObject *parent)
    : DashboardCommonFileController(parent)
{
    m_sortType = DashboardGlobal::A_TO_Z;
}

FavoritesController::~FavoritesController() = default;

QString FavoritesController::cloudFolder(int location)
{
    switch (location) {
    case DashboardGlobal::LABEL_DROPBOX:
        return QDir::tempPath() + QStringLiteral("/Dropbox");
    case DashboardGlobal::LABEL_GOOGLEDRIVE:
        return QDir::tempPath() + QStringLiteral("/GoogleDrive");
    case DashboardGlobal::LABEL_ONEDRIVE:
        return QDir::tempPath() + QStringLiteral("/OneDrive");
    default:
        return QString();
    }
}

void FavoritesController::updateFileLists()
{
    m_labelFilesList.clear();
    openFavoriteSettings();

    const QDate now = today();
    const QStringList localKeys = readFavoriteKeys();
    for (const QString &path : localKeys) {
        const QFileInfo info(path);
        // A favourite whose file is gone stays in the store until the user removes it.
        if (!info.exists())
            continue;
        DashboardFileInfoStruct record;
        record.labelFileName = info.fileName();
        record.filePath = info.absolutePath();
        fillFileDates(record, info, DEFAULT_ACCESS_DATE, now);
        record.isFavorite = true;
        record.cloudEnum = DashboardGlobal::LABEL_LOCAL;
        record.isWritable = true;
        record.type = false;
        record.id = int(m_labelFilesList.size());
        m_labelFilesList.append(record);
    }

    QStringList cloudKeys;
    if (m_dashboardSettings) {
        m_dashboardSettings->beginGroup(QStringLiteral("cloudFavorites"));
        cloudKeys = m_dashboardSettings->allKeys();
        m_dashboardSettings->endGroup();
    }
    for (const QString &key : cloudKeys) {
        if (key.isEmpty())
            continue;
        const QChar location = key.at(0);
        DashboardFileInfoStruct record;
        // Every occurrence of the digit goes, not only the first: 33a3.kxld names a.kxld.
        record.labelFileName = QString(key).remove(location);
        const int cloudEnum = QString(location).toInt();
        record.filePath = cloudFolder(cloudEnum);
        // The dates shown are those of the cloud folder itself.
        fillFileDates(record, QFileInfo(record.filePath), DEFAULT_ACCESS_DATE, now);
        record.isFavorite = true;
        record.cloudEnum = cloudEnum;
        record.id = int(m_labelFilesList.size());
        m_labelFilesList.append(record);
    }

    closeFavoriteSettings();
    searchLabelFileList();
}
