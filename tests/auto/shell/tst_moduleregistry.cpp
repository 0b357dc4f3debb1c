// The running modules' registry with real module processes (the argument recorder, installed
// beside the test under the module names and held running), a launcher, and a messaging
// helper on the in-memory window system whose ready reports the test emits.
#include "module_registry.h"

#include "Controllers/launcher_controller.h"
#include "Controllers/qvipchelper_win32.h"
#include "platforms/memory/memory_native_window_backend.h"

#include <QAbstractItemModelTester>
#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QtTest>

#include <memory>

#include <signal.h>

namespace {

const QStringList moduleExecutables = {
    "QVLabelEditor.exe", "QVCatalog.exe", "ArcFlashMain.exe", "QuenbyGHS.exe",
    "NFPAMain.exe", "PipeMarkingMain.exe", "SymbolCreatorAppMain.exe", "PrinterMaintenance.exe",
};

constexpr int kTimeout = 15000;

// Alive and not a zombie waiting to be collected.
bool processRuns(qint64 pid)
{
    QFile status(QStringLiteral("/proc/%1/status").arg(pid));
    return status.open(QIODevice::ReadOnly) && !status.readAll().contains("State:\tZ");
}

} // namespace

using G = DashboardGlobal;

class tst_ModuleRegistry : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();
    void cleanupTestCase();

    void repeatedOpenStartsOneProcess();
    void oneProcessPerLabelFile();
    void readyReportIsMatchedByProcessId();
    void readyReportOfAnotherProcessFindsItsType();
    void unexpectedEndIsReported_data();
    void unexpectedEndIsReported();
    void askedEndIsNotReported();
    void missingProgramIsReported();
    void startTimeoutIsReported();
    void moduleInItsOwnWindowRunsFromItsStart();
    void displayNamesFollowTheLanguage();
    void quitWithoutModulesIsReadyAtOnce();
    void quitEndsWhenTheModulesHaveEnded();
    void quitNamesModulesStillOpenAndGoesBack();
    void quitLeavingModulesNeverKillsThem();
    void openWhileQuittingStartsNothing();

private:
    QString labelFile(const QString &name);

    QTemporaryDir m_records;
    QTemporaryDir m_labels;
    QString m_appDir;
    std::unique_ptr<MemoryNativeWindowBackend> m_backend;
    std::unique_ptr<QVIPCHelper_win32> m_messaging;
    std::unique_ptr<LauncherController> m_launcher;
    std::unique_ptr<ModuleRegistry> m_registry;
    std::unique_ptr<QAbstractItemModelTester> m_tester;
    QList<qint64> m_leftRunning;
};

void tst_ModuleRegistry::initTestCase()
{
    QVERIFY(m_records.isValid() && m_labels.isValid());
    qputenv("KORVEX_ARGRECORDER_DIR", QFile::encodeName(m_records.path()));
    qputenv("KORVEX_ARGRECORDER_HOLD", "1");
    // A stand-in sent SIGSEGV dies at once, as a module does. Under the sanitizers it would
    // first write its report of the signal, which on a loaded machine outlasted the wait.
    if (const QByteArray asan = qgetenv("ASAN_OPTIONS"); !asan.isEmpty())
        qputenv("ASAN_OPTIONS", asan + ":handle_segv=0");
    m_appDir = QCoreApplication::applicationDirPath();
    for (const QString &exec : moduleExecutables) {
        const QString target = m_appDir + '/' + exec;
        QFile::remove(target);
        QVERIFY2(QFile::copy(QStringLiteral(KORVEX_ARGRECORDER_PATH), target), qPrintable(target));
        QVERIFY(QFile::setPermissions(target, QFile::permissions(target) | QFile::ExeOwner));
    }
}

