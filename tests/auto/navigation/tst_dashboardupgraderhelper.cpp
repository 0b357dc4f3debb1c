#include "Controllers/dashboard_upgrader_helper.h"

#include "dashboard_settings.h"

#include "versions/kxpro_latest_versions.h"

#include <QDir>
#include <QFile>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTimer>
#include <QtTest>

class tst_DashboardUpgraderHelper : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();

    void initialState();
    void currentVersionIsProjectVersion();
    void updateAvailable();
    void noUpdateKeepsAvailableVersion();
    void badManifestMeansNoUpdate_data();
    void badManifestMeansNoUpdate();
    void upgraderProgramBesideProgram();
    void launchQuitsEventLoopWhenUpgraderMissing();
    void launchStartsUpgraderDetached();

private:
    void writeManifest(const QByteArray &content);
    // Runs the event loop until quit or a deadline; returns false at the deadline.
    static bool runEventLoopUntilQuit(const std::function<void()> &action);

    QTemporaryDir m_dir;
    QString m_manifest;
};

void tst_DashboardUpgraderHelper::initTestCase()
{
    QStandardPaths::setTestModeEnabled(true);
    QVERIFY(m_dir.isValid());
    m_manifest = m_dir.filePath(QStringLiteral("latest.json"));
}

void tst_DashboardUpgraderHelper::init()
{
    auto store = DashboardSettings::openDashboardStore();
    store->clear();
    store->setValue(QStringLiteral("updates/manifest"), m_manifest);
    QFile::remove(m_manifest);
}

void tst_DashboardUpgraderHelper::cleanup()
{
    QFile::remove(QCoreApplication::applicationDirPath() + QStringLiteral("/KXPROUpgrader.exe"));
}

void tst_DashboardUpgraderHelper::writeManifest(const QByteArray &content)
{
    QFile file(m_manifest);
    QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
    QCOMPARE(file.write(content), content.size());
}

bool tst_DashboardUpgraderHelper::runEventLoopUntilQuit(const std::function<void()> &action)
{
    bool deadline = false;
    QTimer guard;
    guard.setSingleShot(true);
    QObject::connect(&guard, &QTimer::timeout, [&deadline] {
        deadline = true;
        QCoreApplication::exit(99);
    });
    guard.start(10000);
    QTimer::singleShot(0, action);
    const int result = QCoreApplication::exec();
    return !deadline && result == 0;
}

void tst_DashboardUpgraderHelper::initialState()
{
    writeManifest(R"({"version":"99.0.0"})");
    DashboardUpgraderHelper helper;
    // Before the check's answer arrives.
    QCOMPARE(helper.property("isUpdateAvailable").toBool(), false);
    QCOMPARE(helper.property("availableVersion").toString(), QStringLiteral("X.X.XX"));
}

void tst_DashboardUpgraderHelper::currentVersionIsProjectVersion()
{
    DashboardUpgraderHelper helper;
    QString version;
    QVERIFY(QMetaObject::invokeMethod(&helper, "getCurrentVersion", Q_RETURN_ARG(QString, version)));
    QCOMPARE(version, QStringLiteral(KORVEX_TEST_PROJECT_VERSION));
}

void tst_DashboardUpgraderHelper::updateAvailable()
{
    writeManifest(R"({"version":"99.1.2","releaseDate":"2026-03-01T00:00:00Z"})");
    DashboardUpgraderHelper helper;
    QStringList order;
    connect(&helper, &DashboardUpgraderHelper::availableVersionChanged, this,
            [&order](const QString &v) { order << QStringLiteral("version ") + v; });
    connect(&helper, &DashboardUpgraderHelper::isUpdateAvailableChanged, this,
            [&order](bool v) { order << QStringLiteral("available %1").arg(v); });
    QTRY_COMPARE(order.size(), 2);
    QCOMPARE(order, (QStringList { "version 99.1.2", "available 1" }));
    QCOMPARE(helper.isUpdateAvailable(), true);
    QCOMPARE(helper.availableVersion(), QStringLiteral("99.1.2"));

    // A second, identical answer signals both again.
    auto *checker = helper.findChild<KXPROLatestVersions *>();
    QVERIFY(checker);
    checker->checkForUpdates();
    QCOMPARE(order.size(), 4);
    QCOMPARE(order.mid(2), (QStringList { "version 99.1.2", "available 1" }));
}

void tst_DashboardUpgraderHelper::noUpdateKeepsAvailableVersion()
{
    writeManifest(R"({"version":"99.0.0"})");
    DashboardUpgraderHelper helper;
    QTRY_COMPARE(helper.availableVersion(), QStringLiteral("99.0.0"));

    writeManifest(R"({"version":"0.0.1"})");
    QSignalSpy available(&helper, &DashboardUpgraderHelper::isUpdateAvailableChanged);
    QSignalSpy version(&helper, &DashboardUpgraderHelper::availableVersionChanged);
    helper.findChild<KXPROLatestVersions *>()->checkForUpdates();
    QCOMPARE(available.size(), 1);
    QCOMPARE(available.at(0).at(0).toBool(), false);
    QCOMPARE(version.size(), 0);
    QCOMPARE(helper.isUpdateAvailable(), false);
    QCOMPARE(helper.availableVersion(), QStringLiteral("99.0.0"));
}

