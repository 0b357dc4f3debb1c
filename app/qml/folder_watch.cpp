#include "folder_watch.h"

#include <QDir>
#include <QFileInfo>
#include <QSet>

namespace {

bool isReadableFolder(const QString &path)
{
    const QFileInfo info(path);
    return !path.isEmpty() && info.isDir() && info.isReadable() && info.isExecutable();
}

} // namespace

FolderWatch::FolderWatch(QObject *parent) : QObject(parent)
{
    m_timer.setSingleShot(true);
    m_timer.setInterval(DEFAULT_DELAY);
    connect(&m_timer, &QTimer::timeout, this, &FolderWatch::settle);
    connect(&m_watcher, &QFileSystemWatcher::directoryChanged, this, &FolderWatch::noteChange);
    connect(&m_watcher, &QFileSystemWatcher::fileChanged, this, &FolderWatch::noteChange);
}

void FolderWatch::setPaths(const QStringList &paths)
{
    if (paths == m_paths)
        return;
    m_paths = paths;
    arm();
    Q_EMIT pathsChanged();
}

void FolderWatch::setActive(bool active)
{
    if (active == m_active)
        return;
    m_active = active;
    Q_EMIT activeChanged();
    if (m_active && m_pending)
        m_timer.start();
}

void FolderWatch::setDelay(int milliseconds)
{
    if (milliseconds == m_timer.interval())
        return;
    m_timer.setInterval(qMax(0, milliseconds));
    Q_EMIT delayChanged();
}

QStringList FolderWatch::followed() const
{
    return m_watcher.directories() + m_watcher.files();
}

void FolderWatch::arm()
{
    QSet<QString> wanted;
    for (const QString &path : std::as_const(m_paths)) {
        if (path.isEmpty())
            continue;
        const QString clean = QDir::cleanPath(QFileInfo(path).absoluteFilePath());
        if (QFileInfo::exists(clean))
            wanted.insert(clean);
        // The parent tells of the path's own removal, renaming and return.
        QString parent = QFileInfo(clean).absolutePath();
        while (!QFileInfo(parent).isDir() && parent != QFileInfo(parent).absolutePath())
            parent = QFileInfo(parent).absolutePath();
        if (QFileInfo(parent).isDir())
            wanted.insert(parent);
    }
    const QStringList current = followed();
    QStringList gone;
    for (const QString &path : current) {
        if (!wanted.contains(path))
            gone << path;
    }
    if (!gone.isEmpty())
        m_watcher.removePaths(gone);
    QStringList added;
    for (const QString &path : std::as_const(wanted)) {
        if (!current.contains(path))
            added << path;
    }
    if (!added.isEmpty())
        m_watcher.addPaths(added); // a path that cannot be watched is left out, not an error
    const bool exists = !m_paths.isEmpty() && isReadableFolder(m_paths.constFirst());
    if (exists != m_exists) {
        m_exists = exists;
        Q_EMIT existsChanged();
    }
}

void FolderWatch::noteChange()
{
    m_pending = true;
    // The first change starts the clock; the ones after it fall into the same read.
    if (m_active && !m_timer.isActive())
        m_timer.start();
}

void FolderWatch::settle()
{
    // A path that was removed, renamed or replaced is followed again where it is now.
    arm();
    if (!m_active)
        return;
    m_pending = false;
    Q_EMIT changed();
}