void tst_ModuleRegistry::init()
{
    m_backend = std::make_unique<MemoryNativeWindowBackend>();
    m_messaging = std::make_unique<QVIPCHelper_win32>(nullptr, m_backend.get());
    m_launcher = std::make_unique<LauncherController>();
    m_launcher->setDashboardWId(77);
    m_registry = std::make_unique<ModuleRegistry>(m_launcher.get(), m_messaging.get());
    m_tester = std::make_unique<QAbstractItemModelTester>(m_registry.get(),
                                                          QAbstractItemModelTester::FailureReportingMode::QtTest);
}

void tst_ModuleRegistry::cleanup()
{
    m_tester.reset();
    m_registry.reset();
    m_launcher.reset(); // ends the modules it still follows
    m_messaging.reset();
    m_backend.reset();
    for (qint64 pid : std::as_const(m_leftRunning))
        ::kill(pid_t(pid), SIGKILL);
    m_leftRunning.clear();
}

void tst_ModuleRegistry::cleanupTestCase()
{
    for (const QString &exec : moduleExecutables)
        QFile::remove(m_appDir + '/' + exec);
}

QString tst_ModuleRegistry::labelFile(const QString &name)
{
    const QString path = m_labels.filePath(name);
    QFile file(path);
    if (!file.exists() && file.open(QIODevice::WriteOnly))
        file.write("label");
    return path;
}

void tst_ModuleRegistry::repeatedOpenStartsOneProcess()
{
    QSignalSpy started(m_launcher->processEvents(), &LauncherProcessEvents::applicationStarting);
    const qint64 first = m_registry->open(G::APP_ARCFLASH);
    QVERIFY(first > 0);
    // A double-click, and a third click while it still starts.
    QCOMPARE(m_registry->open(G::APP_ARCFLASH), first);
    QCOMPARE(m_registry->open(G::APP_ARCFLASH), first);
    QCOMPARE(started.count(), 1);
    QCOMPARE(m_registry->rowCount(), 1);
    QCOMPARE(m_registry->liveProcesses(), QList<qint64>{ first });
    const QModelIndex row = m_registry->index(0);
    QCOMPARE(row.data(ModuleRegistry::AppTypeRole).toInt(), int(G::APP_ARCFLASH));
    QCOMPARE(row.data(ModuleRegistry::ProcessIdRole).toLongLong(), first);
    QCOMPARE(row.data(ModuleRegistry::StateRole).toInt(), int(ModuleRegistry::Starting));
    QCOMPARE(m_registry->startingTypes(), QVariantMap({ { QString::number(G::APP_ARCFLASH), true } }));
    QVERIFY(m_registry->runningTypes().isEmpty());
    // Still one after it is running.
    Q_EMIT m_messaging->applicationReady(0x500, int(first), QStringLiteral("ArcFlashMain.exe"));
    QCOMPARE(m_registry->open(G::APP_ARCFLASH), first);
    QCOMPARE(started.count(), 1);
}

void tst_ModuleRegistry::oneProcessPerLabelFile()
{
    const QString a = labelFile(QStringLiteral("Plan A.kxld"));
    const QString b = labelFile(QStringLiteral("Plan B.kxld"));
    const qint64 pa = m_registry->open(G::APP_LABELDESIGNER, a);
    const qint64 pb = m_registry->open(G::APP_LABELDESIGNER, b);
    QVERIFY(pa > 0 && pb > 0 && pa != pb);
    // The same file again, by another spelling of its path, is the running one.
    QCOMPARE(m_registry->open(G::APP_LABELDESIGNER, m_labels.path() + QStringLiteral("/./Plan A.kxld")), pa);
    QCOMPARE(m_registry->rowCount(), 2);
    QCOMPARE(m_registry->index(0).data(ModuleRegistry::FileNameRole).toString(), QStringLiteral("Plan A.kxld"));
    QCOMPARE(m_registry->index(1).data(ModuleRegistry::FileNameRole).toString(), QStringLiteral("Plan B.kxld"));
    QCOMPARE(m_registry->index(1).data(ModuleRegistry::FilePathRole).toString(), QFileInfo(b).canonicalFilePath());
}

