// The dashboard and real module processes on a real X server: launching, embedding, printer
// events, opening files, closing, killing, hanging, and modules that misbehave on purpose.
#include "dashboard_app_window.h"
#include "dashboard_main_window.h"
#include "native_window_system.h"
#include "Controllers/launcher_controller.h"
#include "Controllers/qvipchelper_win32.h"

#include "printer_fixture.h"
#include "e2e_support.h"
#include "module_info.h"

#include "widgetutils/file_controller_tools.h"

#include <QElapsedTimer>
#include <QHash>
#include <QPointer>
#include <QProcess>
#include <QQmlComponent>
#include <QQmlContext>
#include <QQmlEngine>
#include <QQuickItem>
#include <QScreen>
#include <QSettings>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QtTest>

#include <csignal>
#include <cstdio>
#include <memory>

#include <sys/types.h>
#include <unistd.h>

namespace {

// Module programs start in a few hundred milliseconds; a loaded, sanitized build needs far more.
constexpr int START_TIMEOUT_MS = 60000;
constexpr int EVENT_TIMEOUT_MS = 20000;
// How long a broadcast may hold the dashboard when a module does not answer: sending never
// waits for the receiving program, only for the X server.
constexpr qint64 FREEZE_BOUND_MS = 1000;

struct Ready
{
    quint32 window;
    qint64 pid;
    QString name;
};

} // namespace

class tst_E2eModules : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cleanup();
    void cleanupTestCase();

    void everyModuleLaunchesAndReportsReady_data();
    void everyModuleLaunchesAndReportsReady();
    void moduleIsEmbeddedAndFollowsTheItem();
    void printerEventsReachEveryModule();
    void openLabelFileStartsTheRightModule();
    void closeApplicationClosesTheModule();
    void killedModuleIsNoticed();
    void hungModuleDoesNotFreezeTheDashboard();
    void moduleKeepsItsWindowWhenTheDashboardDies();

    void moduleKilledInTheMiddleOfAMessage();
    void moduleFloodingMessages();
    void moduleThatNeverReportsReady();
    void messageForAWindowThatJustDied();

    void longSessionLeavesNothingBehind();

private:
    Ready launch(DashboardGlobal::ApplicationType type);
    DashboardAppWindow *embed(quint32 window, const QRect &rect = QRect(20, 64, 900, 600));
    // Starts one of the misbehaving module programs against the dashboard; its window id.
    quint32 startHelper(QProcess *process, const QString &program, const QStringList &extra = {});
    void expectBroadcastAt(qint64 pid, const QString &line);
    void dashboardStillWorks();
    // What the dashboard's process holds now: descriptors, memory, X resources, objects.
    E2e::Holdings holdings() const;

    std::unique_ptr<PrinterFixture> m_printers;
    std::unique_ptr<DashboardMainWindow> m_window;
    std::unique_ptr<QQmlEngine> m_engine;
    QHash<QByteArray, QQmlComponent *> m_components;
    QTemporaryDir m_events;
    QTemporaryDir m_files;
    QList<Ready> m_ready;
    QList<qint64> m_started;
};

