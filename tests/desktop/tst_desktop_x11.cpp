// The real dashboard under the window managers people run, driven as a user drives it: real
// pointer clicks and keys (XTEST, through xdotool) start every module from the navigation bar,
// close and reopen them, type into a module, leave it with the keyboard, and open the menu and
// the About box over a running module. The X server's own view (the window tree, map states,
// what the screen shows) says whether each step worked.
//
// One row per window manager; a manager that is not installed skips its row with the reason.
// Two Wayland desktops under weston follow: one without any X server, one with XWayland.
// KORVEX_DESKTOP_WMS picks the rows ("all" for every one), KORVEX_DESKTOP_CYCLES how often each
// module is closed and opened again.
#include "dashboard_host.h"
#include "desktop_session.h"
#include "desktop_x11.h"
#include "host_x11_test.h"

#include <korvexdashboard.h>

#include <QDeadlineTimer>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QLibraryInfo>
#include <QProcess>
#include <QQuickItem>
#include <QRegularExpression>
#include <QSet>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

#include <algorithm>
#include <cstdio>
#include <functional>
#include <memory>
#include <utility>

#include <signal.h>
#include <unistd.h>

using DesktopX11::XServer;
using namespace DesktopSession;

namespace {

// The host and a module start in well under a second; a loaded machine needs far more.
constexpr int START_TIMEOUT_MS = 60000;
// How long an embedded module must stay where it is, untouched by the window manager.
constexpr int HOLD_MS = 2000;
const char DEFAULT_ROWS[] = "openbox,xfwm4,mutter";
constexpr int DEFAULT_CYCLES = 1;
// What QtTest's watchdog allows a row and each cycle of all modules in it: far more than they
// take (under a minute for a row, half a minute for a cycle), less than a hung run would.
constexpr qint64 ROW_BUDGET_MS = 240000;
constexpr qint64 CYCLE_BUDGET_MS = 120000;
// A strip of the X screen beside weston's window, where the pointer is outside it.
constexpr int WESTON_MARGIN = 16;

bool rowWanted(const WindowManager &manager)
{
    const QString wanted = qEnvironmentVariableIsSet("KORVEX_DESKTOP_WMS")
            ? qEnvironmentVariable("KORVEX_DESKTOP_WMS")
            : QString::fromLatin1(DEFAULT_ROWS);
    return wanted == QLatin1String("all")
            || wanted.split(u',', Qt::SkipEmptyParts).contains(QLatin1String(manager.name));
}

int cyclesWanted()
{
    return qEnvironmentVariableIsSet("KORVEX_DESKTOP_CYCLES")
            ? qEnvironmentVariableIntValue("KORVEX_DESKTOP_CYCLES")
            : DEFAULT_CYCLES;
}

// QtTest's watchdog covers all rows of a function together: room for every row asked for.
void setWatchdogForTheRows()
{
    if (qEnvironmentVariableIsSet("QTEST_FUNCTION_TIMEOUT"))
        return;
    const QList<WindowManager> managers = windowManagers();
    const auto rows = std::count_if(managers.cbegin(), managers.cend(), rowWanted);
    const qint64 perRow = ROW_BUDGET_MS + qint64(cyclesWanted()) * CYCLE_BUDGET_MS;
    qputenv("QTEST_FUNCTION_TIMEOUT", QByteArray::number(qMax<qint64>(1, rows) * perRow));
}

// Where a picture shows in a larger one, as its top-left corner; a null point when nowhere.
// Two renderings of the same scene differ in their text's edges, so a few of the points
// compared may disagree.
QPoint findPicture(const QImage &whole, const QImage &part)
{
    const QImage screen = whole.convertToFormat(QImage::Format_RGB32);
    const QImage wanted = part.convertToFormat(QImage::Format_RGB32);
    QList<QPoint> samples;
    for (int y = 0; y < wanted.height(); y += 4) {
        for (int x = 0; x < wanted.width(); x += 4)
            samples << QPoint(x, y);
    }
    const auto pixel = [](const QImage &image, int x, int y) {
        return reinterpret_cast<const QRgb *>(image.constScanLine(y))[x];
    };
    const auto far = [](QRgb a, QRgb b) {
        return qAbs(qRed(a) - qRed(b)) + qAbs(qGreen(a) - qGreen(b)) + qAbs(qBlue(a) - qBlue(b));
    };
    const QRgb corner = pixel(wanted, 0, 0);
    for (int y = 0; y + wanted.height() <= screen.height(); ++y) {
        for (int x = 0; x + wanted.width() <= screen.width(); ++x) {
            if (far(pixel(screen, x, y), corner) > 6)
                continue;
            int misses = 0;
            for (const QPoint &p : std::as_const(samples)) {
                if (far(pixel(screen, x + p.x(), y + p.y()), pixel(wanted, p.x(), p.y())) > 24
                    && ++misses > samples.size() / 10)
                    break;
            }
            if (misses <= samples.size() / 10)
                return QPoint(x, y);
        }
    }
    return QPoint();
}

} // namespace

#define CHECK(step)                                                                                \
    do {                                                                                           \
        step;                                                                                      \
        if (QTest::currentTestFailed())                                                            \
            return;                                                                                \
    } while (false)

class tst_DesktopX11 : public QObject
{
    Q_OBJECT

public:
    explicit tst_DesktopX11(const QProcessEnvironment &environment) : m_environment(environment) {}

private Q_SLOTS:
    void initTestCase();
    void cleanup();

    void modulesHoldUnderTheWindowManager_data();
    void modulesHoldUnderTheWindowManager();
    void modulesOpenInTheirOwnWindowsWithoutX();
    void modulesEmbedThroughXWaylandUnderWeston();

private:
    using Module = DesktopSession::Module;

    void startWindowManager(const WindowManager &manager);
    void startWeston(const QString &runtime, const QString &socket, const QStringList &arguments);
    // The host's environment for a weston row and weston started with those arguments;
    // socket: the Wayland display's name.
    void startWestonRow(const QString &row, const QStringList &arguments, QProcessEnvironment *environment,
                        QString *socket);
    QString westonLog() const;
    void westonPointer(const QPoint &onScreen, bool click);
    QPoint findOnScreen(const QImage &picture);
    // The X server the host runs on: the test's own, or XWayland's under weston.
    const XServer &hostDisplay() const { return m_xwayland ? *m_xwayland : *m_display; }
    // What the test's screen shows of an area of the host's window.
    QImage seenInHost(const QRect &inHost) const;
    void hostEnvironment(QProcessEnvironment *environment);
    void launchHost(const QProcessEnvironment &environment,
                    QProcess::ProcessChannelMode channels = QProcess::ForwardedErrorChannel);
    void startHost();
    void stopHost();
    QQuickItem *layoutItem(const QString &objectName) const;
    QList<Module> modulesOfTheBar() const;
    QPoint closeButtonFor(const Module &module);
    void click(const QPoint &inHost);
    void pointAt(const QPoint &inHost);
    void keys(const QStringList &keys);
    void type(const QString &text);
    void screenshot(const QString &name);
    QStringList moduleLog(qint64 pid) const;

