#include "Controllers/launcher_controller.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QMetaEnum>
#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>

#include <memory>

#include <signal.h>
#include <unistd.h>

namespace {

const QStringList moduleExecutables = {
    "QVLabelEditor.exe",  "QVCatalog.exe",   "ArcFlashMain.exe",         "QuenbyGHS.exe",
    "NFPAMain.exe",       "PipeMarkingMain.exe", "SymbolCreatorAppMain.exe", "PrinterMaintenance.exe",
};

constexpr int kWindowId = 4242;
constexpr int kProcessTimeout = 15000;

struct Recorded
{
    qint64 pid = 0;
    QString workingDirectory;
    QString program;
    QStringList arguments;
};

} // namespace

class tst_LauncherController : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();
    void cleanupTestCase();

    void applicationTable_data();
    void applicationTable();
    void getApplicationTypeIsExact_data();
    void getApplicationTypeIsExact();
    void printerArgument_data();
    void printerArgument();

    void launchOperations_data();
    void launchOperations();
    void printerMaintenanceForAPrinter_data();
    void printerMaintenanceForAPrinter();
    void launchApplicationDispatch_data();
    void launchApplicationDispatch();
    void documentedCommandLines();
    void windowIdIsZeroUntilSet();

    void fileClassification_data();
    void fileClassification();
    void launchLabelFile_data();
    void launchLabelFile();
    void unreadableFileStartsNothing();

    void missingExecutableFailsQuietly();
    void closeProcessFindsNothing();
    void destroyingLauncherEndsRunningModules();

private:
    void installModule(const QString &executable);
    // Runs launch, which must start exactly one module, waits until it ends and returns what it
    // recorded. Check QTest::currentTestFailed() afterwards.
    void runOne(const std::function<void()> &launch, Recorded *recorded);
    Recorded readRecord(qint64 pid);
    void expectNothingStarted(const std::function<void()> &launch);
    QString labelFile(const QString &name);

    QTemporaryDir m_records;
    QTemporaryDir m_labels;
    QString m_appDir;
    std::unique_ptr<LauncherController> m_launcher;
};

void tst_LauncherController::initTestCase()
{
    QVERIFY(m_records.isValid());
    QVERIFY(m_labels.isValid());
    qputenv("KORVEX_ARGRECORDER_DIR", QFile::encodeName(m_records.path()));
    m_appDir = QCoreApplication::applicationDirPath();
    for (const QString &exec : moduleExecutables)
        installModule(exec);
}

void tst_LauncherController::installModule(const QString &executable)
{
    const QString target = m_appDir + '/' + executable;
    QFile::remove(target);
    QVERIFY2(QFile::copy(QStringLiteral(KORVEX_ARGRECORDER_PATH), target), qPrintable(target));
    QVERIFY(QFile::setPermissions(target, QFile::permissions(target) | QFile::ExeOwner));
}

void tst_LauncherController::init()
{
    m_launcher = std::make_unique<LauncherController>();
    m_launcher->setDashboardWId(kWindowId);
}

void tst_LauncherController::cleanup()
{
    m_launcher.reset();
    qunsetenv("KORVEX_ARGRECORDER_HOLD");
}

void tst_LauncherController::cleanupTestCase()
{
    for (const QString &exec : moduleExecutables)
        QFile::remove(m_appDir + '/' + exec);
}

Recorded tst_LauncherController::readRecord(qint64 pid)
{
    Recorded r;
    QFile file(m_records.filePath(QString::number(pid) + ".args"));
    if (!file.open(QIODevice::ReadOnly))
        return r;
    QList<QByteArray> fields = file.readAll().split('\0');
    if (!fields.isEmpty() && fields.last().isEmpty())
        fields.removeLast(); // after the final terminator
    if (fields.size() < 2)
        return r;
    r.pid = pid;
    r.workingDirectory = QFile::decodeName(fields.takeFirst());
    r.program = QFile::decodeName(fields.takeFirst());
    for (const QByteArray &f : std::as_const(fields))
        r.arguments << QString::fromUtf8(f);
    return r;
}