void tst_E2eModules::initTestCase()
{
    QVERIFY(E2e::connection());
    QVERIFY(m_events.isValid() && m_files.isValid());
    for (const ModuleInfo &module : ModuleInfo::all())
        QVERIFY2(QFileInfo::exists(QCoreApplication::applicationDirPath() + u'/' + module.executableName),
                 qPrintable(module.executableName + QStringLiteral(" is not beside the test")));
    qputenv("KORVEX_DEMO_MODULE_LOG", QFile::encodeName(m_events.path()));

    m_printers = std::make_unique<PrinterFixture>();
    m_printers->writePrinters({ PrinterFixture::printer("P1", "Ondrel X100 Series", 0, "SUP-1",
                                                        { "R1" }, "1.0.0-1", 3, false, true),
                                PrinterFixture::printer("P2", "Generic PCL Driver", 0) });

    m_window = std::make_unique<DashboardMainWindow>();
    m_window->setColor(QColor(0xf2, 0xf4, 0xf7));
    m_window->setGeometry(0, 0, 1000, 720);
    m_window->show();
    QVERIFY(QTest::qWaitForWindowExposed(m_window.get()));
    QVERIFY(m_window->windowId() != 0);
    connect(m_window.get(), &DashboardMainWindow::applicationReady, this,
            [this](int window, int pid, const QString &name) {
                m_ready << Ready{ quint32(window), pid, name };
                m_started << pid;
            });

    m_engine = std::make_unique<QQmlEngine>();
    qmlRegisterType<DashboardAppWindow>("Korvex.E2e", 1, 0, "DashboardAppWindow");
    QQmlComponent header(m_engine.get());
    header.setData("import QtQuick\n"
                   "Rectangle { width: 1000; height: 48; color: '#1f3a5f'\n"
                   "  Text { anchors.verticalCenter: parent.verticalCenter; x: 20;"
                   "         color: 'white'; font.pixelSize: 20;"
                   "         text: 'Korvex PRO dashboard - embedded module' } }",
                   QUrl());
    auto *bar = qobject_cast<QQuickItem *>(header.create());
    QVERIFY2(bar, qPrintable(header.errorString()));
    bar->setParent(m_window->contentItem());
    bar->setParentItem(m_window->contentItem());
}

// Gone, or a zombie that its parent has yet to collect.
static bool processGone(qint64 pid)
{
    QFile status(QStringLiteral("/proc/%1/status").arg(pid));
    return !status.open(QIODevice::ReadOnly) || status.readAll().contains("State:\tZ");
}

void tst_E2eModules::cleanup()
{
    for (qint64 pid : std::as_const(m_started)) {
        ::kill(pid_t(pid), SIGCONT);
        ::kill(pid_t(pid), SIGKILL);
    }
    for (qint64 pid : std::as_const(m_started))
        QTRY_VERIFY_WITH_TIMEOUT(processGone(pid), EVENT_TIMEOUT_MS);
    m_started.clear();
    m_ready.clear();
    qDeleteAll(m_window->contentItem()->findChildren<DashboardAppWindow *>());
}

void tst_E2eModules::cleanupTestCase()
{
    m_engine.reset();
    m_window.reset();
    m_printers.reset();
}

Ready tst_E2eModules::launch(DashboardGlobal::ApplicationType type)
{
    const qsizetype before = m_ready.size();
    const QString exec = m_window->getApplicationExec(type);
    m_window->launchApplication(type);
    const auto found = [&]() -> const Ready * {
        for (qsizetype i = before; i < m_ready.size(); ++i)
            if (m_ready.at(i).name == exec)
                return &m_ready.at(i);
        return nullptr;
    };
    if (!QTest::qWaitFor([&] { return found() != nullptr; }, START_TIMEOUT_MS)) {
        qWarning("%s did not report ready", qPrintable(exec));
        return Ready{ 0, 0, QString() };
    }
    return *found();
}

DashboardAppWindow *tst_E2eModules::embed(quint32 window, const QRect &rect)
{
    m_engine->rootContext()->setContextProperty(QStringLiteral("moduleHandle"),
                                                QVariant::fromValue<double>(window));
    // One component per place, made once: a long session measures the dashboard, not the
    // engine compiling the same document again.
    const QByteArray data = QStringLiteral("import Korvex.E2e 1.0\nDashboardAppWindow { windowId: moduleHandle; "
                                           "x: %1; y: %2; width: %3; height: %4 }")
                                    .arg(rect.x()).arg(rect.y()).arg(rect.width()).arg(rect.height())
                                    .toUtf8();
    QQmlComponent *&component = m_components[data];
    if (!component) {
        component = new QQmlComponent(m_engine.get(), m_engine.get());
        component->setData(data, QUrl());
    }
    auto *item = qobject_cast<DashboardAppWindow *>(component->beginCreate(m_engine->rootContext()));
    if (!item)
        return nullptr;
    item->setParent(m_window->contentItem());
    item->setParentItem(m_window->contentItem());
    component->completeCreate();
    return item;
}