void tst_DashboardUpgraderHelper::badManifestMeansNoUpdate_data()
{
    QTest::addColumn<bool>("exists");
    QTest::addColumn<QByteArray>("content");

    QTest::newRow("missing") << false << QByteArray();
    QTest::newRow("empty") << true << QByteArray();
    QTest::newRow("truncated") << true << QByteArray(R"({"version":"99.)");
    QTest::newRow("not JSON") << true << QByteArray("version=99.0.0\n");
    QTest::newRow("binary") << true << QByteArray("\x00\xff\xfe{\"", 5);
    QTest::newRow("array") << true << QByteArray(R"(["99.0.0"])");
    QTest::newRow("version not text") << true << QByteArray(R"({"version":99})");
    QTest::newRow("version not a number") << true << QByteArray(R"({"version":"latest"})");
    QTest::newRow("version with suffix") << true << QByteArray(R"({"version":"99.0.0-beta"})");
    QTest::newRow("same version") << true << QByteArray(R"({"version":")" KORVEX_TEST_PROJECT_VERSION R"("})");
}

void tst_DashboardUpgraderHelper::badManifestMeansNoUpdate()
{
    QFETCH(bool, exists);
    QFETCH(QByteArray, content);
    if (exists)
        writeManifest(content);

    DashboardUpgraderHelper helper;
    QSignalSpy available(&helper, &DashboardUpgraderHelper::isUpdateAvailableChanged);
    QVERIFY(available.wait(5000));
    QCOMPARE(available.size(), 1);
    QCOMPARE(available.at(0).at(0).toBool(), false);
    QCOMPARE(helper.availableVersion(), QStringLiteral("X.X.XX"));
}

void tst_DashboardUpgraderHelper::upgraderProgramBesideProgram()
{
#ifdef Q_OS_WIN
    QCOMPARE(DashboardUpgraderHelper::upgraderProgram(), QStringLiteral("KXPROUpgrader.exe"));
#else
    QCOMPARE(DashboardUpgraderHelper::upgraderProgram(),
             QCoreApplication::applicationDirPath() + QStringLiteral("/KXPROUpgrader.exe"));
#endif
}

void tst_DashboardUpgraderHelper::launchQuitsEventLoopWhenUpgraderMissing()
{
    QVERIFY(!QFile::exists(DashboardUpgraderHelper::upgraderProgram()));
    DashboardUpgraderHelper helper;
    QSignalSpy aboutToQuit(QCoreApplication::instance(), &QCoreApplication::aboutToQuit);
    QVERIFY(runEventLoopUntilQuit([&helper] {
        QVERIFY(QMetaObject::invokeMethod(&helper, "launchKxproUpgrader"));
    }));
    QCOMPARE(aboutToQuit.size(), 1);
}

void tst_DashboardUpgraderHelper::launchStartsUpgraderDetached()
{
#ifdef Q_OS_WIN
    QSKIP("The upgrader is looked up by the system's rules on Windows");
#endif
    QTemporaryDir records;
    QVERIFY(records.isValid());
    qputenv("KORVEX_ARGRECORDER_DIR", records.path().toLocal8Bit());
    QVERIFY(QFile::copy(QStringLiteral(KORVEX_ARGRECORDER), DashboardUpgraderHelper::upgraderProgram()));

    // No working directory is given, so the upgrader starts in the dashboard's own: make that
    // a folder of its own, unlike the program's folder.
    QTemporaryDir workingDirectory;
    QVERIFY(workingDirectory.isValid());
    const QString previousDirectory = QDir::currentPath();
    QVERIFY(QDir::setCurrent(workingDirectory.path()));
    const QString expectedDirectory = QDir::currentPath();

    DashboardUpgraderHelper helper;
    QVERIFY(runEventLoopUntilQuit([&helper] { helper.launchKxproUpgrader(); }));
    qunsetenv("KORVEX_ARGRECORDER_DIR");
    QVERIFY(QDir::setCurrent(previousDirectory));

    QTRY_COMPARE(QDir(records.path()).entryList({ QStringLiteral("*.args") }, QDir::Files).size(), 1);
    const QString record = QDir(records.path()).entryList({ QStringLiteral("*.args") }, QDir::Files).first();
    QFile file(records.filePath(record));
    QVERIFY(file.open(QIODevice::ReadOnly));
    const QList<QByteArray> fields = file.readAll().split('\0');
    // Working directory, program, then nothing: no arguments were given.
    QCOMPARE(fields.size(), 3);
    QCOMPARE(QFileInfo(QString::fromLocal8Bit(fields.at(0))).canonicalFilePath(),
             QFileInfo(expectedDirectory).canonicalFilePath());
    QCOMPARE(QString::fromLocal8Bit(fields.at(1)), DashboardUpgraderHelper::upgraderProgram());
    QVERIFY(fields.at(2).isEmpty());
}

QTEST_GUILESS_MAIN(tst_DashboardUpgraderHelper)
#include "tst_dashboardupgraderhelper.moc"