void tst_ModuleRegistry::readyReportIsMatchedByProcessId()
{
    const qint64 first = m_registry->open(G::APP_LABELDESIGNER, labelFile(QStringLiteral("one.kxld")));
    const qint64 second = m_registry->open(G::APP_LABELDESIGNER, labelFile(QStringLiteral("two.kxld")));
    QSignalSpy ready(m_registry.get(), &ModuleRegistry::windowReady);
    // The second reports first, under the same program name as the first.
    Q_EMIT m_messaging->applicationReady(0x777, int(second), QStringLiteral("QVLabelEditor.exe"));
    QCOMPARE(ready.count(), 1);
    QCOMPARE(ready.at(0).at(0).toLongLong(), second);
    QCOMPARE(ready.at(0).at(1).toULongLong(), 0x777ULL);
    QCOMPARE(ready.at(0).at(3).toInt(), int(G::APP_LABELDESIGNER));
    QCOMPARE(m_registry->index(0).data(ModuleRegistry::StateRole).toInt(), int(ModuleRegistry::Starting));
    QCOMPARE(m_registry->index(0).data(ModuleRegistry::WindowIdRole).toULongLong(), 0ULL);
    QCOMPARE(m_registry->index(1).data(ModuleRegistry::StateRole).toInt(), int(ModuleRegistry::Running));
    QCOMPARE(m_registry->index(1).data(ModuleRegistry::WindowIdRole).toULongLong(), 0x777ULL);
    Q_UNUSED(first);
}

void tst_ModuleRegistry::readyReportOfAnotherProcessFindsItsType()
{
    const qint64 nfpa = m_registry->open(G::APP_NFPA);
    QSignalSpy ready(m_registry.get(), &ModuleRegistry::windowReady);
    // A process the launcher did not start (a wrapper's child): the module of its program
    // that waits for its window.
    Q_EMIT m_messaging->applicationReady(0x900, 999999, QStringLiteral("NFPAMain"));
    QCOMPARE(ready.count(), 1);
    QCOMPARE(ready.at(0).at(0).toLongLong(), nfpa);
    QCOMPARE(m_registry->rowCount(), 1);
    // One of no known program gets a row of its own.
    Q_EMIT m_messaging->applicationReady(0x901, 999998, QStringLiteral("Stranger"));
    QCOMPARE(ready.count(), 2);
    QCOMPARE(m_registry->rowCount(), 2);
    QCOMPARE(m_registry->index(1).data(ModuleRegistry::AppTypeRole).toInt(), int(G::APP_NULL));
    QCOMPARE(m_registry->index(1).data(ModuleRegistry::NameRole).toString(), QStringLiteral("Stranger"));
}

void tst_ModuleRegistry::unexpectedEndIsReported_data()
{
    QTest::addColumn<int>("signalNumber");
    QTest::newRow("SIGKILL") << SIGKILL;
    QTest::newRow("SIGSEGV") << SIGSEGV;
}

void tst_ModuleRegistry::unexpectedEndIsReported()
{
    QFETCH(int, signalNumber);
    m_registry->setDisplayNames({ { QString::number(G::APP_ARCFLASH), QStringLiteral("Arc Flash") } });
    const QString file;
    const qint64 pid = m_registry->open(G::APP_ARCFLASH);
    QVERIFY(pid > 0);
    Q_EMIT m_messaging->applicationReady(0x500, int(pid), QStringLiteral("ArcFlashMain.exe"));
    QSignalSpy stopped(m_registry.get(), &ModuleRegistry::moduleStopped);
    QVERIFY(::kill(pid_t(pid), signalNumber) == 0);
    QTRY_COMPARE_WITH_TIMEOUT(stopped.count(), 1, kTimeout);
    QCOMPARE(stopped.at(0).at(0).toString(), QStringLiteral("Arc Flash"));
    QCOMPARE(stopped.at(0).at(1).toInt(), int(G::APP_ARCFLASH));
    QCOMPARE(m_registry->rowCount(), 0);
    QVERIFY(m_registry->liveProcesses().isEmpty());
}