quint32 tst_E2eModules::startHelper(QProcess *process, const QString &program, const QStringList &extra)
{
    process->start(QCoreApplication::applicationDirPath() + u'/' + program,
                   QStringList{ QStringLiteral("--dashboard"), QString::number(m_window->windowId()) } + extra);
    if (!process->waitForStarted(START_TIMEOUT_MS))
        return 0;
    m_started << process->processId();
    QByteArray line;
    QElapsedTimer timer;
    timer.start();
    while (!line.endsWith('\n') && timer.elapsed() < START_TIMEOUT_MS
           && process->state() == QProcess::Running) {
        if (process->canReadLine() || process->waitForReadyRead(100))
            line += process->readLine();
        QCoreApplication::processEvents();
    }
    const QList<QByteArray> words = line.trimmed().split(' ');
    return words.size() == 2 && words.at(0) == "window" ? words.at(1).toUInt() : 0;
}

void tst_E2eModules::expectBroadcastAt(qint64 pid, const QString &line)
{
    QTRY_VERIFY2_WITH_TIMEOUT(E2e::moduleLog(m_events.path(), pid).contains(line),
                              qPrintable(QStringLiteral("pid %1 has no \"%2\"").arg(pid).arg(line)),
                              EVENT_TIMEOUT_MS);
}

// A module started now is still heard, and a broadcast still reaches it.
void tst_E2eModules::dashboardStillWorks()
{
    const Ready module = launch(DashboardGlobal::APP_PREMADESIGNS);
    QVERIFY(module.pid > 0);
    m_window->messagingHelper()->onStatusChanged(1, QStringLiteral("P2"));
    expectBroadcastAt(module.pid, QStringLiteral("broadcast StatusChanged: 1, P2, -, -"));
}

E2e::Holdings tst_E2eModules::holdings() const
{
    // Objects whose deletion is already queued are not held.
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    E2e::Holdings now = E2e::processHoldings();
    E2e::countXResources(&now, E2e::connection());
    // The objects reachable from the application and the dashboard's window.
    const auto count = [](const QObject *root) { return 1 + int(root->findChildren<QObject *>().size()); };
    now.objects = count(QCoreApplication::instance()) + count(m_window.get()) + count(m_engine.get())
            + count(m_window->launcher()) + count(m_window->messagingHelper());
    return now;
}