void tst_LauncherController::runOne(const std::function<void()> &launch, Recorded *recorded)
{
    QSignalSpy closed(m_launcher.get(), &LauncherController::applicationClosed);
    launch();
    QCOMPARE(m_launcher->findChildren<QProcess *>().size(), 1);
    QTRY_COMPARE_WITH_TIMEOUT(closed.size(), 1, kProcessTimeout);
    const qint64 pid = closed.at(0).at(0).toLongLong();
    QVERIFY(pid > 0);
    *recorded = readRecord(pid);
    QCOMPARE(recorded->pid, pid);
    // The process object goes away by itself once the module has ended.
    QTRY_VERIFY(m_launcher->findChildren<QProcess *>().isEmpty());
}

void tst_LauncherController::expectNothingStarted(const std::function<void()> &launch)
{
    QSignalSpy closed(m_launcher.get(), &LauncherController::applicationClosed);
    launch();
    // A start always creates its QProcess synchronously, so none means none was started.
    QVERIFY(m_launcher->findChildren<QProcess *>().isEmpty());
    QCOMPARE(closed.size(), 0);
}

QString tst_LauncherController::labelFile(const QString &name)
{
    const QString path = m_labels.filePath(name);
    QFile f(path);
    if (!f.exists()) {
        [&] { QVERIFY(f.open(QIODevice::WriteOnly)); }();
        f.write("label");
    }
    return path;
}

void tst_LauncherController::applicationTable_data()
{
    QTest::addColumn<int>("type");
    QTest::addColumn<QString>("exec");
    const QMetaEnum e = QMetaEnum::fromType<DashboardGlobal::ApplicationType>();
    for (int i = 0; i < e.keyCount(); ++i) {
        const int value = e.value(i);
        const QString exec = value >= 0 && value < moduleExecutables.size() ? moduleExecutables[value] : QString();
        QTest::newRow(e.key(i)) << value << exec;
    }
    QTest::newRow("16") << 16 << QString();
    QTest::newRow("1000") << 1000 << QString();
}

void tst_LauncherController::applicationTable()
{
    QFETCH(int, type);
    QFETCH(QString, exec);
    const auto appType = DashboardGlobal::ApplicationType(type);
    const QString answer = m_launcher->getApplicationExec(appType);
    QCOMPARE(answer, exec);
    // The answer leads back to its type; the empty answer of a type without an executable
    // leads to no module at all.
    QCOMPARE(int(m_launcher->getApplicationType(answer)), exec.isEmpty() ? int(DashboardGlobal::APP_NULL) : type);
}

void tst_LauncherController::getApplicationTypeIsExact_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("expected");
    QTest::newRow("exact") << "QVLabelEditor.exe" << 0;
    QTest::newRow("lower case") << "qvlabeleditor.exe" << -1;
    QTest::newRow("no suffix") << "QVLabelEditor" << -1;
    QTest::newRow("path") << "/opt/QVLabelEditor.exe" << -1;
    QTest::newRow("blank") << "QVLabelEditor.exe " << -1;
    QTest::newRow("empty") << "" << -1;
    QTest::newRow("printers") << "PrinterMaintenance.exe" << 7;
}

void tst_LauncherController::getApplicationTypeIsExact()
{
    QFETCH(QString, text);
    QFETCH(int, expected);
    QCOMPARE(int(m_launcher->getApplicationType(text)), expected);
}

void tst_LauncherController::printerArgument_data()
{
    QTest::addColumn<QString>("printer");
    QTest::addColumn<bool>("isQV");
    QTest::addColumn<QString>("expected");
    QTest::newRow("qv") << "Printer A" << true << "--p Printer A,1";
    QTest::newRow("not qv") << "P1" << false << "--p P1,0";
    QTest::newRow("empty name") << "" << true << "--p ,1";
    QTest::newRow("comma in name") << "a,b" << false << "--p a,b,0";
}

void tst_LauncherController::printerArgument()
{
    QFETCH(QString, printer);
    QFETCH(bool, isQV);
    QFETCH(QString, expected);
    m_launcher->updateActiveDefaultPrinter(printer, isQV);
    Recorded r;
    runOne([&] { m_launcher->launchApplication(DashboardGlobal::APP_ARCFLASH); }, &r);
    if (QTest::currentTestFailed())
        return;
    QCOMPARE(r.arguments, QStringList({ "--dashboard", QString::number(kWindowId), expected }));
}

