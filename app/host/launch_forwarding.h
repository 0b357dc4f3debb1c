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

    // Listens for later launches; false when the name cannot be taken. It may replace a
    // socket another dashboard listens on: handOverOrListen calls it only when nobody does.
    bool listen();

    enum class Start {
        HandedOver, // a running dashboard took the files
        Listening,  // nobody runs: this launch is the dashboard and listens
        NoAnswer,   // one is listening but did not answer in time: no second one starts
        Failed,     // the name could not be taken
    };
    // What a launch does with its files (absolute paths; none to only bring the running
    // dashboard to the front), decided by one launch at a time: a dashboard listening (even one
    // still starting, whose answer may take a while) gets the files; otherwise a socket left
    // by a dead dashboard is removed and this one listens.
    Start handOverOrListen(const QStringList &files, int answerTimeoutMs);

Q_SIGNALS:
    // A later launch asked: bring the window to the front and open these files.
    void launched(const QStringList &files);

private:
    void readConnection();
    // Sends the request on a connected socket and waits for the answer.
    static bool handOver(class QLocalSocket &socket, const QStringList &files, int timeoutMs);

    QString m_name;
    QLocalServer *m_server = nullptr;
};