// A long session: module after module launched, embedded, sent a broadcast and closed, then a
// stream of printer broadcasts to all eight. What the dashboard holds comes back to where it
// was after the first cycles. KORVEX_SOAK_CYCLES and KORVEX_SOAK_BROADCASTS make it longer
// (scripts/soak runs 1,000 and 100,000); the figures are printed every REPORT_EVERY cycles.
void tst_E2eModules::longSessionLeavesNothingBehind()
{
    const auto setting = [](const char *name, int fallback) {
        return qEnvironmentVariableIsSet(name) ? qMax(1, qEnvironmentVariableIntValue(name)) : fallback;
    };
    const int cycles = setting("KORVEX_SOAK_CYCLES", 24);
    const int broadcasts = setting("KORVEX_SOAK_BROADCASTS", 2000);
    const int reportEvery = qMin(100, cycles);
    constexpr int WARM_UP = 8; // each module program once
    const QList<ModuleInfo> modules = ModuleInfo::all();

    E2e::Holdings settled;
    for (int cycle = 1; cycle <= WARM_UP + cycles; ++cycle) {
        const auto type = DashboardGlobal::ApplicationType(modules.at(cycle % modules.size()).applicationType);
        const Ready module = launch(type);
        QVERIFY2(module.pid > 0, qPrintable(QStringLiteral("cycle %1").arg(cycle)));
        QPointer<DashboardAppWindow> item = embed(module.window);
        QVERIFY(item);
        QTRY_COMPARE_WITH_TIMEOUT(E2e::queryTree(module.window).value_or(E2e::Tree()).parent,
                                  xcb_window_t(item->containerWindow()), EVENT_TIMEOUT_MS);
        m_window->messagingHelper()->onStatusChanged(cycle % 7, QStringLiteral("P1"));
        expectBroadcastAt(module.pid, QStringLiteral("broadcast StatusChanged: %1, P1, -, -").arg(cycle % 7));
        item->closeApplication();
        QTRY_VERIFY_WITH_TIMEOUT(!item && processGone(module.pid), EVENT_TIMEOUT_MS);
        QVERIFY(!E2e::windowExists(module.window));
        m_started.removeAll(module.pid);
        m_ready.clear();
        if (cycle == WARM_UP) {
            settled = holdings();
            E2e::printHoldings("after warm-up", settled);
        } else if (cycle > WARM_UP && (cycle - WARM_UP) % reportEvery == 0) {
            E2e::printHoldings(qPrintable(QStringLiteral("cycle %1").arg(cycle - WARM_UP)), holdings());
        }
    }
    // No growth; fewer is fine: what earlier tests left unread expires meanwhile.
    const E2e::Holdings afterCycles = holdings();
    QCOMPARE_LE(afterCycles.descriptors, settled.descriptors);
    QCOMPARE_LE(afterCycles.xWindows, settled.xWindows);
    QCOMPARE_LE(afterCycles.objects, settled.objects);

    // The printer broadcasts, to eight modules at once.
    QList<qint64> pids;
    for (const ModuleInfo &module : modules)
        pids << launch(DashboardGlobal::ApplicationType(module.applicationType)).pid;
    QVERIFY(!pids.contains(0));
    const E2e::Holdings withModules = holdings();
    E2e::printHoldings("eight modules running", withModules);
    for (int i = 1; i <= broadcasts; ++i) {
        m_window->messagingHelper()->onStatusChanged(i % 7, QStringLiteral("P%1").arg(i));
        if (i % 100 == 0)
            QCoreApplication::processEvents(); // as the event loop turns between printer events
        if (i % (broadcasts >= 10000 ? 10000 : broadcasts) == 0)
            E2e::printHoldings(qPrintable(QStringLiteral("%1 broadcasts").arg(i)), holdings());
    }
    for (qint64 pid : std::as_const(pids))
        expectBroadcastAt(pid, QStringLiteral("broadcast StatusChanged: %1, P%2, -, -").arg(broadcasts % 7).arg(broadcasts));
    const E2e::Holdings afterBroadcasts = holdings();
    QCOMPARE_LE(afterBroadcasts.descriptors, withModules.descriptors);
    QCOMPARE_LE(afterBroadcasts.xWindows, withModules.xWindows);
    QCOMPARE_LE(afterBroadcasts.objects, withModules.objects);
}

void tst_E2eModules::everyModuleLaunchesAndReportsReady_data()
{
    QTest::addColumn<int>("type");
    for (const ModuleInfo &module : ModuleInfo::all())
        QTest::newRow(qPrintable(module.executableName)) << module.applicationType;
}

void tst_E2eModules::everyModuleLaunchesAndReportsReady()
{
    QFETCH(int, type);
    const auto appType = DashboardGlobal::ApplicationType(type);
    const Ready ready = launch(appType);
    QCOMPARE(ready.name, m_window->getApplicationExec(appType));
    QVERIFY(ready.pid > 0);
    // The pid is the program the launcher started, under its module name.
    QCOMPARE(QFileInfo(QStringLiteral("/proc/%1/exe").arg(ready.pid)).symLinkTarget(),
             QFileInfo(QCoreApplication::applicationDirPath() + u'/' + ready.name).canonicalFilePath());
    // The window id is a real window of the server, the module's own.
    QVERIFY(E2e::windowExists(ready.window));
    // The module writes its line after its report went out.
    QTRY_VERIFY_WITH_TIMEOUT(E2e::moduleLog(m_events.path(), ready.pid)
                                     .contains(QStringLiteral("ready %1").arg(ready.window)),
                             EVENT_TIMEOUT_MS);
    const QStringList log = E2e::moduleLog(m_events.path(), ready.pid);
    QVERIFY2(log.value(0).startsWith(QStringLiteral("start %1 --dashboard %2")
                                             .arg(ready.name)
                                             .arg(m_window->windowId())),
             qPrintable(log.value(0)));
}