    // Each checks one thing the user sees and fails the test when it does not hold.
    void openModule(const Module &module, xcb_window_t *window, qint64 *pid);
    void everyModuleOpensHoldsAndCloses(
            const std::function<void(const Module &, xcb_window_t, qint64)> &withTheFirst);
    void checkEmbeddedAndHolding(xcb_window_t window, const QString &what);
    void checkModuleVisible(xcb_window_t window);
    void checkDashboardAroundModule(xcb_window_t window);
    double staleScreenEvidence(xcb_window_t window, const QRect &rect);
    void closeModule(const Module &module, xcb_window_t window, qint64 pid);
    void keyboardFollowsClicksNotThePointer(xcb_window_t window, qint64 pid);
    void tabStaysInTheModule(xcb_window_t window, qint64 pid);
    void menusOpenOverTheModule(const Module &module);
    void foreignClientEmbeds(const Module &asModule);

    QProcessEnvironment m_environment;
    std::unique_ptr<XServer> m_display;
    QTemporaryDir m_home;
    QTemporaryDir m_scratch;
    QString m_artifacts;
    QString m_row;
    std::unique_ptr<QProcess> m_windowManager;
    // Under weston with XWayland: its X server, and where the host's window shows on the
    // test's screen (weston draws it there; X coordinates on XWayland say nothing about that).
    std::unique_ptr<XServer> m_xwayland;
    QPoint m_shownAt;
    std::unique_ptr<QProcess> m_host;
    qint64 m_hostPid = 0;
    xcb_window_t m_hostWindow = XCB_NONE;
    QRect m_hostRect;
    std::unique_ptr<DashboardHost> m_layout;
};

void tst_DesktopX11::initTestCase()
{
    QVERIFY(m_home.isValid() && m_scratch.isValid());
    m_display = std::make_unique<XServer>();
    QVERIFY2(m_display->isValid(), "no X server to connect to");
    m_artifacts = QCoreApplication::applicationDirPath() + QStringLiteral("/artifacts");
    QVERIFY(QDir().mkpath(m_artifacts));
    QVERIFY2(QFileInfo(QStringLiteral(KORVEX_DESKTOP_HOST_PROGRAM)).isExecutable(),
             "the host program is not built");

    // The test's copy of the front end, laid out like the real one, tells where to click. It
    // reads its settings from a home of its own, fresh as the real one's.
    QVERIFY(HostX11Test::useOwnHome(m_scratch.filePath(QStringLiteral("layout-home"))));
    m_layout = std::make_unique<DashboardHost>();
    DashboardHost::Options options;
    options.labelFolder = m_scratch.filePath(QStringLiteral("layout-labels"));
    QVERIFY2(m_layout->start(options), qPrintable(m_layout->errors().join(u'\n')));
    QTRY_VERIFY(m_layout->isReady());
}

void tst_DesktopX11::cleanup()
{
    stopHost();
    m_xwayland.reset();
    if (m_windowManager) {
        // The next row starts on a display no manager holds.
        QVERIFY(stopWindowManager(&m_windowManager, *m_display, START_TIMEOUT_MS));
    }
}

void tst_DesktopX11::modulesHoldUnderTheWindowManager_data()
{
    QTest::addColumn<int>("manager");
    const QList<WindowManager> managers = windowManagers();
    for (int i = 0; i < managers.size(); ++i) {
        if (rowWanted(managers[i]))
            QTest::newRow(managers[i].name) << i;
    }
}

void tst_DesktopX11::modulesHoldUnderTheWindowManager()
{
    QFETCH(int, manager);
    const WindowManager wm = windowManagers().at(manager);
    m_row = QString::fromLatin1(wm.name);
    if (wm.program && QStandardPaths::findExecutable(QString::fromLatin1(wm.program)).isEmpty())
        QSKIP(qPrintable(QStringLiteral("%1 is not installed").arg(QLatin1String(wm.program))));
    CHECK(startWindowManager(wm));
    CHECK(startHost());

    CHECK(everyModuleOpensHoldsAndCloses([this](const Module &module, xcb_window_t window, qint64 pid) {
        screenshot(m_row + QStringLiteral("_module"));
        CHECK(keyboardFollowsClicksNotThePointer(window, pid));
        CHECK(menusOpenOverTheModule(module));
    }));
    CHECK(foreignClientEmbeds(modulesOfTheBar().first()));
}

// Every module of the navigation bar, by real clicks: embedded, still there and viewable after
// a while, its own picture on the screen, closed, then opened and closed again as often as
// asked. The first one, while it is shown, also gets what withTheFirst tries.
void tst_DesktopX11::everyModuleOpensHoldsAndCloses(
        const std::function<void(const Module &, xcb_window_t, qint64)> &withTheFirst)
{
    const QList<Module> modules = modulesOfTheBar();
    QCOMPARE(modules.size(), 8);
    const int cycles = cyclesWanted();
    for (const Module &module : modules) {
        xcb_window_t window = XCB_NONE;
        qint64 pid = 0;
        CHECK(openModule(module, &window, &pid));
        CHECK(checkEmbeddedAndHolding(window, module.name));
        CHECK(checkModuleVisible(window));
        CHECK(checkDashboardAroundModule(window));
        if (module.appType == modules.first().appType) {
            CHECK(withTheFirst(module, window, pid));
            CHECK(openModule(module, &window, &pid)); // shown again from the side bar
        }
        CHECK(closeModule(module, window, pid));
        for (int cycle = 0; cycle < cycles; ++cycle) {
            CHECK(openModule(module, &window, &pid));
            CHECK(checkEmbeddedAndHolding(window, module.name));
            CHECK(closeModule(module, window, pid));
        }
    }
}