void tst_ModuleRegistry::askedEndIsNotReported()
{
    const qint64 pid = m_registry->open(G::APP_CHEMICAL);
    Q_EMIT m_messaging->applicationReady(0x500, int(pid), QStringLiteral("QuenbyGHS.exe"));
    QSignalSpy stopped(m_registry.get(), &ModuleRegistry::moduleStopped);
    QSignalSpy removed(m_registry.get(), &QAbstractItemModel::rowsRemoved);
    m_registry->close(pid);
    QCOMPARE(m_registry->index(0).data(ModuleRegistry::StateRole).toInt(), int(ModuleRegistry::Closing));
    // The module ends as it was asked (by a signal here: what counts is that it was asked).
    QVERIFY(::kill(pid_t(pid), SIGTERM) == 0);
    QTRY_COMPARE_WITH_TIMEOUT(removed.count(), 1, kTimeout);
    QCOMPARE(stopped.count(), 0);
}

void tst_ModuleRegistry::missingProgramIsReported()
{
    const QString program = m_appDir + QStringLiteral("/SymbolCreatorAppMain.exe");
    QVERIFY(QFile::remove(program));
    m_registry->setDisplayNames({ { QString::number(G::APP_SYMBOLCREATOR), QStringLiteral("Symbol Creator") } });
    QSignalSpy failed(m_registry.get(), &ModuleRegistry::startFailed);
    QSignalSpy started(m_launcher->processEvents(), &LauncherProcessEvents::applicationStarting);
    QCOMPARE(m_registry->open(G::APP_SYMBOLCREATOR), 0);
    QCOMPARE(failed.count(), 1);
    QCOMPARE(failed.at(0).at(0).toString(),
             QStringLiteral("Symbol Creator cannot start: its program %1 is not installed.").arg(program));
    QCOMPARE(started.count(), 0);
    QCOMPARE(m_registry->rowCount(), 0);
    QVERIFY(QFile::copy(QStringLiteral(KORVEX_ARGRECORDER_PATH), program));
    QVERIFY(QFile::setPermissions(program, QFile::permissions(program) | QFile::ExeOwner));
}

void tst_ModuleRegistry::startTimeoutIsReported()
{
    m_registry->setStartTimeout(2000);
    m_registry->setDisplayNames({ { QString::number(G::APP_NFPA), QStringLiteral("NFPA") } });
    QSignalSpy failed(m_registry.get(), &ModuleRegistry::startFailed);
    const qint64 pid = m_registry->open(G::APP_NFPA);
    QVERIFY(pid > 0);
    QTRY_COMPARE_WITH_TIMEOUT(failed.count(), 1, kTimeout);
    QCOMPARE(failed.at(0).at(0).toString(),
             QStringLiteral("NFPA did not start: its window did not appear within 2 seconds."));
    QCOMPARE(m_registry->rowCount(), 0);
    // Still followed: its late window is shown after all.
    QCOMPARE(m_registry->liveProcesses(), QList<qint64>{ pid });
    QSignalSpy ready(m_registry.get(), &ModuleRegistry::windowReady);
    Q_EMIT m_messaging->applicationReady(0x500, int(pid), QStringLiteral("NFPAMain.exe"));
    QCOMPARE(ready.count(), 1);
    QCOMPARE(m_registry->rowCount(), 1);
}