void tst_LauncherController::launchOperations_data()
{
    QTest::addColumn<QByteArray>("slot");
    QTest::addColumn<QString>("exec");
    QTest::addColumn<bool>("testMode");
    QTest::addColumn<bool>("withPrinter");
    QTest::addColumn<QString>("fileName");
    QTest::addColumn<QStringList>("expected");

    // What each operation passes after "--dashboard" and the window id.
    struct Operation { const char *slot; const char *exec; bool printer; bool testFlag; bool file; };
    const Operation operations[] = {
        { "launchLabelEditor", "QVLabelEditor.exe", true, true, true },
        { "launchPremadeSigns", "QVCatalog.exe", false, true, false },
        { "launchArcFlash", "ArcFlashMain.exe", true, true, false },
        { "launchChemicalLabeling", "QuenbyGHS.exe", true, true, false },
        { "launchNFPA", "NFPAMain.exe", true, true, false },
        { "launchPipeMarker", "PipeMarkingMain.exe", true, true, true },
        { "launchSymbolCreator", "SymbolCreatorAppMain.exe", false, false, false },
        { "launchPrinterMaintenance", "PrinterMaintenance.exe", false, true, false },
    };
    const QString file = QStringLiteral("/labels/plan one.kxld");
    for (const Operation &op : operations) {
        for (bool testMode : { false, true }) {
            for (bool withPrinter : { false, true }) {
                for (bool withFile : { false, true }) {
                    if (withFile && !op.file)
                        continue;
                    QStringList expected = { "--dashboard", QString::number(kWindowId) };
                    if (op.printer)
                        expected << (withPrinter ? QStringLiteral("--p Printer A,1") : QString());
                    if (op.testFlag && testMode)
                        expected << QStringLiteral("--qvtestmode");
                    if (withFile)
                        expected << file;
                    QTest::addRow("%s test=%d printer=%d file=%d", op.slot, testMode, withPrinter, withFile)
                            << QByteArray(op.slot) << QString::fromLatin1(op.exec) << testMode
                            << withPrinter << (withFile ? file : QString()) << expected;
                }
            }
        }
    }
}

void tst_LauncherController::launchOperations()
{
    QFETCH(QByteArray, slot);
    QFETCH(QString, exec);
    QFETCH(bool, testMode);
    QFETCH(bool, withPrinter);
    QFETCH(QString, fileName);
    QFETCH(QStringList, expected);

    m_launcher->setTestModeEnabled(testMode);
    if (withPrinter)
        m_launcher->updateActiveDefaultPrinter(QStringLiteral("Printer A"), true);

    Recorded r;
    runOne([&] {
        const bool takesFile = slot == "launchLabelEditor" || slot == "launchPipeMarker";
        const bool invoked = takesFile
                ? QMetaObject::invokeMethod(m_launcher.get(), slot.constData(), Q_ARG(QString, fileName))
                : QMetaObject::invokeMethod(m_launcher.get(), slot.constData());
        QVERIFY(invoked);
    }, &r);
    if (QTest::currentTestFailed())
        return;
    QCOMPARE(QFileInfo(r.program).fileName(), exec);
    QCOMPARE(r.program, m_appDir + '/' + exec);
    QCOMPARE(QDir(r.workingDirectory).canonicalPath(), QDir(m_appDir).canonicalPath());
    QCOMPARE(r.arguments, expected);
}

void tst_LauncherController::printerMaintenanceForAPrinter_data()
{
    QTest::addColumn<QString>("printer");
    QTest::addColumn<bool>("testMode");
    QTest::addColumn<QStringList>("expected");
    const QString wid = QString::number(kWindowId);
    QTest::newRow("printer") << QStringLiteral("Ondrel X100 on line 1") << false
                             << QStringList { "--dashboard", wid, "--p Ondrel X100 on line 1,1" };
    QTest::newRow("printer, test mode") << QStringLiteral("P, with comma") << true
                                        << QStringList { "--dashboard", wid, "--p P, with comma,1", "--qvtestmode" };
    // No printer named: as the side bar starts it.
    QTest::newRow("no printer") << QString() << true << QStringList { "--dashboard", wid, "--qvtestmode" };
}