// A Wayland session without any X server: nothing can be embedded, so the dashboard says once
// that modules open in their own windows, never reports a running module as failed, and one
// click starts one module. Weston runs in a window of the test's X server, which gives its
// pixels and takes the clicks.
void tst_DesktopX11::modulesOpenInTheirOwnWindowsWithoutX()
{
    if (QStandardPaths::findExecutable(QStringLiteral("weston")).isEmpty())
        QSKIP("weston is not installed (Debian package weston)");
    const QString plugins = QLibraryInfo::path(QLibraryInfo::PluginsPath) + QStringLiteral("/platforms");
    if (QDir(plugins).entryList({ QStringLiteral("libqwayland*") }, QDir::Files).isEmpty())
        QSKIP("Qt's Wayland platform plugin is not installed (Debian package qt6-wayland)");
    QProcessEnvironment environment;
    QString socket;
    CHECK(startWestonRow(QStringLiteral("wayland"), {}, &environment, &socket));
    const QSize screen = m_display->rectOnScreen(m_display->root()).size();

    // The dashboard as a Wayland client, with no X server to reach.
    environment.remove(QStringLiteral("DISPLAY"));
    environment.remove(QStringLiteral("QT_QPA_PLATFORM"));
    environment.insert(QStringLiteral("WAYLAND_DISPLAY"), socket);
    environment.insert(QStringLiteral("XDG_SESSION_TYPE"), QStringLiteral("wayland"));
    // Far shorter than the wait for a module's window, so that the test sees it pass.
    constexpr int startTimeout = 1000;
    environment.insert(QStringLiteral("KORVEX_MODULE_START_TIMEOUT_MS"), QString::number(startTimeout));
    CHECK(launchHost(environment, QProcess::SeparateChannels));
    QByteArray log;
    const auto output = [&] {
        log += m_host->readAllStandardError();
        return log;
    };

    // Where weston placed the dashboard: its navigation bar's top, as the test's copy draws it.
    QQuickItem *bar = layoutItem(QStringLiteral("navigationBar"));
    QVERIFY(bar);
    const QImage copy = m_layout->window()->grabWindow();
    const QImage barTop = copy.copy(QRect(0, 0, int(bar->width()), 100));
    QPoint origin;
    QVERIFY2(QTest::qWaitFor([&] {
                 origin = findOnScreen(barTop);
                 return !origin.isNull() || m_host->state() != QProcess::Running;
             }, START_TIMEOUT_MS),
             qPrintable(QStringLiteral("the dashboard did not show on the Wayland desktop: %1")
                                .arg(QString::fromLocal8Bit(output()))));
    QVERIFY2(m_host->state() == QProcess::Running, "the dashboard exited");
    screenshot(m_row + QStringLiteral("_dashboard"));

    const QList<Module> modules = modulesOfTheBar();
    QVERIFY(!modules.isEmpty());
    const Module &module = modules.first();
    const auto clickAt = [&](const QPoint &inWindow) { westonPointer(origin + inWindow, true); };
    const auto modulesRunning = [&] {
        QList<qint64> running;
        for (const qint64 pid : childrenOf(m_hostPid)) {
            if (programName(pid) == m_layout->window()->getApplicationExec(DashboardGlobal::ApplicationType(module.appType)))
                running << pid;
        }
        return running;
    };

    // One click: the module starts and shows its own window.
    CHECK(clickAt(module.button));
    qint64 pid = 0;
    QVERIFY2(QTest::qWaitFor([&] {
                 const QList<qint64> running = modulesRunning();
                 pid = running.isEmpty() ? 0 : running.first();
                 return pid && moduleLog(pid).filter(QStringLiteral("path field")).size() > 0;
             }, START_TIMEOUT_MS),
             qPrintable(QStringLiteral("%1 did not open a window: %2").arg(module.name, QString::fromLocal8Bit(output()))));

    // The dashboard, brought forward by a click on a quiet place of it that the module's window
    // (placed anywhere) leaves uncovered, shows the notice: the navigation bar's left margin.
    const QColor barColor = bar->property("color").value<QColor>();
    QPoint quiet;
    const QImage now = m_display->image(m_display->root(), QRect(QPoint(), screen));
    for (int y = 110; y < int(bar->height()) - 10 && quiet.isNull(); y += 10) {
        if (distance(now.pixelColor(origin + QPoint(2, y)), barColor) <= 6)
            quiet = QPoint(2, y);
    }
    QVERIFY2(!quiet.isNull(), "the module's window covers the whole navigation bar");
    QObject *root = m_layout->rootItem();
    root->setProperty("ownWindowsNoticeDue", true);
    QQuickItem *notice = nullptr;
    QTRY_VERIFY((notice = layoutItem(QStringLiteral("ownWindowsNotice"))) && notice->height() > 0);
    const QImage withNotice = m_layout->window()->grabWindow();
    const QPoint noticeLeft = notice->mapToScene(QPointF(4, notice->height() / 2)).toPoint();
    // Its band's left end, where the page shows otherwise: the copy is not as wide as the window.
    const QPoint noticeTop = notice->mapToScene(QPointF(4, 3)).toPoint();
    root->setProperty("ownWindowsNoticeDue", false);
    CHECK(clickAt(quiet));
    for (const QPoint &point : { noticeLeft, noticeTop }) {
        const QColor wanted = withNotice.pixelColor(point);
        QVERIFY2(QTest::qWaitFor([&] {
                     const QImage seen = m_display->image(m_display->root(), QRect(origin + point, QSize(1, 1)));
                     return !seen.isNull() && distance(seen.pixelColor(0, 0), wanted) <= 6;
                 }, START_TIMEOUT_MS),
                 qPrintable(QStringLiteral("the notice does not show at %1,%2").arg(point.x()).arg(point.y())));
    }
    screenshot(m_row + QStringLiteral("_notice"));

    // A second click shows what runs; nothing else starts, and in several times the wait for a
    // window, no failure is reported.
    CHECK(clickAt(module.button));
    QVERIFY(!QTest::qWaitFor([&] { return modulesRunning().size() > 1 || output().contains("did not start"); },
                             3 * startTimeout));
    QCOMPARE(modulesRunning(), QList<qint64>{ pid });
    QVERIFY2(!output().contains("Module Error"), output().constData());
    QCOMPARE(output().count("starting: "), 1);
}

// A Wayland desktop as most of its users run the dashboard: weston with XWayland, the dashboard
// and its modules on XWayland's X server. Every module opened from the navigation bar is
// embedded there, stays, shows its own picture where weston draws the dashboard, and ends when
// closed, as often as it is opened again; the first one takes typed text too. Weston runs in a window of the test's X server, which gives its pixels and
// takes the clicks and keys.
void tst_DesktopX11::modulesEmbedThroughXWaylandUnderWeston()
{
    if (QStandardPaths::findExecutable(QStringLiteral("weston")).isEmpty())
        QSKIP("weston is not installed (Debian package weston)");
    if (QStandardPaths::findExecutable(QStringLiteral("Xwayland")).isEmpty())
        QSKIP("Xwayland is not installed (Debian package xwayland)");
    QProcessEnvironment environment;
    QString socket;
    CHECK(startWestonRow(QStringLiteral("xwayland"), { QStringLiteral("--xwayland") }, &environment, &socket));

    // Weston opens an X display of its own at once and starts XWayland for its first client.
    QString display;
    QVERIFY2(QTest::qWaitFor([&] {
                 static const QRegularExpression listening(QStringLiteral("xserver listening on display (:\\d+)"));
                 display = listening.match(westonLog()).captured(1);
                 return !display.isEmpty() || m_windowManager->state() != QProcess::Running;
             }, START_TIMEOUT_MS),
             qPrintable(QStringLiteral("weston opened no X display: %1").arg(westonLog())));
    m_xwayland = std::make_unique<XServer>(qPrintable(display));
    QVERIFY2(m_xwayland->isValid(), qPrintable(QStringLiteral("XWayland did not start: %1").arg(westonLog())));
    QVERIFY2(QTest::qWaitFor([&] {
                 return m_xwayland->windowManagerAnnounced() || m_windowManager->state() != QProcess::Running;
             }, START_TIMEOUT_MS),
             qPrintable(QStringLiteral("weston's X window manager did not start: %1").arg(westonLog())));

    // The session a Wayland desktop gives its programs; the dashboard chooses X11 itself.
    environment.remove(QStringLiteral("QT_QPA_PLATFORM"));
    environment.insert(QStringLiteral("WAYLAND_DISPLAY"), socket);
    environment.insert(QStringLiteral("DISPLAY"), display);
    environment.insert(QStringLiteral("XDG_SESSION_TYPE"), QStringLiteral("wayland"));
    CHECK(launchHost(environment));
    QString error;
    QVERIFY2(waitForHostDrawn(*m_xwayland, *m_host, m_layout.get(), START_TIMEOUT_MS, &m_hostWindow, &m_hostRect,
                              &error, true),
             qPrintable(error));

    // Where weston shows the dashboard: its whole first screenful, as the copy draws it.
    QQuickItem *bar = layoutItem(QStringLiteral("navigationBar"));
    QVERIFY(bar);
    const QImage barTop = m_layout->window()->grabWindow().copy(QRect(0, 0, int(bar->width()), 100));
    QVERIFY2(QTest::qWaitFor([&] {
                 m_shownAt = findOnScreen(barTop);
                 return !m_shownAt.isNull();
             }, START_TIMEOUT_MS),
             "the dashboard did not show on the Wayland desktop");
    const QRect screen = m_display->rectOnScreen(m_display->root());
    QVERIFY2(screen.contains(QRect(m_shownAt, m_hostRect.size())),
             qPrintable(QStringLiteral("the dashboard shows at %1,%2, not whole on the screen")
                                .arg(m_shownAt.x()).arg(m_shownAt.y())));
    screenshot(m_row + QStringLiteral("_dashboard"));

    CHECK(everyModuleOpensHoldsAndCloses([this](const Module &module, xcb_window_t window, qint64 pid) {
        screenshot(m_row + QStringLiteral("_module"));
        CHECK(keyboardFollowsClicksNotThePointer(window, pid));
        CHECK(tabStaysInTheModule(window, pid));
        screenshot(m_row + QStringLiteral("_typed"));
        CHECK(menusOpenOverTheModule(module));
    }));
    screenshot(m_row + QStringLiteral("_closed"));
}