void tst_E2eModules::moduleIsEmbeddedAndFollowsTheItem()
{
    const Ready module = launch(DashboardGlobal::APP_NFPA);
    QVERIFY(module.pid > 0);
    DashboardAppWindow *item = embed(module.window);
    QVERIFY(item);
    QVERIFY(item->containerWindow() != 0);
    const auto container = xcb_window_t(item->containerWindow());

    // In the server's tree: dashboard window > container > module window.
    QTRY_COMPARE_WITH_TIMEOUT(E2e::queryTree(module.window).value_or(E2e::Tree()).parent, container,
                              EVENT_TIMEOUT_MS);
    QCOMPARE(E2e::queryTree(container).value_or(E2e::Tree()).parent, xcb_window_t(m_window->winId()));
    QTRY_COMPARE_WITH_TIMEOUT(E2e::geometry(module.window).size(), QSize(900, 600), EVENT_TIMEOUT_MS);
    QCOMPARE(E2e::geometry(container), QRect(20, 64, 900, 600));

    // The screenshot a person looks at: the dashboard's window with the module inside.
    QImage shot;
    QTRY_VERIFY_WITH_TIMEOUT(
            (shot = m_window->screen()->grabWindow(m_window->winId()).toImage(),
             !shot.isNull() && shot.pixelColor(40, 84) != shot.pixelColor(5, 700)),
            EVENT_TIMEOUT_MS);
    const QString artifacts = QCoreApplication::applicationDirPath() + QStringLiteral("/artifacts");
    QVERIFY(QDir().mkpath(artifacts));
    QVERIFY(shot.save(artifacts + QStringLiteral("/dashboard_with_module.png")));

    // The item's size is the module's size.
    item->setWidth(640);
    item->setHeight(420);
    QTRY_COMPARE_WITH_TIMEOUT(E2e::geometry(module.window).size(), QSize(640, 420), EVENT_TIMEOUT_MS);
    QCOMPARE(E2e::geometry(container), QRect(20, 64, 640, 420));
}

void tst_E2eModules::printerEventsReachEveryModule()
{
    QList<qint64> pids;
    for (const ModuleInfo &module : ModuleInfo::all())
        pids << launch(DashboardGlobal::ApplicationType(module.applicationType)).pid;
    QVERIFY(!pids.contains(0));

    m_printers->writePrinters({ PrinterFixture::printer("P1", "Ondrel X100 Series", 3, "SUP-1",
                                                        { "R1" }, "1.0.0-1", 3, false, true),
                                PrinterFixture::printer("P2", "Generic PCL Driver", 0) });
    for (qint64 pid : std::as_const(pids))
        expectBroadcastAt(pid, QStringLiteral("broadcast StatusChanged: 3, P1, -, -"));

    m_printers->writePrinters({ PrinterFixture::printer("P1", "Ondrel X100 Series", 3, "SUP-9",
                                                        { "R1" }, "1.0.0-1", 3, false, true),
                                PrinterFixture::printer("P2", "Generic PCL Driver", 0) });
    for (qint64 pid : std::as_const(pids))
        expectBroadcastAt(pid, QStringLiteral("broadcast SupplyChanged: SUP-9, P1, -, -"));

    m_printers->writePrinters({ PrinterFixture::printer("P1", "Ondrel X100 Series", 3, "SUP-9",
                                                        { "R7", "R8" }, "1.0.0-1", 3, false, true),
                                PrinterFixture::printer("P2", "Generic PCL Driver", 0) });
    for (qint64 pid : std::as_const(pids))
        expectBroadcastAt(pid, QStringLiteral("broadcast RibbonChanged: [R7, R8], P1, -, -"));
}