void tst_LauncherController::printerMaintenanceForAPrinter()
{
    QFETCH(QString, printer);
    QFETCH(bool, testMode);
    QFETCH(QStringList, expected);
    m_launcher->setTestModeEnabled(testMode);
    // The default printer is another one; the printer asked for is passed, not it.
    m_launcher->updateActiveDefaultPrinter(QStringLiteral("Default"), false);
    Recorded r;
    runOne([&] { m_launcher->launchPrinterMaintenanceFor(printer); }, &r);
    if (QTest::currentTestFailed())
        return;
    QCOMPARE(QFileInfo(r.program).fileName(), QStringLiteral("PrinterMaintenance.exe"));
    QCOMPARE(r.arguments, expected);
}

void tst_LauncherController::launchApplicationDispatch_data()
{
    QTest::addColumn<int>("type");
    QTest::addColumn<QString>("exec");
    QTest::addColumn<QStringList>("expected");

    const QString file = QStringLiteral("/labels/a.kxld");
    const QString wid = QString::number(kWindowId);
    const QString printer = QStringLiteral("--p P,0");
    const QString test = QStringLiteral("--qvtestmode");
    // Test mode on and a printer set, so every argument a module may get is visible; the file
    // is given to every type and only 0 and 5 pass it on.
    const QMetaEnum e = QMetaEnum::fromType<DashboardGlobal::ApplicationType>();
    for (int i = 0; i < e.keyCount(); ++i) {
        const int value = e.value(i);
        QStringList expected;
        switch (value) {
        case 0: expected = { "--dashboard", wid, printer, test, file }; break;
        case 1: expected = { "--dashboard", wid, test }; break;
        case 2:
        case 3:
        case 4: expected = { "--dashboard", wid, printer, test }; break;
        case 5: expected = { "--dashboard", wid, printer, test, file }; break;
        case 6: expected = { "--dashboard", wid }; break;
        case 7: expected = { "--dashboard", wid, test }; break;
        default: break;
        }
        const QString exec = expected.isEmpty() ? QString() : moduleExecutables[value];
        QTest::newRow(e.key(i)) << value << exec << expected;
    }
    QTest::newRow("16") << 16 << QString() << QStringList();
    QTest::newRow("26") << 26 << QString() << QStringList();
    QTest::newRow("-2") << -2 << QString() << QStringList();
}

void tst_LauncherController::launchApplicationDispatch()
{
    QFETCH(int, type);
    QFETCH(QString, exec);
    QFETCH(QStringList, expected);

    m_launcher->setTestModeEnabled(true);
    m_launcher->updateActiveDefaultPrinter(QStringLiteral("P"), false);
    const auto launch = [&] {
        m_launcher->launchApplication(DashboardGlobal::ApplicationType(type), QStringLiteral("/labels/a.kxld"));
    };
    if (exec.isEmpty()) {
        expectNothingStarted(launch);
        return;
    }
    Recorded r;
    runOne(launch, &r);
    if (QTest::currentTestFailed())
        return;
    QCOMPARE(QFileInfo(r.program).fileName(), exec);
    QCOMPARE(r.arguments, expected);
}

void tst_LauncherController::documentedCommandLines()
{
    // NFPA in test mode with a non-QV printer: exactly four arguments.
    m_launcher->setTestModeEnabled(true);
    m_launcher->updateActiveDefaultPrinter(QStringLiteral("P1"), false);
    Recorded r;
    runOne([&] { QVERIFY(QMetaObject::invokeMethod(m_launcher.get(), "launchNFPA")); }, &r);
    if (QTest::currentTestFailed())
        return;
    QCOMPARE(r.arguments, QStringList({ "--dashboard", "4242", "--p P1,0", "--qvtestmode" }));

    // The symbol creator never gets more than the dashboard's two.
    runOne([&] { m_launcher->launchApplication(DashboardGlobal::APP_SYMBOLCREATOR); }, &r);
    if (QTest::currentTestFailed())
        return;
    QCOMPARE(r.arguments, QStringList({ "--dashboard", "4242" }));

    // Every launch is a new process: no single-instance rule.
    Recorded second;
    runOne([&] { m_launcher->launchApplication(DashboardGlobal::APP_SYMBOLCREATOR); }, &second);
    if (QTest::currentTestFailed())
        return;
    QVERIFY(second.pid != r.pid);
}