void tst_DesktopX11::startWeston(const QString &runtime, const QString &socket, const QStringList &arguments)
{
    const QSize screen = m_display->rectOnScreen(m_display->root()).size();
    // Weston's defaults but for key repeat: a Wayland client repeats a key itself until the
    // release reaches it, which on a loaded machine may be later than the repeat delay.
    const QString config = m_scratch.filePath(QStringLiteral("weston.ini"));
    QFile ini(config);
    QVERIFY(ini.open(QIODevice::WriteOnly) && ini.write("[keyboard]\nrepeat-rate=0\n") > 0);
    ini.close();
    m_windowManager = std::make_unique<QProcess>();
    QProcessEnvironment westonEnvironment = m_environment;
    westonEnvironment.insert(QStringLiteral("XDG_RUNTIME_DIR"), runtime);
    westonEnvironment.insert(QStringLiteral("HOME"), m_home.path());
    m_windowManager->setProcessEnvironment(westonEnvironment);
    m_windowManager->setProcessChannelMode(QProcess::MergedChannels);
    m_windowManager->setStandardOutputFile(m_scratch.filePath(QStringLiteral("weston.log")));
    m_windowManager->setChildProcessModifier([] { ::setsid(); });
    m_windowManager->start(QStringLiteral("weston"),
                           QStringList{ QStringLiteral("--backend=x11-backend.so"), QStringLiteral("--config=") + config,
                                        QStringLiteral("--idle-time=0"), QStringLiteral("--socket=") + socket,
                                        QStringLiteral("--width=%1").arg(screen.width() - WESTON_MARGIN),
                                        QStringLiteral("--height=%1").arg(screen.height()) }
                                   + arguments);
    QVERIFY2(m_windowManager->waitForStarted(START_TIMEOUT_MS), qPrintable(m_windowManager->errorString()));
    QVERIFY2(QTest::qWaitFor([&] {
                 return QFileInfo::exists(runtime + u'/' + socket) || m_windowManager->state() != QProcess::Running;
             }, START_TIMEOUT_MS),
             "weston did not open its socket");
    QVERIFY2(m_windowManager->state() == QProcess::Running,
             qPrintable(QStringLiteral("weston exited: %1").arg(westonLog())));
}

QString tst_DesktopX11::westonLog() const
{
    QFile log(m_scratch.filePath(QStringLiteral("weston.log")));
    return log.open(QIODevice::ReadOnly) ? QString::fromLocal8Bit(log.readAll()) : QString();
}

void tst_DesktopX11::startWestonRow(const QString &row, const QStringList &arguments,
                                    QProcessEnvironment *environment, QString *socket)
{
    m_row = row;
    CHECK(hostEnvironment(environment));
    *socket = QStringLiteral("korvex-test-%1").arg(QCoreApplication::applicationPid());
    CHECK(startWeston(environment->value(QStringLiteral("XDG_RUNTIME_DIR")), *socket, arguments));
}

// Weston's X11 backend moves its pointer by the X pointer's steps, and loses track of it when
// it misses an enter (as it may while it starts up); only an enter sets it where the X pointer
// is. So the pointer always comes in from the strip beside weston's window.
void tst_DesktopX11::westonPointer(const QPoint &onScreen, bool click)
{
    const QSize screen = m_display->rectOnScreen(m_display->root()).size();
    QStringList arguments{ QStringLiteral("mousemove"), QStringLiteral("--sync"),
                           QString::number(screen.width() - WESTON_MARGIN / 2), QString::number(onScreen.y()),
                           QStringLiteral("mousemove"), QStringLiteral("--sync"),
                           QString::number(onScreen.x()), QString::number(onScreen.y()) };
    if (click)
        arguments << QStringLiteral("click") << QStringLiteral("1");
    QVERIFY2(runTool(QStringLiteral("xdotool"), arguments), "xdotool could not move the pointer");
}

QPoint tst_DesktopX11::findOnScreen(const QImage &picture)
{
    const QSize screen = m_display->rectOnScreen(m_display->root()).size();
    return findPicture(m_display->image(m_display->root(), QRect(QPoint(), screen)), picture);
}

void tst_DesktopX11::startWindowManager(const WindowManager &manager)
{
    QString error;
    m_windowManager = DesktopSession::startWindowManager(manager, m_environment, m_home.path(),
                                                         m_scratch.filePath(m_row + QStringLiteral(".wm.log")),
                                                         *m_display, START_TIMEOUT_MS, &error);
    QVERIFY2(error.isEmpty(), qPrintable(error));
}

void tst_DesktopX11::hostEnvironment(QProcessEnvironment *environment)
{
    QVERIFY(DesktopSession::hostEnvironment(m_environment, m_home.path(), m_scratch.path(), environment));
}

void tst_DesktopX11::launchHost(const QProcessEnvironment &environment, QProcess::ProcessChannelMode channels)
{
    m_host = std::make_unique<QProcess>();
    m_host->setProcessEnvironment(environment);
    m_host->setWorkingDirectory(m_home.path());
    m_host->setProcessChannelMode(channels);
    m_host->start(QStringLiteral(KORVEX_DESKTOP_HOST_PROGRAM), {});
    QVERIFY2(m_host->waitForStarted(START_TIMEOUT_MS), qPrintable(m_host->errorString()));
    m_hostPid = m_host->processId();
}