// A desktop the dashboard cannot embed in: the module shows its own window and never reports
// one, so it is running from its start, is never said to have failed, and a second click does
// not start another.
void tst_ModuleRegistry::moduleInItsOwnWindowRunsFromItsStart()
{
    QSignalSpy ownWindows(m_registry.get(), &ModuleRegistry::modulesInOwnWindowsChanged);
    m_registry->setModulesInOwnWindows(true);
    QCOMPARE(ownWindows.count(), 1);
    QVERIFY(m_registry->modulesInOwnWindows());
    m_registry->setStartTimeout(1);
    m_registry->setDisplayNames({ { QString::number(G::APP_NFPA), QStringLiteral("NFPA") } });
    QSignalSpy failed(m_registry.get(), &ModuleRegistry::startFailed);
    QSignalSpy stopped(m_registry.get(), &ModuleRegistry::moduleStopped);
    QSignalSpy started(m_launcher->processEvents(), &LauncherProcessEvents::applicationStarting);
    const qint64 pid = m_registry->open(G::APP_NFPA);
    QVERIFY(pid > 0);
    QCOMPARE(m_registry->index(0).data(ModuleRegistry::StateRole).toInt(), int(ModuleRegistry::Running));
    QCOMPARE(m_registry->runningTypes(), QVariantMap({ { QString::number(G::APP_NFPA), true } }));
    QVERIFY(m_registry->startingTypes().isEmpty());
    // Several of the intervals a window is waited for in: nothing is said, nothing else starts.
    QVERIFY(!QTest::qWaitFor([&] { return failed.count() > 0; }, 1000));
    QCOMPARE(m_registry->open(G::APP_NFPA), pid);
    QCOMPARE(started.count(), 1);
    QCOMPARE(m_registry->rowCount(), 1);
    // Cancelling a quit leaves it running, not starting.
    m_registry->requestQuit();
    m_registry->cancelQuit();
    QCOMPARE(m_registry->index(0).data(ModuleRegistry::StateRole).toInt(), int(ModuleRegistry::Running));
    // Its crash is a running module's.
    QVERIFY(::kill(pid_t(pid), SIGKILL) == 0);
    QTRY_COMPARE_WITH_TIMEOUT(stopped.count(), 1, kTimeout);
    QCOMPARE(stopped.at(0).at(0).toString(), QStringLiteral("NFPA"));
    QCOMPARE(failed.count(), 0);
}

void tst_ModuleRegistry::displayNamesFollowTheLanguage()
{
    m_registry->open(G::APP_ARCFLASH);
    QCOMPARE(m_registry->index(0).data(ModuleRegistry::NameRole).toString(), QStringLiteral("ArcFlashMain.exe"));
    QSignalSpy changed(m_registry.get(), &QAbstractItemModel::dataChanged);
    m_registry->setDisplayNames({ { QString::number(G::APP_ARCFLASH), QStringLiteral("Lichtbogen") } });
    QCOMPARE(changed.count(), 1);
    QCOMPARE(m_registry->index(0).data(ModuleRegistry::NameRole).toString(), QStringLiteral("Lichtbogen"));
    QCOMPARE(m_registry->displayName(G::APP_ARCFLASH), QStringLiteral("Lichtbogen"));
}

void tst_ModuleRegistry::quitWithoutModulesIsReadyAtOnce()
{
    QSignalSpy ready(m_registry.get(), &ModuleRegistry::quitReady);
    m_registry->requestQuit();
    QCOMPARE(ready.count(), 1);
    QVERIFY(m_registry->stillOpen().isEmpty());
    // Asked again, nothing more happens.
    m_registry->requestQuit();
    QCOMPARE(ready.count(), 1);
}