void tst_E2eModules::openLabelFileStartsTheRightModule()
{
    const QString label = m_files.filePath(QStringLiteral("Main Line.KXPM"));
    PrinterFixture::writeFile(label, "pipe");
    // The module asks as soon as it is ready; only the module launched here is told to.
    qputenv("KORVEX_DEMO_MODULE_OPEN", QFile::encodeName(label));
    m_window->launchApplication(DashboardGlobal::APP_NFPA);
    qunsetenv("KORVEX_DEMO_MODULE_OPEN");

    QTRY_VERIFY_WITH_TIMEOUT(m_ready.size() == 2, START_TIMEOUT_MS);
    QCOMPARE(m_ready.at(0).name, QStringLiteral("NFPAMain.exe"));
    QCOMPARE(m_ready.at(1).name, QStringLiteral("PipeMarkingMain.exe"));
    const QStringList log = E2e::moduleLog(m_events.path(), m_ready.at(1).pid);
    QVERIFY2(log.value(0).endsWith(u' ' + label), qPrintable(log.value(0)));
    QVERIFY(log.contains(QStringLiteral("file ") + label));
    // So the dashboard's Recently viewed list finds it in the module's history.
    QSettings store(QDir::homePath() + QStringLiteral("/.config/Quorvane Inc/PipeMarking.ini"),
                    QSettings::IniFormat);
    const auto history = FileControllerTools::loadFileHistory(&store, QStringLiteral("fileHistory"));
    QVERIFY(!history.isEmpty());
    QCOMPARE(history.first().first, label);
}

void tst_E2eModules::closeApplicationClosesTheModule()
{
    const Ready module = launch(DashboardGlobal::APP_ARCFLASH);
    QVERIFY(module.pid > 0);
    QPointer<DashboardAppWindow> item = embed(module.window);
    QVERIFY(item);
    QTRY_COMPARE_WITH_TIMEOUT(E2e::queryTree(module.window).value_or(E2e::Tree()).parent,
                              xcb_window_t(item->containerWindow()), EVENT_TIMEOUT_MS);
    QStringList events;
    QObject scope; // the connections end with this test
    connect(item, &DashboardAppWindow::windowDestroyed, &scope, [&] { events << QStringLiteral("windowDestroyed"); });
    connect(m_window->launcher(), &LauncherController::applicationClosed, &scope,
            [&](qint64 pid) { events << QStringLiteral("applicationClosed %1").arg(pid); });
    item->closeApplication();
    QTRY_VERIFY_WITH_TIMEOUT(events.contains(QStringLiteral("applicationClosed %1").arg(module.pid))
                                     && events.contains(QStringLiteral("windowDestroyed")),
                             EVENT_TIMEOUT_MS);
    QTRY_VERIFY(!item);
    QCOMPARE(events.count(QStringLiteral("windowDestroyed")), 1);
    QVERIFY(E2e::moduleLog(m_events.path(), module.pid).contains(QStringLiteral("close WM_CLOSE")));
    QVERIFY(!E2e::windowExists(module.window));
    qInfo("order of the ends: %s", qPrintable(events.join(QStringLiteral(", "))));
}