void tst_DesktopX11::startHost()
{
    QProcessEnvironment environment;
    CHECK(hostEnvironment(&environment));
    CHECK(launchHost(environment));
    QString error;
    QVERIFY2(waitForHostDrawn(*m_display, *m_host, m_layout.get(), START_TIMEOUT_MS, &m_hostWindow,
                              &m_hostRect, &error),
             qPrintable(error));
}

void tst_DesktopX11::stopHost()
{
    if (!m_host)
        return;
    // Whatever a failed step left running, the host started it.
    const QList<xcb_window_t> below = m_hostWindow ? hostDisplay().descendants(m_hostWindow) : QList<xcb_window_t>();
    const QList<qint64> modules = childrenOf(m_hostPid);
    if (m_host->state() != QProcess::NotRunning) {
        m_host->kill();
        m_host->waitForFinished(TOOL_TIMEOUT_MS);
    }
    for (const xcb_window_t w : below) {
        const qint64 pid = hostDisplay().pidOf(w);
        if (pid > 0 && pid != m_hostPid && !processGone(pid))
            ::kill(pid_t(pid), SIGKILL);
    }
    for (const qint64 pid : modules) {
        if (!processGone(pid))
            ::kill(pid_t(pid), SIGKILL);
    }
    m_host.reset();
    m_hostWindow = XCB_NONE;
}

QQuickItem *tst_DesktopX11::layoutItem(const QString &objectName) const
{
    return DesktopSession::layoutItem(*m_layout, objectName);
}

QList<tst_DesktopX11::Module> tst_DesktopX11::modulesOfTheBar() const
{
    return DesktopSession::modulesOfTheBar(*m_layout);
}

QPoint tst_DesktopX11::closeButtonFor(const Module &module)
{
    QObject *host = m_layout->rootItem()->property("moduleHost").value<QObject *>();
    if (!host)
        return QPoint();
    host->setProperty("names", QVariantMap{ { QString::number(module.appType), module.name } });
    host->setProperty("shownApp", module.appType);
    m_layout->window()->grabWindow();
    QQuickItem *close = layoutItem(QStringLiteral("closeModuleButton"));
    const QPoint at = close ? centerInWindow(close) : QPoint();
    host->setProperty("shownApp", int(DashboardGlobal::APP_NULL));
    return at;
}

void tst_DesktopX11::click(const QPoint &inHost)
{
    if (m_xwayland) {
        CHECK(westonPointer(m_shownAt + inHost, true));
        return;
    }
    QVERIFY2(DesktopSession::click(m_hostWindow, inHost), "xdotool could not click");
}

void tst_DesktopX11::pointAt(const QPoint &inHost)
{
    if (m_xwayland) {
        CHECK(westonPointer(m_shownAt + inHost, false));
        return;
    }
    QVERIFY(runTool(QStringLiteral("xdotool"), { QStringLiteral("mousemove"), QStringLiteral("--window"),
                                                  QString::number(m_hostWindow), QStringLiteral("--sync"),
                                                  QString::number(inHost.x()), QString::number(inHost.y()) }));
}

QImage tst_DesktopX11::seenInHost(const QRect &inHost) const
{
    const QPoint origin = m_xwayland ? m_shownAt : m_hostRect.topLeft();
    return m_display->image(m_display->root(), inHost.translated(origin));
}

void tst_DesktopX11::keys(const QStringList &keys)
{
    QStringList arguments{ QStringLiteral("key"), QStringLiteral("--delay"), QStringLiteral("30") };
    QVERIFY2(runTool(QStringLiteral("xdotool"), arguments + keys), "xdotool could not press keys");
}

void tst_DesktopX11::type(const QString &text)
{
    QVERIFY2(runTool(QStringLiteral("xdotool"), { QStringLiteral("type"), QStringLiteral("--delay"),
                                                  QStringLiteral("30"), text }),
             "xdotool could not type");
}

void tst_DesktopX11::screenshot(const QString &name)
{
    const QSize screen = m_display->rectOnScreen(m_display->root()).size();
    const QImage picture = m_display->image(m_display->root(), QRect(QPoint(), screen));
    const QString file = m_artifacts + u'/' + name + QStringLiteral(".png");
    if (!picture.isNull() && picture.save(file))
        std::fprintf(stdout, "screenshot: %s\n", qPrintable(file));
}

QStringList tst_DesktopX11::moduleLog(qint64 pid) const
{
    return DesktopSession::moduleLog(m_scratch.path(), pid);
}

void tst_DesktopX11::openModule(const Module &module, xcb_window_t *window, qint64 *pid)
{
    CHECK(click(module.button));
    QVERIFY2(QTest::qWaitFor([&] {
                 *window = hostDisplay().findForeignWindow(m_hostWindow, m_hostPid, pid);
                 return *window != XCB_NONE || m_host->state() != QProcess::Running;
             }, START_TIMEOUT_MS),
             qPrintable(QStringLiteral("%1: no module window appeared in the dashboard").arg(module.name)));
    QVERIFY2(m_host->state() == QProcess::Running, "the dashboard exited");
    const QString program = programName(*pid);
    QVERIFY2(program == m_layout->window()->getApplicationExec(DashboardGlobal::ApplicationType(module.appType)),
             qPrintable(QStringLiteral("%1 shows the window of %2").arg(module.name, program)));
    // The module knows it is embedded, in the container that holds its window.
    const QString embedded = QStringLiteral("embedded %1").arg(hostDisplay().parentOf(*window));
    QVERIFY2(QTest::qWaitFor([&] { return moduleLog(*pid).contains(embedded); }, START_TIMEOUT_MS),
             qPrintable(QStringLiteral("%1 was not told it is embedded: %2").arg(module.name, moduleLog(*pid).join(u'|'))));
}

void tst_DesktopX11::checkEmbeddedAndHolding(xcb_window_t window, const QString &what)
{
    QVERIFY2(hostDisplay().isInside(window, m_hostWindow),
             qPrintable(what + QStringLiteral(": the window is not inside the dashboard's")));
    // No window manager takes it back, unmaps it or frames it while the user looks.
    const QByteArray happened = hostDisplay().watchFor(window, HOLD_MS);
    QVERIFY2(happened.isEmpty(),
             qPrintable(what + QStringLiteral(": the window was ") + QString::fromLatin1(happened)));
    QVERIFY2(hostDisplay().isInside(window, m_hostWindow) && hostDisplay().viewable(window),
             qPrintable(what + QStringLiteral(": the window left the dashboard or is not viewable")));
    // Its place in the dashboard covers the content area right of the navigation bar (a
    // window's own border, which X draws outside it, aside).
    const QRect rect = hostDisplay().rectIn(hostDisplay().parentOf(window), m_hostWindow);
    QQuickItem *bar = layoutItem(QStringLiteral("navigationBar"));
    QVERIFY(bar);
    QVERIFY2(rect.left() == int(bar->width()) && rect.right() == m_hostRect.width() - 1
                     && rect.bottom() == m_hostRect.height() - 1,
             qPrintable(QStringLiteral("%1: the window is at %2,%3 %4x%5 in the dashboard's %6x%7")
                                .arg(what).arg(rect.x()).arg(rect.y()).arg(rect.width()).arg(rect.height())
                                .arg(m_hostRect.width()).arg(m_hostRect.height())));
}