void tst_LauncherController::windowIdIsZeroUntilSet()
{
    m_launcher = std::make_unique<LauncherController>();
    Recorded r;
    runOne([&] { m_launcher->launchApplication(DashboardGlobal::APP_PREMADESIGNS); }, &r);
    if (QTest::currentTestFailed())
        return;
    QCOMPARE(r.arguments, QStringList({ "--dashboard", "0" }));
}

void tst_LauncherController::fileClassification_data()
{
    QTest::addColumn<QString>("name");    // created in the label folder unless marked below
    QTest::addColumn<QString>("kind");    // "file", "dir", "missing", "link", "dangling"
    QTest::addColumn<int>("expected");

    QTest::newRow("upper-case designer suffix") << "Plan.KXLD" << "file" << 0;
    const char *designer[] = { "a.kxld", "a.kxlt", "a.kxcl", "a.kxaf", "a.kxnf" };
    for (const char *n : designer)
        QTest::newRow(n) << n << "file" << 0;
    const char *pipe[] = { "p.kxaw", "p.KXAM", "p.kxpm" };
    for (const char *n : pipe)
        QTest::newRow(n) << n << "file" << 5;
    QTest::newRow("last suffix counts") << "plan.kxld.kxpm" << "file" << 5;
    QTest::newRow("other suffix") << "a.txt" << "file" << -1;
    QTest::newRow("backup") << "plan.kxld.bak" << "file" << -1;
    QTest::newRow("no suffix") << "kxld" << "file" << -1;
    QTest::newRow("trailing dot") << "plan." << "file" << -1;
    QTest::newRow("directory") << "folder.kxld" << "dir" << -1;
    QTest::newRow("missing") << "gone.kxld" << "missing" << -1;
    QTest::newRow("link to label") << "link.kxld" << "link" << 0;
    QTest::newRow("dangling link") << "dangling.kxld" << "dangling" << -1;
    QTest::newRow("empty path") << "" << "missing" << -1;
}

void tst_LauncherController::fileClassification()
{
    QFETCH(QString, name);
    QFETCH(QString, kind);
    QFETCH(int, expected);

    QString path = name.isEmpty() ? QString() : m_labels.filePath(name);
    if (kind == "file") {
        labelFile(name);
    } else if (kind == "dir") {
        QVERIFY(QDir(m_labels.path()).mkpath(name));
    } else if (kind == "link") {
        QVERIFY(QFile::link(labelFile("target.kxld"), path) || QFileInfo(path).isSymLink());
    } else if (kind == "dangling") {
        QVERIFY(QFile::link(m_labels.filePath("nowhere.kxld"), path) || QFileInfo(path).isSymLink());
    }
    QCOMPARE(int(m_launcher->getFileArgumentApplicationType(path)), expected);
}

void tst_LauncherController::launchLabelFile_data()
{
    fileClassification_data();
}

void tst_LauncherController::launchLabelFile()
{
    QFETCH(QString, name);
    QFETCH(QString, kind);
    QFETCH(int, expected);

    const QString path = name.isEmpty() ? QString() : m_labels.filePath(name);
    if (kind == "file")
        labelFile(name);
    else if (kind == "dir")
        QVERIFY(QDir(m_labels.path()).mkpath(name));
    else if (kind == "link")
        QVERIFY(QFile::link(labelFile("target.kxld"), path) || QFileInfo(path).isSymLink());
    else if (kind == "dangling")
        QVERIFY(QFile::link(m_labels.filePath("nowhere.kxld"), path) || QFileInfo(path).isSymLink());

    m_launcher->updateActiveDefaultPrinter(QStringLiteral("Printer A"), true);
    if (expected < 0) {
        expectNothingStarted([&] { m_launcher->launchLabelFile(path); });
        return;
    }
    Recorded r;
    runOne([&] { m_launcher->launchLabelFile(path); }, &r);
    if (QTest::currentTestFailed())
        return;
    QCOMPARE(QFileInfo(r.program).fileName(), moduleExecutables[expected]);
    QCOMPARE(r.arguments, QStringList({ "--dashboard", "4242", "--p Printer A,1", path }));
}

