#include "launch_forwarding.h"

#include <QFile>
#include <QLocalServer>
#include <QLocalSocket>
#include <QSemaphore>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QtTest>

class tst_LaunchForwarding : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();

    void firstLaunchFindsNobody();
    void secondLaunchHandsOverItsFiles_data();
    void secondLaunchHandsOverItsFiles();
    void socketOfADeadDashboardIsTakenOver();
    void launchWhileTheFirstStillStartsNeverTakesItsPlace();
    void simultaneousFirstLaunchesMakeOneDashboard();
    void garbageIsRefused();
    void oversizedRequestIsDropped();

private:
    std::unique_ptr<QTemporaryDir> m_dir;
    QString m_name;
};

void tst_LaunchForwarding::init()
{
    m_dir = std::make_unique<QTemporaryDir>();
    QVERIFY(m_dir->isValid());
    m_name = m_dir->filePath(QStringLiteral("dashboard.socket"));
}

void tst_LaunchForwarding::firstLaunchFindsNobody()
{
    LaunchForwarding first(m_name);
    QCOMPARE(first.handOverOrListen({ QStringLiteral("/labels/a.kxld") }, 1000), LaunchForwarding::Start::Listening);
    // A later launch finds it.
    LaunchForwarding later(m_name);
    QCOMPARE(later.handOverOrListen({}, 300), LaunchForwarding::Start::NoAnswer);
}

void tst_LaunchForwarding::secondLaunchHandsOverItsFiles_data()
{
    QTest::addColumn<QStringList>("files");
    QTest::newRow("none: to the front only") << QStringList();
    QTest::newRow("one") << QStringList{ QStringLiteral("/labels/Plan A.kxld") };
    QTest::newRow("two, not ASCII") << QStringList{ QStringLiteral("/labels/Über.kxld"), QStringLiteral("/labels/b.kxpm") };
}

void tst_LaunchForwarding::secondLaunchHandsOverItsFiles()
{
    QFETCH(QStringList, files);
    LaunchForwarding running(m_name);
    QVERIFY(running.listen());
    QSignalSpy launched(&running, &LaunchForwarding::launched);
    // The second launch blocks on its socket; the running one answers from its event loop,
    // so the second runs in a thread of its own here.
    bool handedOver = false;
    QThread *second = QThread::create([&] {
        LaunchForwarding launch(m_name);
        handedOver = launch.handOverOrListen(files, 10000) == LaunchForwarding::Start::HandedOver;
    });
    second->start();
    QTRY_COMPARE(launched.count(), 1);
    QVERIFY(second->wait(15000));
    delete second;
    QVERIFY(handedOver);
    QCOMPARE(launched.at(0).at(0).toStringList(), files);
}

void tst_LaunchForwarding::socketOfADeadDashboardIsTakenOver()
{
    // A file left at the socket's place that nobody listens on, as a killed dashboard
    // leaves its socket.
    QFile stale(m_name);
    QVERIFY(stale.open(QIODevice::WriteOnly));
    stale.close();
    LaunchForwarding next(m_name);
    QCOMPARE(next.handOverOrListen({}, 1000), LaunchForwarding::Start::Listening);
}

