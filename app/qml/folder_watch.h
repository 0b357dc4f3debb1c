#pragma once

#include <QFileSystemWatcher>
#include <QObject>
#include <QStringList>
#include <QTimer>
#include <QtQml/qqmlregistration.h>

// Follows folders (or files) on disk for a list that shows them: changed() once a change has
// settled, at most once per delay, however many files a burst touches. A path that does not
// exist (yet, or any more) is followed through its nearest existing parent, so a folder that
// comes back is seen; a folder replaced by a file is followed as that file. While inactive,
// changes are only noted, and changed() comes once on becoming active again.
class FolderWatch : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(QStringList paths READ paths WRITE setPaths NOTIFY pathsChanged)
    Q_PROPERTY(bool active READ isActive WRITE setActive NOTIFY activeChanged)
    Q_PROPERTY(int delay READ delay WRITE setDelay NOTIFY delayChanged)
    // The first path is a folder that can be read.
    Q_PROPERTY(bool exists READ exists NOTIFY existsChanged)

public:
    static constexpr int DEFAULT_DELAY = 400;

    explicit FolderWatch(QObject *parent = nullptr);

    QStringList paths() const { return m_paths; }
    void setPaths(const QStringList &paths);
    bool isActive() const { return m_active; }
    void setActive(bool active);
    int delay() const { return m_timer.interval(); }
    void setDelay(int milliseconds);
    bool exists() const { return m_exists; }
    // What the watcher follows now, for tests.
    QStringList followed() const;

Q_SIGNALS:
    void pathsChanged();
    void activeChanged();
    void delayChanged();
    void existsChanged();
    void changed();

private:
    void arm();
    void noteChange();
    void settle();

    QStringList m_paths;
    bool m_active = true;
    bool m_pending = false;
    bool m_exists = false;
    QFileSystemWatcher m_watcher;
    QTimer m_timer;
};