void tst_DesktopX11::checkModuleVisible(xcb_window_t window)
{
    // What the screen shows where the module is, is what the module draws: no stale picture,
    // nothing over it. The module draws text, so its picture is no flat fill.
    const QRect rect = hostDisplay().rectIn(window, m_hostWindow);
    QImage own;
    QImage seen;
    double healed = -1;
    const bool agrees = QTest::qWaitFor([&] {
        own = hostDisplay().image(window, QRect(QPoint(), rect.size()));
        seen = seenInHost(rect);
        return colorCount(own) > 3 && agreement(own, seen) > 0.98;
    }, START_TIMEOUT_MS);
    if (!agrees) {
        // Both pictures, to see what covers the module.
        own.save(m_artifacts + QStringLiteral("/%1_module_own.png").arg(m_row));
        seen.save(m_artifacts + QStringLiteral("/%1_module_seen.png").arg(m_row));
        healed = staleScreenEvidence(window, rect);
    }
    const QRect container = hostDisplay().rectIn(hostDisplay().parentOf(window), m_hostWindow);
    QVERIFY2(agrees,
             qPrintable(QStringLiteral("the module's picture is not what the screen shows (%1 of the pixels agree, %2 colours; "
                                       "window %3,%4 %5x%6 in its place at %7,%8 %9x%10; %11 agree once the window "
                                       "manager redraws its frame)")
                                .arg(agreement(own, seen)).arg(colorCount(own))
                                .arg(rect.x()).arg(rect.y()).arg(rect.width()).arg(rect.height())
                                .arg(container.x()).arg(container.y()).arg(container.width()).arg(container.height())
                                .arg(healed)));
}

// Around a module, the screen shows what the dashboard draws now: its navigation bar with the
// module's entry current and the module's own bar, not an older picture of the page that was
// there before.
void tst_DesktopX11::checkDashboardAroundModule(xcb_window_t window)
{
    const QRect module = hostDisplay().rectIn(window, m_hostWindow);
    const QList<std::pair<QString, QRect>> parts{
        { QStringLiteral("navigation bar"), QRect(0, 0, module.left(), m_hostRect.height()) },
        { QStringLiteral("module bar"), QRect(module.left(), 0, m_hostRect.width() - module.left(), module.top()) }
    };
    for (const auto &[name, part] : parts) {
        QVERIFY2(!part.isEmpty(), qPrintable(QStringLiteral("no %1 beside the module").arg(name)));
        QImage own;
        QImage seen;
        const bool agrees = QTest::qWaitFor([&] {
            own = hostDisplay().image(m_hostWindow, part);
            seen = seenInHost(part);
            return agreement(own, seen) > 0.98;
        }, START_TIMEOUT_MS);
        if (!agrees) {
            own.save(m_artifacts + QStringLiteral("/%1_dashboard_own.png").arg(m_row));
            seen.save(m_artifacts + QStringLiteral("/%1_dashboard_seen.png").arg(m_row));
            screenshot(m_row + QStringLiteral("_dashboard_screen"));
        }
        QVERIFY2(agrees, qPrintable(QStringLiteral("the screen shows an older picture of the dashboard's %1 (%2 of "
                                                   "the pixels agree)")
                                            .arg(name).arg(agreement(own, seen))));
    }
}

// What a stale screen is made of, kept beside the test's artifacts: the whole screen, the
// window manager's log and the window tree. Returns how much of the module's picture shows
// once the window manager has redrawn its own frame (the pointer on its close button): a
// compositor that repaints only then shows the module's picture whole, the product did its part.
double tst_DesktopX11::staleScreenEvidence(xcb_window_t window, const QRect &rect)
{
    screenshot(m_row + QStringLiteral("_module_screen"));
    const QString log = m_artifacts + u'/' + m_row + QStringLiteral(".wm.log");
    QFile::remove(log);
    QFile::copy(m_scratch.filePath(m_row + QStringLiteral(".wm.log")), log);
    QString tree;
    if (runTool(QStringLiteral("xwininfo"), { QStringLiteral("-root"), QStringLiteral("-tree") }, &tree)) {
        QFile file(m_artifacts + u'/' + m_row + QStringLiteral("_tree.txt"));
        if (file.open(QIODevice::WriteOnly))
            file.write(tree.toUtf8());
    }
    const QPoint closeButton(m_hostRect.right() - 10, m_hostRect.top() - 15);
    if (!runTool(QStringLiteral("xdotool"), { QStringLiteral("mousemove"), QStringLiteral("--sync"),
                                              QString::number(closeButton.x()), QString::number(closeButton.y()) }))
        return -1;
    double agreed = 0;
    (void)QTest::qWaitFor([&] {
        agreed = agreement(hostDisplay().image(window, QRect(QPoint(), rect.size())), seenInHost(rect));
        return agreed > 0.98;
    }, 5000);
    return agreed;
}

void tst_DesktopX11::closeModule(const Module &module, xcb_window_t window, qint64 pid)
{
    const QPoint close = closeButtonFor(module);
    QVERIFY(!close.isNull());
    const xcb_window_t container = hostDisplay().parentOf(window);
    CHECK(click(close));
    QVERIFY2(QTest::qWaitFor([&] { return processGone(pid); }, START_TIMEOUT_MS),
             qPrintable(QStringLiteral("%1 did not end after a click at %2,%3: %4")
                                .arg(module.name).arg(close.x()).arg(close.y())
                                .arg(moduleLog(pid).join(u'|'))));
    QVERIFY2(QTest::qWaitFor([&] { return !hostDisplay().exists(window); }, START_TIMEOUT_MS),
             qPrintable(module.name + QStringLiteral(": its window is still there")));
    // The dashboard noticed: the module's place in its window is gone with the module.
    QVERIFY2(QTest::qWaitFor([&] { return !hostDisplay().exists(container); }, START_TIMEOUT_MS),
             qPrintable(module.name + QStringLiteral(": the dashboard still holds its place")));
    QVERIFY(m_host->state() == QProcess::Running);
    // The dashboard's page shows again: no window of a module is left over it.
    qint64 other = 0;
    QCOMPARE(hostDisplay().findForeignWindow(m_hostWindow, m_hostPid, &other), xcb_window_t(XCB_NONE));
}