void tst_E2eModules::killedModuleIsNoticed()
{
    const Ready module = launch(DashboardGlobal::APP_CHEMICAL);
    QVERIFY(module.pid > 0);
    QPointer<DashboardAppWindow> item = embed(module.window);
    QVERIFY(item);
    QSignalSpy destroyed(item.data(), &DashboardAppWindow::windowDestroyed);
    QSignalSpy closed(m_window->launcher(), &LauncherController::applicationClosed);
    QCOMPARE(::kill(pid_t(module.pid), SIGKILL), 0);
    QTRY_COMPARE_WITH_TIMEOUT(destroyed.size(), 1, EVENT_TIMEOUT_MS);
    QTRY_VERIFY_WITH_TIMEOUT(!closed.isEmpty(), EVENT_TIMEOUT_MS);
    QCOMPARE(closed.at(0).at(0).toLongLong(), module.pid);
    QTRY_VERIFY(!item);
}

void tst_E2eModules::hungModuleDoesNotFreezeTheDashboard()
{
    const Ready hung = launch(DashboardGlobal::APP_NFPA);
    const Ready healthy = launch(DashboardGlobal::APP_ARCFLASH);
    QVERIFY(hung.pid > 0 && healthy.pid > 0);
    QPointer<DashboardAppWindow> item = embed(hung.window);
    QCOMPARE(::kill(pid_t(hung.pid), SIGSTOP), 0);

    QElapsedTimer timer;
    timer.start();
    for (int i = 0; i < 50; ++i) {
        QElapsedTimer one;
        one.start();
        m_window->messagingHelper()->onStatusChanged(2, QStringLiteral("P%1").arg(i));
        QVERIFY2(one.elapsed() < FREEZE_BOUND_MS, qPrintable(QString::number(one.elapsed())));
    }
    QVERIFY2(timer.elapsed() < FREEZE_BOUND_MS, qPrintable(QString::number(timer.elapsed())));
    // The event loop still turns, the embedded item still watches, the other module hears.
    bool turned = false;
    QObject scope;
    QTimer::singleShot(0, &scope, [&] { turned = true; });
    QTRY_VERIFY_WITH_TIMEOUT(turned, FREEZE_BOUND_MS);
    expectBroadcastAt(healthy.pid, QStringLiteral("broadcast StatusChanged: 2, P49, -, -"));
    QVERIFY(item);
    QCOMPARE(::kill(pid_t(hung.pid), SIGCONT), 0);
}

void tst_E2eModules::moduleKeepsItsWindowWhenTheDashboardDies()
{
    QProcess host;
    host.start(QCoreApplication::applicationDirPath() + QStringLiteral("/e2e_dashboard_host"),
               { QString::number(DashboardGlobal::APP_PIPEMARKING) });
    QVERIFY(host.waitForStarted(START_TIMEOUT_MS));
    QByteArray line;
    QTRY_VERIFY_WITH_TIMEOUT((line += host.readLine(), line.endsWith('\n')), START_TIMEOUT_MS);
    const QList<QByteArray> words = line.trimmed().split(' ');
    QCOMPARE(words.size(), 4);
    QCOMPARE(words.at(0), QByteArray("embedded"));
    const auto module = xcb_window_t(words.at(1).toUInt());
    const qint64 pid = words.at(2).toLongLong();
    const auto container = xcb_window_t(words.at(3).toULongLong());
    m_started << pid;
    QTRY_COMPARE_WITH_TIMEOUT(E2e::queryTree(module).value_or(E2e::Tree()).parent, container,
                              EVENT_TIMEOUT_MS);

    host.kill();
    QVERIFY(host.waitForFinished(EVENT_TIMEOUT_MS));
    // The container went with its program; the module's window is back on the root window.
    QTRY_VERIFY_WITH_TIMEOUT(!E2e::windowExists(container), EVENT_TIMEOUT_MS);
    const auto tree = E2e::queryTree(module);
    QVERIFY2(tree.has_value(), qPrintable(QStringLiteral("module alive: %1; its log: %2")
                                                  .arg(::kill(pid_t(pid), 0) == 0)
                                                  .arg(E2e::moduleLog(m_events.path(), pid).join(u'|'))));
    QCOMPARE(tree->parent, tree->root);
    QCOMPARE(::kill(pid_t(pid), 0), 0);
}