void tst_ModuleRegistry::quitEndsWhenTheModulesHaveEnded()
{
    m_registry->setQuitWait(60000);
    const qint64 a = m_registry->open(G::APP_ARCFLASH);
    const qint64 b = m_registry->open(G::APP_NFPA);
    QSignalSpy ready(m_registry.get(), &ModuleRegistry::quitReady);
    QSignalSpy stopped(m_registry.get(), &ModuleRegistry::moduleStopped);
    m_registry->requestQuit();
    QVERIFY(m_registry->isQuitting());
    QCOMPARE(ready.count(), 0);
    QCOMPARE(m_registry->index(0).data(ModuleRegistry::StateRole).toInt(), int(ModuleRegistry::Closing));
    QVERIFY(::kill(pid_t(a), SIGTERM) == 0);
    QTRY_COMPARE_WITH_TIMEOUT(m_registry->liveProcesses(), QList<qint64>{ b }, kTimeout);
    QCOMPARE(ready.count(), 0);
    QVERIFY(::kill(pid_t(b), SIGTERM) == 0);
    QTRY_COMPARE_WITH_TIMEOUT(ready.count(), 1, kTimeout);
    // Well before the wait is over, and without a word of modules that stopped.
    QVERIFY(m_registry->stillOpen().isEmpty());
    QCOMPARE(stopped.count(), 0);
}

void tst_ModuleRegistry::quitNamesModulesStillOpenAndGoesBack()
{
    m_registry->setQuitWait(200);
    m_registry->setDisplayNames({ { QString::number(G::APP_LABELDESIGNER), QStringLiteral("Label Designer") } });
    const qint64 pid = m_registry->open(G::APP_LABELDESIGNER, labelFile(QStringLiteral("Kept.kxld")));
    Q_EMIT m_messaging->applicationReady(0x500, int(pid), QStringLiteral("QVLabelEditor.exe"));
    QSignalSpy ready(m_registry.get(), &ModuleRegistry::quitReady);
    QSignalSpy state(m_registry.get(), &ModuleRegistry::quitStateChanged);
    m_registry->requestQuit();
    QTRY_VERIFY_WITH_TIMEOUT(!m_registry->stillOpen().isEmpty(), kTimeout);
    QCOMPARE(m_registry->stillOpen(), QStringList{ QStringLiteral("Label Designer (Kept.kxld)") });
    QCOMPARE(ready.count(), 0);
    QVERIFY(processRuns(pid));
    m_registry->cancelQuit();
    QVERIFY(!m_registry->isQuitting());
    QVERIFY(m_registry->stillOpen().isEmpty());
    QCOMPARE(m_registry->index(0).data(ModuleRegistry::StateRole).toInt(), int(ModuleRegistry::Running));
    QVERIFY(processRuns(pid));
    QCOMPARE(ready.count(), 0);
    QVERIFY(state.count() >= 3);
}

void tst_ModuleRegistry::quitLeavingModulesNeverKillsThem()
{
    m_registry->setQuitWait(100);
    const qint64 pid = m_registry->open(G::APP_PIPEMARKING);
    QVERIFY(pid > 0);
    m_leftRunning << pid;
    QSignalSpy ready(m_registry.get(), &ModuleRegistry::quitReady);
    m_registry->requestQuit();
    QTRY_VERIFY_WITH_TIMEOUT(!m_registry->stillOpen().isEmpty(), kTimeout);
    m_registry->quitLeavingModules();
    QCOMPARE(ready.count(), 1);
    // The dashboard goes: its launcher first, which used to end every module with it.
    m_registry.reset();
    m_tester.reset();
    m_launcher.reset();
    QVERIFY(processRuns(pid));
}

void tst_ModuleRegistry::openWhileQuittingStartsNothing()
{
    m_registry->setQuitWait(60000);
    const qint64 pid = m_registry->open(G::APP_ARCFLASH);
    m_registry->requestQuit();
    QSignalSpy started(m_launcher->processEvents(), &LauncherProcessEvents::applicationStarting);
    QCOMPARE(m_registry->open(G::APP_NFPA), 0);
    QCOMPARE(started.count(), 0);
    QVERIFY(::kill(pid_t(pid), SIGKILL) == 0);
    QSignalSpy ready(m_registry.get(), &ModuleRegistry::quitReady);
    QTRY_COMPARE_WITH_TIMEOUT(ready.count(), 1, kTimeout);
}

QTEST_MAIN(tst_ModuleRegistry)
#include "tst_moduleregistry.moc"