void tst_DesktopX11::keyboardFollowsClicksNotThePointer(xcb_window_t window, qint64 pid)
{
    // Where the module's path field is, as the module last laid it out.
    const QRect rect = hostDisplay().rectIn(window, m_hostWindow);
    QRect field;
    QVERIFY2(QTest::qWaitFor([&] {
                 static const QRegularExpression line(QStringLiteral("^path field (\\d+) (\\d+) (\\d+) (\\d+) in (\\d+)x(\\d+)$"));
                 const QStringList log = moduleLog(pid);
                 for (auto it = log.crbegin(); it != log.crend(); ++it) {
                     const QRegularExpressionMatch match = line.match(*it);
                     if (!match.hasMatch())
                         continue;
                     if (QSize(match.captured(5).toInt(), match.captured(6).toInt()) != rect.size())
                         return false;
                     field = QRect(match.captured(1).toInt(), match.captured(2).toInt(),
                                   match.captured(3).toInt(), match.captured(4).toInt());
                     return true;
                 }
                 return false;
             }, START_TIMEOUT_MS),
             "the module did not lay out its window at the size it was given");
    const QPoint fieldInHost = rect.topLeft() + field.center();
    QQuickItem *bar = layoutItem(QStringLiteral("navigationBar"));
    QVERIFY(bar);
    // A quiet place of the dashboard: the navigation bar's lower edge.
    const QPoint onDashboard(int(bar->width()) / 2, m_hostRect.height() - 4);

    // A click into the module gives it the keyboard; the pointer then rests on the dashboard.
    const int before = moduleLog(pid).count(QStringLiteral("focus in"));
    CHECK(click(fieldInHost));
    QVERIFY2(QTest::qWaitFor([&] { return moduleLog(pid).count(QStringLiteral("focus in")) > before; }, START_TIMEOUT_MS),
             "the module did not get the keyboard from a click");
    CHECK(pointAt(onDashboard));
    CHECK(type(QStringLiteral("typed")));
    CHECK(keys({ QStringLiteral("Return") }));
    // The module opens what its field holds, made absolute from its own working folder.
    const auto typedOpens = [&] {
        return int(moduleLog(pid).filter(QRegularExpression(QStringLiteral("^open .*/typed$"))).size());
    };
    QVERIFY2(QTest::qWaitFor([&] { return typedOpens() == 1; }, START_TIMEOUT_MS),
             qPrintable(QStringLiteral("the text did not reach the module: %1").arg(moduleLog(pid).join(u'|'))));

    // Ctrl+Tab hands the keyboard back to the dashboard: keys typed with the pointer over the
    // module no longer reach it.
    const int out = moduleLog(pid).count(QStringLiteral("focus out"));
    CHECK(keys({ QStringLiteral("ctrl+Tab") }));
    QVERIFY2(QTest::qWaitFor([&] { return moduleLog(pid).count(QStringLiteral("focus out")) > out; }, START_TIMEOUT_MS),
             "Ctrl+Tab did not take the keyboard from the module");
    CHECK(pointAt(fieldInHost));
    CHECK(type(QStringLiteral("stray")));
    // Shift+Tab from the dashboard's first control wraps round to the module's area, the last
    // stop of the window's focus chain: the module has the keyboard again.
    const int in = moduleLog(pid).count(QStringLiteral("focus in"));
    CHECK(click(onDashboard));
    QVERIFY2(QTest::qWaitFor([&] {
                 if (moduleLog(pid).count(QStringLiteral("focus in")) > in)
                     return true;
                 keys({ QStringLiteral("shift+Tab") });
                 return false;
             }, START_TIMEOUT_MS),
             "the keyboard never reached the module from the dashboard's focus chain");
    // The path field holds only what was typed while the module had the keyboard. Typing
    // starts once the click into it has left the module the keyboard, as a user sees the caret
    // first: the dashboard may have taken it back on a Shift+Tab pressed while it moved.
    const auto hasKeyboard = [&] {
        const QStringList focus = moduleLog(pid).filter(QRegularExpression(QStringLiteral("^focus (in|out)$")));
        return !focus.isEmpty() && focus.last() == QLatin1String("focus in");
    };
    CHECK(click(fieldInHost));
    QVERIFY2(QTest::qWaitFor(hasKeyboard, START_TIMEOUT_MS),
             qPrintable(QStringLiteral("a click into the module left it without the keyboard: %1").arg(moduleLog(pid).join(u'|'))));
    CHECK(keys({ QStringLiteral("End"), QStringLiteral("Return") }));
    QVERIFY2(QTest::qWaitFor([&] { return typedOpens() == 2; }, START_TIMEOUT_MS),
             qPrintable(QStringLiteral("the path field changed: %1").arg(moduleLog(pid).join(u'|'))));
    QVERIFY2(!moduleLog(pid).join(u'\n').contains(QStringLiteral("stray")),
             "keys reached the module while the dashboard had the keyboard");
}

// Tab and Shift+Tab typed into a module move between the module's own controls: the
// dashboard, which weston keeps the X focus on, hands them on and does not act on them too.
void tst_DesktopX11::tabStaysInTheModule(xcb_window_t window, qint64 pid)
{
    const QRect rect = hostDisplay().rectIn(window, m_hostWindow);
    QRect field;
    static const QRegularExpression line(QStringLiteral("^path field (\\d+) (\\d+) (\\d+) (\\d+) in (\\d+)x(\\d+)$"));
    const QStringList log = moduleLog(pid);
    for (auto it = log.crbegin(); it != log.crend() && field.isNull(); ++it) {
        const QRegularExpressionMatch match = line.match(*it);
        if (match.hasMatch())
            field = QRect(match.captured(1).toInt(), match.captured(2).toInt(), match.captured(3).toInt(),
                          match.captured(4).toInt());
    }
    QVERIFY2(!field.isNull(), "the module did not say where its path field is");
    const auto hasKeyboard = [&] {
        const QStringList focus = moduleLog(pid).filter(QRegularExpression(QStringLiteral("^focus (in|out)$")));
        return !focus.isEmpty() && focus.last() == QLatin1String("focus in");
    };
    CHECK(click(rect.topLeft() + field.center()));
    QVERIFY2(QTest::qWaitFor(hasKeyboard, START_TIMEOUT_MS), "a click into the module left it without the keyboard");
    // The pointer rests on the dashboard, as it may while the user types.
    QQuickItem *bar = layoutItem(QStringLiteral("navigationBar"));
    QVERIFY(bar);
    CHECK(pointAt(QPoint(int(bar->width()) / 2, m_hostRect.height() - 4)));
    const int outs = moduleLog(pid).count(QStringLiteral("focus out"));
    // To the next control and back: the field takes the keyboard with its text selected, and
    // what is typed then replaces it.
    CHECK(keys({ QStringLiteral("Tab"), QStringLiteral("shift+Tab") }));
    CHECK(type(QStringLiteral("tabbed")));
    CHECK(keys({ QStringLiteral("Return") }));
    QVERIFY2(QTest::qWaitFor([&] {
                 return !moduleLog(pid).filter(QRegularExpression(QStringLiteral("^open .*/tabbed$"))).isEmpty();
             }, START_TIMEOUT_MS),
             qPrintable(QStringLiteral("the keys after Tab did not reach the module's field: %1")
                                .arg(moduleLog(pid).join(u'|'))));
    QCOMPARE(moduleLog(pid).count(QStringLiteral("focus out")), outs);
}

