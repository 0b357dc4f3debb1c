#pragma once

#include <QObject>
#include <QString>
#include <QStringList>

class QLocalServer;

// One dashboard per user session: a second launch hands its label files to the running one,
// which comes to the front and opens them, and then ends. The running dashboard listens on a
// local socket named for the user; a launch that finds nobody listening (or a socket left by
// a dashboard that died) listens itself.
class LaunchForwarding : public QObject
{
    Q_OBJECT

public:
    // name: the socket's name; serverName() when empty.
    explicit LaunchForwarding(const QString &name = QString(), QObject *parent = nullptr);
    ~LaunchForwarding() override;

    // The socket name of this user's dashboard.
    static QString serverName();

    // Hands the files (absolute paths; none to only bring it to the front) to a running
    // dashboard; true when one took them.
    bool forward(const QStringList &files, int timeoutMs = 3000);
    // Listens for later launches; false when the name cannot be taken.
    bool listen();

Q_SIGNALS:
    // A later launch asked: bring the window to the front and open these files.
    void launched(const QStringList &files);

private:
    void readConnection();

    QString m_name;
    QLocalServer *m_server = nullptr;
};
