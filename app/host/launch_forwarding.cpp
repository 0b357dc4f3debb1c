#include "launch_forwarding.h"

#include <logging/cute_logger.h>

#include <QDataStream>
#include <QDir>
#include <QFileInfo>
#include <QLockFile>
#include <QLoggingCategory>
#include <QLocalServer>
#include <QLocalSocket>
#include <QPointer>
#include <QVariant>
#include <QStandardPaths>

namespace {

Q_LOGGING_CATEGORY(lcLaunch, "korvex.dashboard.launch")

// A request is one QDataStream'd QStringList; the answer one byte.
constexpr quint32 MAGIC = 0x4b585031; // "KXP1"
constexpr qint64 MAX_REQUEST = 1 << 20;
// A local connection is made at once or not at all; a lock is held for as long.
constexpr int CONNECT_TIMEOUT_MS = 1000;
constexpr int LOCK_TIMEOUT_MS = 10000;

} // namespace

LaunchForwarding::LaunchForwarding(const QString &name, QObject *parent)
    : QObject(parent), m_name(name.isEmpty() ? serverName() : name)
{
}

LaunchForwarding::~LaunchForwarding() = default;

QString LaunchForwarding::serverName()
{
    // In the user's runtime folder when there is one, so other users never meet it.
    const QString runtime = QStandardPaths::writableLocation(QStandardPaths::RuntimeLocation);
    const QString base = QStringLiteral("korvex-dashboard");
    return runtime.isEmpty() ? base + QLatin1Char('-') + qEnvironmentVariable("USER")
                             : runtime + QLatin1Char('/') + base;
}

bool LaunchForwarding::handOver(QLocalSocket &socket, const QStringList &files, int timeoutMs)
{
    QByteArray request;
    {
        QDataStream out(&request, QIODevice::WriteOnly);
        out << MAGIC << files;
    }
    QByteArray framed;
    {
        QDataStream out(&framed, QIODevice::WriteOnly);
        out << quint32(request.size());
    }
    socket.write(framed + request);
    if (!socket.waitForBytesWritten(timeoutMs))
        return false;
    // The running dashboard says it took them; one that hangs is not waited for forever.
    return socket.waitForReadyRead(timeoutMs) && socket.read(1) == "1";
}

LaunchForwarding::Start LaunchForwarding::handOverOrListen(const QStringList &files, int answerTimeoutMs)
{
    // Two launches at once would both find nobody and both listen, the second taking the
    // name from the first: the lock makes them decide one after the other.
    const QString lockName = m_name + QStringLiteral(".lock");
    QLockFile lock(QFileInfo(lockName).isAbsolute() ? lockName : QDir::temp().filePath(lockName));
    const bool locked = lock.tryLock(LOCK_TIMEOUT_MS);
    if (!locked)
        KX_DEBUG(lcLaunch, "Launch lock %s not taken (error %d); deciding without it.",
                 qPrintable(lock.fileName()), int(lock.error()));

    QLocalSocket socket;
    socket.connectToServer(m_name);
    if (socket.waitForConnected(CONNECT_TIMEOUT_MS)) {
        // Somebody listens: a dashboard, perhaps still starting; it answers from its event
        // loop. Its socket is never taken from it.
        if (locked)
            lock.unlock();
        if (handOver(socket, files, answerTimeoutMs))
            return Start::HandedOver;
        KX_DEBUG(lcLaunch, "Dashboard Error: a running dashboard did not take the launch within %d ms.",
                 answerTimeoutMs);
        return Start::NoAnswer;
    }
    // Nobody listens: a socket left at the name is a dead dashboard's.
    QLocalServer::removeServer(m_name);
    return listen() ? Start::Listening : Start::Failed;
}

bool LaunchForwarding::listen()
{
    if (m_server)
        return true;
    auto *server = new QLocalServer(this);
    server->setSocketOptions(QLocalServer::UserAccessOption);
    if (!server->listen(m_name)) {
        delete server;
        return false;
    }
    m_server = server;
    connect(m_server, &QLocalServer::newConnection, this, &LaunchForwarding::readConnection);
    return true;
}

void LaunchForwarding::readConnection()
{
    while (QLocalSocket *socket = m_server->nextPendingConnection()) {
        connect(socket, &QLocalSocket::disconnected, socket, &QObject::deleteLater);
        connect(socket, &QLocalSocket::readyRead, this, [this, socket] {
            if (socket->property("done").toBool())
                return;
            if (socket->bytesAvailable() < 4)
                return;
            quint32 size = 0;
            {
                QDataStream in(socket->peek(4));
                in >> size;
            }
            if (size > MAX_REQUEST) {
                socket->abort();
                return;
            }
            if (socket->bytesAvailable() < 4 + qint64(size))
                return;
            socket->read(4);
            QDataStream in(socket->read(size));
            quint32 magic = 0;
            QStringList files;
            in >> magic >> files;
            socket->setProperty("done", true);
            if (in.status() != QDataStream::Ok || magic != MAGIC) {
                socket->write("0");
                socket->disconnectFromServer();
                return;
            }
            socket->write("1");
            socket->flush();
            socket->disconnectFromServer();
            Q_EMIT launched(files);
        });
    }
}