void tst_LauncherController::unreadableFileStartsNothing()
{
    if (::geteuid() == 0)
        QSKIP("root can read every file, so an unreadable file cannot be made here");
    const QString path = labelFile("secret.kxld");
    QVERIFY(QFile::setPermissions(path, QFileDevice::WriteOwner));
    QCOMPARE(int(m_launcher->getFileArgumentApplicationType(path)), -1);
    expectNothingStarted([&] { m_launcher->launchLabelFile(path); });
    QFile::setPermissions(path, QFileDevice::ReadOwner | QFileDevice::WriteOwner);
}

void tst_LauncherController::missingExecutableFailsQuietly()
{
    const QString target = m_appDir + QStringLiteral("/NFPAMain.exe");
    QVERIFY(QFile::remove(target));
    QSignalSpy closed(m_launcher.get(), &LauncherController::applicationClosed);
    m_launcher->launchApplication(DashboardGlobal::APP_NFPA);
    const QList<QProcess *> started = m_launcher->findChildren<QProcess *>();
    QCOMPARE(started.size(), 1);
    QSignalSpy failed(started.first(), &QProcess::errorOccurred);
    // The failed process object is released rather than kept until the launcher dies.
    QTRY_VERIFY_WITH_TIMEOUT(m_launcher->findChildren<QProcess *>().isEmpty(), kProcessTimeout);
    QCOMPARE(failed.size(), 1);
    QCOMPARE(failed.at(0).at(0).value<QProcess::ProcessError>(), QProcess::FailedToStart);
    QCOMPARE(closed.size(), 0);

    installModule(QStringLiteral("NFPAMain.exe"));
    // The launcher is still usable.
    Recorded r;
    runOne([&] { m_launcher->launchApplication(DashboardGlobal::APP_NFPA); }, &r);
}

void tst_LauncherController::closeProcessFindsNothing()
{
    qputenv("KORVEX_ARGRECORDER_HOLD", "1");
    QSignalSpy closed(m_launcher.get(), &LauncherController::applicationClosed);
    m_launcher->launchApplication(DashboardGlobal::APP_CHEMICAL);
    const QList<QProcess *> started = m_launcher->findChildren<QProcess *>();
    QCOMPARE(started.size(), 1);
    QProcess *process = started.first();
    QTRY_COMPARE_WITH_TIMEOUT(process->state(), QProcess::Running, kProcessTimeout);
    const qint64 pid = process->processId();

    // Started modules are not listed, so closing by id touches nothing.
    m_launcher->closeProcess(pid);
    m_launcher->closeProcess(0);
    m_launcher->closeProcess(-1);
    QCOMPARE(process->state(), QProcess::Running);
    QCOMPARE(closed.size(), 0);

    process->closeWriteChannel();
    QTRY_COMPARE_WITH_TIMEOUT(closed.size(), 1, kProcessTimeout);
    QCOMPARE(closed.at(0).at(0).toLongLong(), pid);
}

void tst_LauncherController::destroyingLauncherEndsRunningModules()
{
    qputenv("KORVEX_ARGRECORDER_HOLD", "1");
    m_launcher->launchApplication(DashboardGlobal::APP_PRINTERMAINTENANCE);
    QProcess *process = m_launcher->findChildren<QProcess *>().value(0);
    QVERIFY(process);
    QTRY_COMPARE_WITH_TIMEOUT(process->state(), QProcess::Running, kProcessTimeout);
    const qint64 pid = process->processId();
    QVERIFY(::kill(pid_t(pid), 0) == 0);

    QTest::ignoreMessage(QtWarningMsg,
                         QRegularExpression("QProcess: Destroyed while process .*PrinterMaintenance.exe.* is still running"));
    m_launcher.reset();
    // The module's process went with its QProcess, which was the launcher's child.
    QVERIFY(::kill(pid_t(pid), 0) != 0);
}

QTEST_GUILESS_MAIN(tst_LauncherController)
#include "tst_launchercontroller.moc"