void tst_E2eModules::moduleKilledInTheMiddleOfAMessage()
{
    QSignalSpy open(m_window->messagingHelper(), &QVIPCHelper_win32::openLabel);
    const QString whole = QStringLiteral("/cut/") + QString(512 * 1024, QLatin1Char('x'));
    for (const char *delay : { "0", "300", "3000", "30000", "200000" }) {
        QProcess cutoff;
        QVERIFY(startHelper(&cutoff, QStringLiteral("module_cutoff"), { QString::fromLatin1(delay) }));
        QVERIFY(cutoff.waitForFinished(START_TIMEOUT_MS));
        QCOMPARE(cutoff.exitStatus(), QProcess::CrashExit);
    }
    // Whatever arrived, arrived whole.
    for (const QList<QVariant> &arguments : std::as_const(open))
        QCOMPARE(arguments.at(0).toString(), whole);
    dashboardStillWorks();
}

void tst_E2eModules::moduleFloodingMessages()
{
    QSignalSpy clicked(m_window->messagingHelper(), &QVIPCHelper_win32::applicationClicked);
    int ticks = 0;
    QTimer ticker;
    connect(&ticker, &QTimer::timeout, &ticker, [&] { ++ticks; });
    ticker.start(10);
    QProcess flood;
    QVERIFY(startHelper(&flood, QStringLiteral("module_flood")));
    QTRY_VERIFY_WITH_TIMEOUT(std::any_of(m_ready.cbegin(), m_ready.cend(),
                                         [](const Ready &r) { return r.name == u"module_flood"; }),
                             START_TIMEOUT_MS);
    // Every message arrived, in order: all the clicks came before the ready report.
    QCOMPARE(clicked.size(), 10000);
    QVERIFY(ticks > 0);
    dashboardStillWorks();
}

void tst_E2eModules::moduleThatNeverReportsReady()
{
    QProcess silent;
    const quint32 window = startHelper(&silent, QStringLiteral("module_silent"));
    QVERIFY(window);
    QTRY_VERIFY_WITH_TIMEOUT(m_window->messagingHelper()->registeredModules().contains(window),
                             EVENT_TIMEOUT_MS);
    dashboardStillWorks();
    QVERIFY(std::none_of(m_ready.cbegin(), m_ready.cend(),
                         [&](const Ready &r) { return r.pid == silent.processId(); }));
    silent.kill();
    QVERIFY(silent.waitForFinished(EVENT_TIMEOUT_MS));
    dashboardStillWorks();
}

void tst_E2eModules::messageForAWindowThatJustDied()
{
    QProcess vanish;
    const quint32 window = startHelper(&vanish, QStringLiteral("module_vanish"));
    QVERIFY(window);
    QVERIFY(vanish.waitForFinished(START_TIMEOUT_MS));
    QTRY_VERIFY_WITH_TIMEOUT(!E2e::windowExists(window), EVENT_TIMEOUT_MS);
    // Still listed (it never unregistered): every broadcast goes to a dead window first.
    QElapsedTimer timer;
    timer.start();
    m_window->messagingHelper()->closeApplicationRequest();
    m_window->messagingHelper()->onSupplyIdChanged(QStringLiteral("P1"));
    QVERIFY(timer.elapsed() < FREEZE_BOUND_MS);
    dashboardStillWorks();
}

// Skipped as a whole (CTest's code 77) where this process has no X11 backend: nothing could
// be embedded or reached.
int main(int argc, char **argv)
{
    QGuiApplication app(argc, argv);
    const QByteArray backend = NativeWindowSystem::backend()->name();
    if (backend != "xcb") {
        std::printf("SKIP: the native window backend on \"%s\" is \"%s\", not X11\n",
                    qPrintable(QGuiApplication::platformName()), backend.constData());
        return 77;
    }
    tst_E2eModules test;
    QTEST_SET_MAIN_SOURCE_PATH
    return QTest::qExec(&test, argc, argv);
}
#include "tst_e2e_modules.moc"