void tst_DesktopX11::menusOpenOverTheModule(const Module &module)
{
    Q_UNUSED(module);
    QQuickItem *more = layoutItem(QStringLiteral("overflowButton"));
    QVERIFY(more);
    const QPoint moreAt = centerInWindow(more);
    // Where the menu's entries show, from the test's copy opened the same way.
    QVERIFY(QMetaObject::invokeMethod(more, "clicked"));
    QQuickItem *settings = nullptr;
    QTRY_VERIFY((settings = layoutItem(QStringLiteral("menu_%1").arg(int(MeatballsNavigationModel::NAV_SETTINGS))))
                && settings->height() > 0);
    QQuickItem *about = layoutItem(QStringLiteral("menu_%1").arg(int(MeatballsNavigationModel::NAV_ABOUT)));
    QVERIFY(about);
    const QImage opened = m_layout->window()->grabWindow();
    const QPoint settingsAt = centerInWindow(settings);
    const QPoint aboutAt = centerInWindow(about);
    QObject *menuPopup = m_layout->rootItem()->property("overflowMenu").value<QObject *>();
    QVERIFY(menuPopup);
    QMetaObject::invokeMethod(menuPopup, "close");
    // The module's upper third as it draws it, away from the menu and from any caret.
    qint64 modulePid = 0;
    const xcb_window_t moduleWindow = hostDisplay().findForeignWindow(m_hostWindow, m_hostPid, &modulePid);
    QVERIFY(moduleWindow != XCB_NONE);
    const QRect moduleRect = hostDisplay().rectIn(moduleWindow, m_hostWindow);
    const QRect upper(QPoint(), QSize(moduleRect.width(), moduleRect.height() / 3));
    const QImage upperOwn = hostDisplay().image(moduleWindow, upper);
    QVERIFY(colorCount(upperOwn) > 3);

    // The whole menu shows over the module: each entry's row, left and right, as the copy has it.
    CHECK(click(moreAt));
    for (QQuickItem *entry : { settings, about }) {
        const QPoint left = entry->mapToScene(QPointF(3, entry->height() / 2)).toPoint();
        const QPoint right = entry->mapToScene(QPointF(entry->width() - 3, entry->height() / 2)).toPoint();
        for (const QPoint &point : { left, right }) {
            const QColor wanted = opened.pixelColor(point);
            QVERIFY2(QTest::qWaitFor([&] {
                         const QImage seen = seenInHost(QRect(point, QSize(1, 1)));
                         return !seen.isNull() && distance(seen.pixelColor(0, 0), wanted) <= 6;
                     }, START_TIMEOUT_MS),
                     qPrintable(QStringLiteral("the menu does not show at %1,%2").arg(point.x()).arg(point.y())));
        }
    }
    screenshot(m_row + QStringLiteral("_menu_over_module"));
    // Beside the menu the module's last picture stands in for it, drawn in the same frame as
    // the menu's entries over its place.
    const QImage upperSeen = seenInHost(upper.translated(moduleRect.topLeft()));
    QVERIFY2(agreement(upperOwn, upperSeen) > 0.98,
             qPrintable(QStringLiteral("the module's place shows no picture of it while the menu is open (%1 of the pixels agree)")
                                .arg(agreement(upperOwn, upperSeen))));

    // About from the menu: the box shows whole over the module, and closes with Escape.
    CHECK(click(aboutAt));
    QQuickItem *aboutClose = nullptr;
    QObject *root = m_layout->rootItem();
    QVERIFY(QMetaObject::invokeMethod(root, "openAbout"));
    QTRY_VERIFY((aboutClose = layoutItem(QStringLiteral("aboutCloseButton"))) && aboutClose->height() > 0);
    const QImage aboutShown = m_layout->window()->grabWindow();
    QObject *aboutBox = root->property("aboutDialog").value<QObject *>();
    QVERIFY(aboutBox);
    QMetaObject::invokeMethod(aboutBox, "close");
    const QPoint closeAt = centerInWindow(aboutClose);
    const QColor wanted = aboutShown.pixelColor(closeAt);
    QVERIFY2(QTest::qWaitFor([&] {
                 const QImage seen = seenInHost(QRect(closeAt, QSize(1, 1)));
                 return !seen.isNull() && distance(seen.pixelColor(0, 0), wanted) <= 6;
             }, START_TIMEOUT_MS),
             "the About box does not show over the module");
    screenshot(m_row + QStringLiteral("_about_over_module"));
    CHECK(keys({ QStringLiteral("Escape") }));

    // Settings from the menu reaches the settings page: the module's window goes from view.
    CHECK(click(moreAt));
    const QColor settingsColor = opened.pixelColor(settingsAt);
    QVERIFY(QTest::qWaitFor([&] {
        const QImage seen = seenInHost(QRect(settingsAt, QSize(1, 1)));
        return !seen.isNull() && distance(seen.pixelColor(0, 0), settingsColor) <= 6;
    }, START_TIMEOUT_MS));
    CHECK(click(settingsAt));
    qint64 pid = 0;
    QVERIFY2(QTest::qWaitFor([&] { return hostDisplay().findForeignWindow(m_hostWindow, m_hostPid, &pid) == XCB_NONE; },
                             START_TIMEOUT_MS),
             "Settings did not replace the module on the screen");
    screenshot(m_row + QStringLiteral("_settings_from_module"));
}

void tst_DesktopX11::foreignClientEmbeds(const Module &asModule)
{
    if (QStandardPaths::findExecutable(QStringLiteral("xlogo")).isEmpty())
        QSKIP("xlogo is not installed (Debian package x11-apps)");
    QProcess foreign;
    QProcessEnvironment environment = m_environment;
    environment.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("xcb"));
    foreign.setProcessEnvironment(environment);
    foreign.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    foreign.start(QStringLiteral(KORVEX_DESKTOP_FOREIGN_MODULE),
                  { QStringLiteral("--dashboard"), QString::number(m_hostWindow), QStringLiteral("xlogo") });
    QVERIFY(foreign.waitForStarted(START_TIMEOUT_MS));
    QVERIFY2(QTest::qWaitFor([&] { return foreign.canReadLine() || foreign.state() != QProcess::Running; },
                             START_TIMEOUT_MS),
             "the standard X client's window did not appear");
    const QByteArray ready = foreign.readLine().trimmed();
    QVERIFY2(ready.startsWith("ready "),
             qPrintable(QStringLiteral("the stand-in module said \"%1\" and %2").arg(QString::fromLocal8Bit(ready))
                                .arg(foreign.state() == QProcess::Running ? QStringLiteral("runs")
                                                                          : QStringLiteral("exited with %1").arg(foreign.exitCode()))));
    const auto window = xcb_window_t(ready.mid(6).toULongLong());
    QVERIFY2(QTest::qWaitFor([&] { return hostDisplay().isInside(window, m_hostWindow) && hostDisplay().viewable(window); },
                             START_TIMEOUT_MS),
             "the standard X client's window was not taken into the dashboard");
    CHECK(checkEmbeddedAndHolding(window, QStringLiteral("xlogo")));
    CHECK(checkDashboardAroundModule(window));
    screenshot(m_row + QStringLiteral("_xlogo"));
    const QPoint close = closeButtonFor(asModule);
    QVERIFY(!close.isNull());
    CHECK(click(close));
    QVERIFY2(foreign.waitForFinished(START_TIMEOUT_MS), "the standard X client did not close");
    QVERIFY(!hostDisplay().exists(window));
    QVERIFY(m_host->state() == QProcess::Running);
}

int main(int argc, char **argv)
{
    setWatchdogForTheRows();
    return HostX11Test::run<tst_DesktopX11>(argc, argv, { { "xdotool", "xdotool" }, { "dbus-run-session", "dbus-bin" } });
}

#include "tst_desktop_x11.moc"