void tst_LaunchForwarding::launchWhileTheFirstStillStartsNeverTakesItsPlace()
{
    // The first dashboard listens but is still starting: its event loop does not run until
    // the second launch has given up waiting.
    LaunchForwarding first(m_name);
    QVERIFY(first.listen());
    QSignalSpy launched(&first, &LaunchForwarding::launched);
    LaunchForwarding::Start outcome = LaunchForwarding::Start::Failed;
    QThread *second = QThread::create([&] {
        LaunchForwarding launch(m_name);
        outcome = launch.handOverOrListen({ QStringLiteral("/labels/a.kxld") }, 300);
    });
    second->start();
    QVERIFY(second->wait(30000));
    delete second;
    QCOMPARE(outcome, LaunchForwarding::Start::NoAnswer);

    // The first one still owns its name: once started, it takes the next launch.
    bool handedOver = false;
    QThread *third = QThread::create([&] {
        LaunchForwarding launch(m_name);
        handedOver = launch.handOverOrListen({ QStringLiteral("/labels/b.kxld") }, 10000)
                == LaunchForwarding::Start::HandedOver;
    });
    third->start();
    QTRY_COMPARE(launched.count(), 2);
    QVERIFY(third->wait(15000));
    delete third;
    QVERIFY(handedOver);
    // The request of the launch that gave up was read too, once the first one ran.
    QCOMPARE(launched.at(1).at(0).toStringList(), QStringList{ QStringLiteral("/labels/b.kxld") });
}

void tst_LaunchForwarding::simultaneousFirstLaunchesMakeOneDashboard()
{
    // Launches started together with nobody running: one becomes the dashboard, the others
    // find it, and none takes its name. Each keeps what it made until all have decided.
    constexpr int LAUNCHES = 4;
    QSemaphore decided;
    QSemaphore finish;
    QList<LaunchForwarding::Start> outcomes(LAUNCHES, LaunchForwarding::Start::Failed);
    QList<QThread *> launches;
    for (int i = 0; i < LAUNCHES; ++i) {
        launches << QThread::create([&, i] {
            LaunchForwarding launch(m_name);
            outcomes[i] = launch.handOverOrListen({}, 300);
            decided.release();
            finish.acquire();
        });
    }
    for (QThread *launch : launches)
        launch->start();
    QVERIFY(decided.tryAcquire(LAUNCHES, 60000));
    finish.release(LAUNCHES);
    for (QThread *launch : launches) {
        QVERIFY(launch->wait(15000));
        delete launch;
    }
    QCOMPARE(outcomes.count(LaunchForwarding::Start::Listening), 1);
    // The dashboard's thread runs no event loop, so the others wait in vain, and say so.
    QCOMPARE(outcomes.count(LaunchForwarding::Start::NoAnswer), LAUNCHES - 1);
}

void tst_LaunchForwarding::garbageIsRefused()
{
    LaunchForwarding running(m_name);
    QVERIFY(running.listen());
    QSignalSpy launched(&running, &LaunchForwarding::launched);
    QByteArray answer;
    QThread *sender = QThread::create([&] {
        QLocalSocket socket;
        socket.connectToServer(m_name);
        if (!socket.waitForConnected(5000))
            return;
        socket.write(QByteArray("\x00\x00\x00\x04" "junk", 8));
        socket.waitForBytesWritten(5000);
        if (socket.waitForReadyRead(10000))
            answer = socket.readAll();
    });
    sender->start();
    QTRY_VERIFY(sender->isFinished());
    QVERIFY(sender->wait());
    delete sender;
    QCOMPARE(answer, QByteArray("0"));
    QCOMPARE(launched.count(), 0);
}

void tst_LaunchForwarding::oversizedRequestIsDropped()
{
    LaunchForwarding running(m_name);
    QVERIFY(running.listen());
    QSignalSpy launched(&running, &LaunchForwarding::launched);
    bool closed = false;
    QThread *sender = QThread::create([&] {
        QLocalSocket socket;
        socket.connectToServer(m_name);
        if (!socket.waitForConnected(5000))
            return;
        socket.write(QByteArray("\x7f\xff\xff\xff", 4));
        socket.waitForBytesWritten(5000);
        closed = socket.waitForDisconnected(10000) || socket.state() == QLocalSocket::UnconnectedState;
    });
    sender->start();
    QTRY_VERIFY(sender->isFinished());
    QVERIFY(sender->wait());
    delete sender;
    QVERIFY(closed);
    QCOMPARE(launched.count(), 0);
}

QTEST_GUILESS_MAIN(tst_LaunchForwarding)
#include "tst_launchforwarding.moc"
