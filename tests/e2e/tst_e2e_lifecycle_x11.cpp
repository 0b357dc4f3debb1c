// The life of the modules in the real dashboard program, on a real X server under a window
// manager, driven by real clicks and keys (XTEST, through xdotool), by the window manager's
// close (Alt+F4, and the close request a task bar sends it) and by the signals a session sends:
// one click starts one module; a module that dies says so and starts again; quitting, every
// way, asks the modules first, and a module that stays open (it has unsaved changes) is named
// and left running only when the user says so.
//
// As in tst_e2e_host_x11, where to click comes from the test's own copy of the front end,
// laid out off screen at the real window's size; each click is checked by its effect. Every
// host, the window manager and the copy have a home of their own, fresh for each run.
#include "dashboard_host.h"
#include "desktop_x11.h"
#include "e2e_host_tools.h"
#include "e2e_support.h"
#include "host_services.h"
#include "host_x11_test.h"

#include <korvexdashboard.h>

#include <QDir>
#include <QFile>
#include <QImage>
#include <QProcess>
#include <QQuickItem>
#include <QRegularExpression>
#include <QSet>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

#include <algorithm>
#include <cstdio>
#include <memory>

#include <signal.h>
#include <unistd.h>

using namespace E2eHost;
using DesktopX11::XServer;
using G = DashboardGlobal;

namespace {

// How long the host waits for its modules when quitting, in this test.
constexpr int QUIT_WAIT_MS = 1500;

#define CHECK(step)                                                                                \
    do {                                                                                           \
        step;                                                                                      \
        if (QTest::currentTestFailed())                                                            \
            return;                                                                                \
    } while (false)

// The items below an item, at any depth.
void collectItems(QQuickItem *item, QList<QQuickItem *> *items)
{
    for (QQuickItem *child : item->childItems()) {
        items->append(child);
        collectItems(child, items);
    }
}

// The lines in which a module says it was asked to close (asked, or asked again while its
// own question is open).
int closeRequestsIn(const QStringList &log)
{
    return int(log.filter(QRegularExpression(QStringLiteral("^close-(asked|pending) "))).size());
}

} // namespace

class tst_E2eLifecycleX11 : public QObject
{
    Q_OBJECT

public:
    explicit tst_E2eLifecycleX11(const QProcessEnvironment &environment) : m_environment(environment) {}

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();
    void cleanupTestCase();

    void doubleClickStartsOneModule();
    void killedModuleIsNamedAndStartsAgain();
    void quitAsksTheModulesFirst_data();
    void quitAsksTheModulesFirst();
    void goingBackKeepsEverythingRunning();
    void germanModulePageAndDarkMenu();
    void launchesStartedTogetherMakeOneDashboard();
    void terminatedWhileStartingEndsCleanly();

private:
    void startWindowManager();
    void stopWindowManager();
    void startHost();
    void prepareHome(QProcessEnvironment *environment);
    std::unique_ptr<QProcess> launchHost(const QProcessEnvironment &environment,
                                         const QStringList &arguments = {}) const;
    // Waits until the host's window is on the screen (its start-up shell at first).
    void waitForHostWindow();
    // Waits until the host's window shows the front end, and lays the copy out at its size.
    void waitForHostDrawn();
    // A label file for the host to open.
    void writeLabel(const QString &path);
    QQuickItem *layoutItem(const QString &objectName) const;
    QPoint placeOf(const QString &objectName);
    // The module's name in the side bar of the test's copy.
    QString moduleName(int appType) const;
    void click(const QPoint &inWindow, int count = 1);
    void xdotool(const QStringList &arguments);
    QImage capture() const;
    void screenshot(const QString &name);
    bool waitUntilDrawn(const QPoint &inWindow, const QColor &color);
    // Until the host's window shows the control, not the flat fills of its start-up shell.
    bool waitUntilControlDrawn(const QString &objectName);
    QColor barColor() const;
    // The module processes of that type the host runs now.
    QList<qint64> modulesOf(int appType) const;
    // A process of that type the host started, not one of before, whose window is in the host's.
    qint64 waitForEmbedded(int appType, const QList<qint64> &before);
    // Whether a window of that process is in the host's (shown or not).
    bool moduleWindowInHost(qint64 pid) const;
    // Starts a module from its side bar entry and waits until its window is in the host's.
    qint64 startModule(int appType);
    // Shows the quit question in the test's copy as the host shows it, and waits until the
    // host's window is drawn that way.
    bool waitForQuestion(const QStringList &stillOpen);
    // The test's copy stops showing the quit question.
    void dismissCopyQuestion();
    void answerGoBack();
    void quitBy(const QString &way);
    QStringList moduleLog(qint64 pid) const { return E2e::moduleLog(m_moduleLogs, pid); }

    QProcessEnvironment m_environment;
    std::unique_ptr<XServer> m_display;
    QTemporaryDir m_scratch;
    QString m_artifacts;
    std::unique_ptr<QProcess> m_windowManager;
    std::unique_ptr<QTemporaryDir> m_home;
    QString m_moduleLogs;
    std::unique_ptr<QProcess> m_host;
    std::unique_ptr<QProcess> m_otherHost;
    qint64 m_hostPid = 0;
    xcb_window_t m_hostWindow = XCB_NONE;
    QSize m_windowSize;
    std::unique_ptr<DashboardHost> m_layout;
    // Every module the host started in this test, to end what a test leaves.
    QList<qint64> m_modules;
};

void tst_E2eLifecycleX11::initTestCase()
{
    QVERIFY(m_scratch.isValid());
    m_artifacts = QCoreApplication::applicationDirPath() + QStringLiteral("/artifacts");
    QVERIFY(QDir().mkpath(m_artifacts));
    QVERIFY2(QFileInfo(QStringLiteral(KORVEX_E2E_HOST_PROGRAM)).isExecutable(), "the host program is not built");
    m_display = std::make_unique<XServer>();
    QVERIFY2(m_display->isValid(), "no X server to connect to");
    CHECK(startWindowManager());

    // The test's copy of the front end reads its settings from a home of its own: one an
    // earlier run left (a dark theme, German) would put its controls elsewhere, in other colours.
    QVERIFY(HostX11Test::useOwnHome(m_scratch.filePath(QStringLiteral("layout-home"))));
    m_layout = std::make_unique<DashboardHost>();
    DashboardHost::Options options;
    options.labelFolder = m_scratch.filePath(QStringLiteral("layout-labels"));
    QVERIFY2(m_layout->start(options), qPrintable(m_layout->errors().join(u'\n')));
    QVERIFY(QTest::qWaitForWindowExposed(m_layout->window()));
    QTRY_VERIFY_WITH_TIMEOUT(m_layout->isReady(), START_TIMEOUT_MS);
}

void tst_E2eLifecycleX11::startWindowManager()
{
    // Without openbox the window manager's ways of closing are left out, and said so.
    if (QStandardPaths::findExecutable(QStringLiteral("openbox")).isEmpty()) {
        std::printf("openbox is not installed: running without a window manager\n");
        return;
    }
    QVERIFY2(!m_display->windowManagerRuns(), "another window manager holds the display");
    QProcessEnvironment environment = m_environment;
    QVERIFY(HostX11Test::setHome(&environment, m_scratch.filePath(QStringLiteral("wm-home"))));
    m_windowManager = std::make_unique<QProcess>();
    m_windowManager->setProcessEnvironment(environment);
    m_windowManager->setProcessChannelMode(QProcess::MergedChannels);
    m_windowManager->setStandardOutputFile(m_scratch.filePath(QStringLiteral("openbox.log")));
    m_windowManager->start(QStringLiteral("openbox"), { QStringLiteral("--sm-disable") });
    QVERIFY2(m_windowManager->waitForStarted(START_TIMEOUT_MS), qPrintable(m_windowManager->errorString()));
    // It is there once it says so on the root window.
    const auto log = [this] {
        QFile file(m_scratch.filePath(QStringLiteral("openbox.log")));
        return file.open(QIODevice::ReadOnly) ? QString::fromLocal8Bit(file.readAll()) : QString();
    };
    QVERIFY2(QTest::qWaitFor([this] {
                 return m_display->windowManagerAnnounced() || m_windowManager->state() != QProcess::Running;
             }, START_TIMEOUT_MS),
             qPrintable(QStringLiteral("openbox did not take the display: ") + log()));
    QVERIFY2(m_windowManager->state() == QProcess::Running, qPrintable(QStringLiteral("openbox exited: ") + log()));
}

void tst_E2eLifecycleX11::stopWindowManager()
{
    if (!m_windowManager)
        return;
    m_windowManager->terminate();
    if (!m_windowManager->waitForFinished(TOOL_TIMEOUT_MS)) {
        m_windowManager->kill();
        m_windowManager->waitForFinished(TOOL_TIMEOUT_MS);
    }
    m_windowManager.reset();
}

void tst_E2eLifecycleX11::init()
{
    m_modules.clear();
    if (QByteArray(QTest::currentTestFunction()) == "germanModulePageAndDarkMenu") {
        // The test's copy in German and dark too, so that places and colours are the host's.
        m_layout->services()->applyLanguage(QStringLiteral("de_DE"));
        QObject *settings = m_layout->rootItem()->property("settings").value<QObject *>();
        QVERIFY(settings);
        QVERIFY(QMetaObject::invokeMethod(settings, "setSetting",
                                          Q_ARG(QString, settings->property("KEY_APPEARANCE").toString()),
                                          Q_ARG(QVariant, false)));
        QTRY_COMPARE(moduleName(G::APP_ARCFLASH), QStringLiteral("Lichtbogen"));
    }
    // Those tests start their hosts themselves.
    static const QByteArrayList ownStart{ "launchesStartedTogetherMakeOneDashboard",
                                          "terminatedWhileStartingEndsCleanly" };
    if (!ownStart.contains(QTest::currentTestFunction()))
        CHECK(startHost());
}

void tst_E2eLifecycleX11::cleanup()
{
    // Only what this test's host started, and the host itself.
    for (qint64 pid : std::as_const(m_modules)) {
        if (!processGone(pid))
            ::kill(pid_t(pid), SIGKILL);
    }
    if (m_host && m_host->state() != QProcess::NotRunning) {
        m_host->kill();
        m_host->waitForFinished(TOOL_TIMEOUT_MS);
    }
    m_host.reset();
    if (m_otherHost && m_otherHost->state() != QProcess::NotRunning) {
        m_otherHost->kill();
        m_otherHost->waitForFinished(TOOL_TIMEOUT_MS);
    }
    m_otherHost.reset();
    m_hostWindow = XCB_NONE;
    m_home.reset();
}

void tst_E2eLifecycleX11::cleanupTestCase()
{
    m_layout.reset();
    stopWindowManager();
}

void tst_E2eLifecycleX11::launchesStartedTogetherMakeOneDashboard()
{
    // A label double-clicked in a file manager while the menu's entry starts the dashboard:
    // two launches at once, on one user's settings. One dashboard starts and opens the label.
    QProcessEnvironment environment;
    CHECK(prepareHome(&environment));
    const QString label = QDir(m_home->path()).filePath(QStringLiteral("Plan A.kxld"));
    CHECK(writeLabel(label));
    m_host = launchHost(environment);
    m_otherHost = launchHost(environment, { label });
    QVERIFY2(m_host->waitForStarted(START_TIMEOUT_MS), qPrintable(m_host->errorString()));
    QVERIFY2(m_otherHost->waitForStarted(START_TIMEOUT_MS), qPrintable(m_otherHost->errorString()));

    // Which one becomes the dashboard is the race's; the other hands over and ends.
    QVERIFY2(QTest::qWaitFor([this] {
                 return m_host->state() == QProcess::NotRunning || m_otherHost->state() == QProcess::NotRunning;
             }, DashboardHost::HAND_OVER_TIMEOUT_MS + START_TIMEOUT_MS),
             "both launches still run: two dashboards on one user's settings");
    if (m_host->state() == QProcess::NotRunning)
        std::swap(m_host, m_otherHost);
    QCOMPARE(m_otherHost->exitStatus(), QProcess::NormalExit);
    QCOMPARE(m_otherHost->exitCode(), 0);
    QVERIFY2(m_host->state() == QProcess::Running, "no dashboard runs");
    m_hostPid = m_host->processId();
    CHECK(waitForHostDrawn());

    // The label opens in its module, in the one dashboard's window.
    const int appType = int(m_layout->window()->getFileArgumentApplicationType(label));
    QCOMPARE(appType, int(G::APP_LABELDESIGNER));
    const qint64 module = waitForEmbedded(appType, {});
    QVERIFY2(module > 0, "the label's module did not open in the dashboard");
    const QList<QByteArray> arguments = commandLineOf(module);
    QVERIFY2(arguments.contains(QFile::encodeName(label)), arguments.join(' ').constData());
    QCOMPARE(shownDashboards(), QStringList{ QString::number(m_hostWindow) });
}

void tst_E2eLifecycleX11::terminatedWhileStartingEndsCleanly()
{
    // The session logs out while the dashboard still starts, with a label to open: it ends
    // normally, and leaves no module running that it never asked to close.
    QProcessEnvironment environment;
    CHECK(prepareHome(&environment));
    const QString label = QDir(m_home->path()).filePath(QStringLiteral("Plan B.kxld"));
    CHECK(writeLabel(label));
    m_host = launchHost(environment, { label });
    QVERIFY2(m_host->waitForStarted(START_TIMEOUT_MS), qPrintable(m_host->errorString()));
    m_hostPid = m_host->processId();
    // The window shows its start-up shell first; the signals are watched by then.
    CHECK(waitForHostWindow());
    QVERIFY(::kill(pid_t(m_hostPid), SIGTERM) == 0);
    QVERIFY2(m_host->waitForFinished(START_TIMEOUT_MS), "the dashboard did not end after SIGTERM");
    QCOMPARE(m_host->exitStatus(), QProcess::NormalExit);
    QCOMPARE(m_host->exitCode(), 0);

    // A module started before the signal (each writes a log named after its process; most
    // runs end before the front end asks for one) was asked to close and is gone.
    const QStringList logs = QDir(m_moduleLogs).entryList({ QStringLiteral("*.log") }, QDir::Files);
    for (const QString &log : logs) {
        const qint64 pid = log.chopped(4).toLongLong();
        m_modules << pid;
        QVERIFY2(QTest::qWaitFor([pid] { return processGone(pid); }, START_TIMEOUT_MS),
                 qPrintable(QStringLiteral("module %1 still runs: %2").arg(pid).arg(moduleLog(pid).join(u'|'))));
    }
}

void tst_E2eLifecycleX11::startHost()
{
    QProcessEnvironment environment;
    CHECK(prepareHome(&environment));
    m_host = launchHost(environment);
    QVERIFY2(m_host->waitForStarted(START_TIMEOUT_MS), qPrintable(m_host->errorString()));
    m_hostPid = m_host->processId();
    CHECK(waitForHostDrawn());
}

void tst_E2eLifecycleX11::prepareHome(QProcessEnvironment *environment)
{
    m_home = std::make_unique<QTemporaryDir>();
    QVERIFY(m_home->isValid());
    const QDir home(m_home->path());
    if (QByteArray(QTest::currentTestFunction()) == "germanModulePageAndDarkMenu") {
        // The user's settings: German, dark.
        const QString config = home.filePath(QStringLiteral(".config/Quorvane Inc"));
        QFile settings(config + QStringLiteral("/KorvexPro.ini"));
        QVERIFY(QDir().mkpath(config) && settings.open(QIODevice::WriteOnly));
        settings.write("[General]\nappearance=false\n[locale]\nlanguage=de_DE\n");
    }
    m_moduleLogs = home.filePath(QStringLiteral("module-logs"));
    QVERIFY(QDir().mkpath(m_moduleLogs));
    *environment = m_environment;
    QVERIFY(HostX11Test::setHome(environment, home.path()));
    environment->insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("xcb"));
    environment->insert(QStringLiteral("KORVEX_REAL_PRINTERS"), QStringLiteral("0"));
    environment->insert(QStringLiteral("KORVEX_QUIT_WAIT_MS"), QString::number(QUIT_WAIT_MS));
    environment->insert(QStringLiteral("KORVEX_DEMO_MODULE_LOG"), m_moduleLogs);
    // Arc Flash has unsaved work; the other modules have none.
    environment->insert(QStringLiteral("KORVEX_DEMO_MODULE_UNSAVED"), QStringLiteral("ArcFlashMain.exe"));
}

std::unique_ptr<QProcess> tst_E2eLifecycleX11::launchHost(const QProcessEnvironment &environment,
                                                          const QStringList &arguments) const
{
    auto host = std::make_unique<QProcess>();
    host->setProcessEnvironment(environment);
    host->setWorkingDirectory(m_home->path());
    host->setProcessChannelMode(QProcess::ForwardedChannels);
    host->start(QStringLiteral(KORVEX_E2E_HOST_PROGRAM), arguments);
    return host;
}

void tst_E2eLifecycleX11::writeLabel(const QString &path)
{
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly) && file.write("label") == 5);
}

void tst_E2eLifecycleX11::waitForHostWindow()
{
    QVERIFY2(QTest::qWaitFor([this] {
                 m_hostWindow = m_display->findWindowOf(m_hostPid, m_display->root(), QSize(600, 400));
                 return m_hostWindow != XCB_NONE || m_host->state() != QProcess::Running;
             }, START_TIMEOUT_MS),
             "the dashboard's window did not appear");
    QVERIFY2(m_host->state() == QProcess::Running, "the dashboard exited");
}

void tst_E2eLifecycleX11::waitForHostDrawn()
{
    CHECK(waitForHostWindow());

    // The side bar drawn by the front end, not the start-up shell; the window manager may have
    // placed and sized the window by then, so its size is read after.
    m_windowSize = m_display->rectOnScreen(m_hostWindow).size();
    m_layout->window()->resize(m_windowSize);
    QTRY_COMPARE(m_layout->rootItem()->size().toSize(), m_windowSize);
    QVERIFY(waitUntilControlDrawn(QStringLiteral("nav_%1_%2").arg(int(G::NAV_APP)).arg(int(G::APP_ARCFLASH))));
    QCOMPARE(m_display->rectOnScreen(m_hostWindow).size(), m_windowSize);
}

QQuickItem *tst_E2eLifecycleX11::layoutItem(const QString &objectName) const
{
    QList<QQuickItem *> items;
    collectItems(m_layout->window()->contentItem(), &items);
    for (QQuickItem *item : std::as_const(items)) {
        if (item->objectName() == objectName && item->isVisible())
            return item;
    }
    return nullptr;
}

QPoint tst_E2eLifecycleX11::placeOf(const QString &objectName)
{
    m_layout->window()->grabWindow(); // lays out what changed
    QQuickItem *item = layoutItem(objectName);
    return item ? centerInWindow(item) : QPoint(-1, -1);
}

QString tst_E2eLifecycleX11::moduleName(int appType) const
{
    QQuickItem *button = layoutItem(QStringLiteral("nav_%1_%2").arg(int(G::NAV_APP)).arg(appType));
    return button ? button->property("text").toString() : QString();
}

QColor tst_E2eLifecycleX11::barColor() const
{
    QQuickItem *bar = layoutItem(QStringLiteral("navigationBar"));
    return bar ? bar->property("color").value<QColor>() : QColor();
}

void tst_E2eLifecycleX11::xdotool(const QStringList &arguments)
{
    QVERIFY2(runTool(QStringLiteral("xdotool"), arguments).ok,
             qPrintable(QStringLiteral("xdotool %1 failed").arg(arguments.join(u' '))));
}

void tst_E2eLifecycleX11::click(const QPoint &inWindow, int count)
{
    QStringList arguments = { QStringLiteral("mousemove"), QStringLiteral("--window"), QString::number(m_hostWindow) };
    // xdotool waits for a move that is not needed until it gives up, seconds later.
    if (m_display->pointer() != m_display->rectOnScreen(m_hostWindow).topLeft() + inWindow)
        arguments << QStringLiteral("--sync");
    arguments << QString::number(inWindow.x()) << QString::number(inWindow.y()) << QStringLiteral("click");
    if (count > 1)
        arguments << QStringLiteral("--repeat") << QString::number(count) << QStringLiteral("--delay")
                  << QStringLiteral("60");
    arguments << QStringLiteral("1");
    xdotool(arguments);
}

QImage tst_E2eLifecycleX11::capture() const
{
    // What the window holds, the module windows inside it included.
    return m_display->image(m_hostWindow, QRect(QPoint(), m_windowSize));
}

void tst_E2eLifecycleX11::screenshot(const QString &name)
{
    const QSize screen = m_display->rectOnScreen(m_display->root()).size();
    const QImage picture = m_display->image(m_display->root(), QRect(QPoint(), screen));
    const QString file = m_artifacts + u'/' + name + QStringLiteral(".png");
    QVERIFY2(!picture.isNull() && picture.save(file), qPrintable(file));
    std::fprintf(stdout, "screenshot: %s\n", qPrintable(file));
}

bool tst_E2eLifecycleX11::waitUntilDrawn(const QPoint &inWindow, const QColor &color)
{
    QColor seen;
    const bool drawn = QTest::qWaitFor([&] {
        const QImage picture = capture();
        seen = picture.valid(inWindow) ? picture.pixelColor(inWindow) : QColor();
        return seen.isValid() && similar(seen, color);
    }, START_TIMEOUT_MS);
    if (!drawn) {
        qWarning("At %d,%d the window shows %s, not %s", inWindow.x(), inWindow.y(), qPrintable(seen.name()),
                 qPrintable(color.name()));
        // What the window and the test's copy showed, to see why.
        capture().save(m_artifacts + QStringLiteral("/lifecycle_failed_host.png"));
        m_layout->window()->grabWindow().save(m_artifacts + QStringLiteral("/lifecycle_failed_copy.png"));
    }
    return drawn;
}

bool tst_E2eLifecycleX11::waitUntilControlDrawn(const QString &objectName)
{
    m_layout->window()->grabWindow();
    QQuickItem *item = layoutItem(objectName);
    if (!item)
        return false;
    const QRect rect = item->mapRectToScene(QRectF(0, 0, item->width(), item->height())).toRect();
    const auto colours = [](const QImage &picture) {
        QSet<QRgb> seen;
        for (int y = 0; y < picture.height(); ++y) {
            for (int x = 0; x < picture.width(); ++x)
                seen.insert(picture.pixel(x, y));
        }
        return seen.size();
    };
    // Its text and icon: no shell's flat fill has them.
    if (colours(m_layout->window()->grabWindow().copy(rect)) < 3)
        return false;
    int seen = 0;
    const bool drawn = QTest::qWaitFor([&] {
        seen = int(colours(capture().copy(rect)));
        return seen >= 3;
    }, START_TIMEOUT_MS);
    if (!drawn)
        qWarning("%s is not drawn: %d colours", qPrintable(objectName), seen);
    return drawn;
}

QList<qint64> tst_E2eLifecycleX11::modulesOf(int appType) const
{
    const QString program = m_layout->window()->getApplicationExec(G::ApplicationType(appType));
    return childPrograms(m_hostPid).values(program);
}

qint64 tst_E2eLifecycleX11::waitForEmbedded(int appType, const QList<qint64> &before)
{
    qint64 pid = 0;
    // Nothing when the wait ran out: pid stays 0.
    (void)QTest::qWaitFor([&] {
        for (qint64 candidate : modulesOf(appType)) {
            if (before.contains(candidate))
                continue;
            for (xcb_window_t window : m_display->descendants(m_hostWindow)) {
                if (m_display->pidOf(window) == candidate && m_display->viewable(window)) {
                    pid = candidate;
                    return true;
                }
            }
        }
        return m_host->state() != QProcess::Running;
    }, START_TIMEOUT_MS);
    if (pid)
        m_modules << pid;
    return pid;
}

bool tst_E2eLifecycleX11::moduleWindowInHost(qint64 pid) const
{
    const QList<xcb_window_t> below = m_display->descendants(m_hostWindow);
    return std::any_of(below.cbegin(), below.cend(), [&](xcb_window_t w) { return m_display->pidOf(w) == pid; });
}

qint64 tst_E2eLifecycleX11::startModule(int appType)
{
    const QString name = QStringLiteral("nav_%1_%2").arg(int(G::NAV_APP)).arg(appType);
    const QPoint at = placeOf(name);
    if (at.x() < 0 || !waitUntilControlDrawn(name))
        return 0;
    const QList<qint64> before = modulesOf(appType);
    click(at);
    return waitForEmbedded(appType, before);
}

bool tst_E2eLifecycleX11::waitForQuestion(const QStringList &stillOpen)
{
    if (!m_layout->rootItem()->setProperty("stillOpenModules", stillOpen))
        return false;
    if (!QTest::qWaitFor([this] {
            QQuickItem *button = layoutItem(QStringLiteral("quitGoBackButton"));
            return button && button->height() > 0 && button->opacity() == 1.0;
        }, START_TIMEOUT_MS))
        return false;
    const QImage shown = m_layout->window()->grabWindow();
    QQuickItem *back = layoutItem(QStringLiteral("quitGoBackButton"));
    QQuickItem *bar = layoutItem(QStringLiteral("navigationBar"));
    if (!back || !bar)
        return false;
    // The side bar dimmed under the modal question, and the question's primary button: no
    // module window looks like either.
    const QPoint dimmed(2, int(bar->height()) / 2);
    const QPoint onButton = back->mapToScene(QPointF(4, back->height() / 2)).toPoint();
    if (similar(shown.pixelColor(dimmed), bar->property("color").value<QColor>()))
        return false; // the copy does not show the question as asked
    return waitUntilDrawn(onButton, shown.pixelColor(onButton)) && waitUntilDrawn(dimmed, shown.pixelColor(dimmed));
}

void tst_E2eLifecycleX11::dismissCopyQuestion()
{
    // Closed as the host closes it, before it goes: destroyed open, it would leave its
    // dimming behind, under the next question.
    if (QObject *question = m_layout->rootItem()->findChild<QObject *>(QStringLiteral("quitQuestion")))
        QMetaObject::invokeMethod(question, "reject");
    m_layout->rootItem()->setProperty("stillOpenModules", QStringList());
}

void tst_E2eLifecycleX11::answerGoBack()
{
    QQuickItem *back = layoutItem(QStringLiteral("quitGoBackButton"));
    QVERIFY(back);
    CHECK(click(centerInWindow(back)));
    // The pointer leaves the window: what it hovers is drawn otherwise than in the test's copy.
    const QRect window = m_display->rectOnScreen(m_hostWindow);
    const QSize screen = m_display->rectOnScreen(m_display->root()).size();
    const QPoint away = window.contains(screen.width() - 1, screen.height() - 1) ? QPoint(0, 0)
                                                                                 : QPoint(screen.width() - 1, screen.height() - 1);
    if (m_display->pointer() != away)
        CHECK(xdotool({ QStringLiteral("mousemove"), QStringLiteral("--sync"), QString::number(away.x()),
                        QString::number(away.y()) }));
    dismissCopyQuestion();
    // The question goes: the side bar is no longer dimmed under it.
    QVERIFY(waitUntilDrawn(QPoint(2, m_windowSize.height() / 2), barColor()));
}

void tst_E2eLifecycleX11::quitBy(const QString &way)
{
    if (way == QLatin1String("menu")) {
        QQuickItem *more = layoutItem(QStringLiteral("overflowButton"));
        QVERIFY(more);
        const QPoint moreAt = centerInWindow(more);
        QVERIFY(QMetaObject::invokeMethod(more, "clicked"));
        QQuickItem *quit = nullptr;
        QTRY_VERIFY((quit = layoutItem(QStringLiteral("menu_%1").arg(int(MeatballsNavigationModel::NAV_QUIT))))
                    && quit->height() > 0 && quit->opacity() == 1.0);
        const QImage opened = m_layout->window()->grabWindow();
        const QPoint quitAt = centerInWindow(quit);
        const QPoint menuPoint = quit->mapToScene(QPointF(2, quit->height() / 2)).toPoint();
        // The test's copy closes its menu as the host does.
        QObject *menu = m_layout->rootItem()->property("overflowMenu").value<QObject *>();
        QVERIFY(menu);
        QMetaObject::invokeMethod(menu, "close");
        CHECK(click(moreAt));
        QVERIFY(waitUntilDrawn(menuPoint, opened.pixelColor(menuPoint)));
        CHECK(click(quitAt));
    } else if (way == QLatin1String("Ctrl+Q")) {
        CHECK(xdotool({ QStringLiteral("windowfocus"), QStringLiteral("--sync"), QString::number(m_hostWindow) }));
        CHECK(xdotool({ QStringLiteral("key"), QStringLiteral("ctrl+q") }));
    } else if (way == QLatin1String("Alt+F4")) {
        // The window manager's key closes the window it has made active.
        CHECK(xdotool({ QStringLiteral("windowactivate"), QStringLiteral("--sync"), QString::number(m_hostWindow) }));
        CHECK(xdotool({ QStringLiteral("key"), QStringLiteral("alt+F4") }));
    } else if (way == QLatin1String("window close")) {
        // A task bar's or a pager's close (_NET_CLOSE_WINDOW): the window manager sends the
        // window WM_DELETE_WINDOW, as for its close button. Without one, the test sends that.
        QVERIFY(m_display->closeWindow(m_hostWindow, m_windowManager != nullptr));
    } else {
        const int signalNumber = way == QLatin1String("SIGTERM") ? SIGTERM : (way == QLatin1String("SIGINT") ? SIGINT : SIGHUP);
        QVERIFY(::kill(pid_t(m_hostPid), signalNumber) == 0);
    }
}

void tst_E2eLifecycleX11::doubleClickStartsOneModule()
{
    const QString name = QStringLiteral("nav_%1_%2").arg(int(G::NAV_APP)).arg(int(G::APP_NFPA));
    const QPoint at = placeOf(name);
    QVERIFY(at.x() >= 0 && waitUntilControlDrawn(name));
    CHECK(click(at, 2));
    // Once the module's window is in the dashboard's, a process a second click started would
    // have been started long before (a start is synchronous with the click).
    QVERIFY2(waitForEmbedded(G::APP_NFPA, {}) > 0, "no module window appeared in the dashboard");
    const QList<qint64> modules = modulesOf(G::APP_NFPA);
    m_modules << modules;
    QCOMPARE(modules.size(), 1);
    // A third click on the same entry shows the same module, no other.
    CHECK(click(at));
    QCOMPARE(modulesOf(G::APP_NFPA), modules);
}

void tst_E2eLifecycleX11::killedModuleIsNamedAndStartsAgain()
{
    const qint64 pid = startModule(G::APP_CHEMICAL);
    QVERIFY(pid > 0);
    QVERIFY(::kill(pid_t(pid), SIGKILL) == 0);
    QTRY_VERIFY_WITH_TIMEOUT(processGone(pid), START_TIMEOUT_MS);

    // The notice as the test's copy shows it for that module.
    QObject *moduleHost = m_layout->rootItem()->property("moduleHost").value<QObject *>();
    const QString name = moduleName(G::APP_CHEMICAL);
    QVERIFY(moduleHost && !name.isEmpty());
    QVERIFY(moduleHost->setProperty("stopped", QVariantMap{ { QStringLiteral("name"), name },
                                                             { QStringLiteral("appType"), int(G::APP_CHEMICAL) },
                                                             { QStringLiteral("filePath"), QString() } }));
    QQuickItem *notice = layoutItem(QStringLiteral("stoppedNotice"));
    QVERIFY(notice);
    QCOMPARE(notice->property("text").toString(), QStringLiteral("%1 stopped unexpectedly.").arg(name));
    QTRY_VERIFY(notice->height() > 0);
    const QImage shown = m_layout->window()->grabWindow();
    QQuickItem *actionButton = layoutItem(QStringLiteral("stoppedNoticeAction"));
    QVERIFY(actionButton);
    const QPoint action = centerInWindow(actionButton);
    // Beside the button's text: its own colour, which no module window shows.
    const QPoint onAction = actionButton->mapToScene(QPointF(4, actionButton->height() / 2)).toPoint();
    const QPoint noticePoint = notice->mapToScene(QPointF(3, notice->height() / 2)).toPoint();
    QVERIFY(waitUntilDrawn(noticePoint, shown.pixelColor(noticePoint)));
    QVERIFY(waitUntilDrawn(onAction, shown.pixelColor(onAction)));
    CHECK(screenshot(QStringLiteral("lifecycle_module_stopped")));
    moduleHost->setProperty("stopped", QVariant());

    // "Start again" starts the module again, into the dashboard.
    CHECK(click(action));
    const qint64 again = waitForEmbedded(G::APP_CHEMICAL, { pid });
    QVERIFY2(again > 0, "the module did not start again");
    QVERIFY(again != pid);
}

void tst_E2eLifecycleX11::quitAsksTheModulesFirst_data()
{
    QTest::addColumn<QString>("way");
    // The dashboard's own ways, the window manager's close, and a session's signals.
    for (const char *way : { "menu", "Ctrl+Q", "window close", "Alt+F4", "SIGTERM", "SIGINT", "SIGHUP" })
        QTest::newRow(way) << QString::fromLatin1(way);
}

void tst_E2eLifecycleX11::quitAsksTheModulesFirst()
{
    QFETCH(QString, way);
    if (way == QLatin1String("Alt+F4") && !m_windowManager)
        QSKIP("Alt+F4 is the window manager's key, and no window manager runs");
    // Two modules: NFPA closes when asked, Arc Flash has unsaved changes and asks its user.
    const qint64 saved = startModule(G::APP_NFPA);
    QVERIFY(saved > 0);
    const qint64 unsaved = startModule(G::APP_ARCFLASH);
    QVERIFY(unsaved > 0);
    const QString arcName = moduleName(G::APP_ARCFLASH);

    CHECK(quitBy(way));

    // The module without unsaved work was asked and closed; the other was asked and asks.
    QTRY_VERIFY_WITH_TIMEOUT(processGone(saved), START_TIMEOUT_MS);
    const QStringList savedLog = moduleLog(saved);
    QVERIFY2(savedLog.contains(QStringLiteral("close CloseApplicationSignal")) || savedLog.contains(QStringLiteral("close WM_CLOSE")),
             qPrintable(savedLog.join(u'\n')));
    QVERIFY(savedLog.contains(QStringLiteral("exit")));
    QTRY_VERIFY_WITH_TIMEOUT(moduleLog(unsaved).filter(QStringLiteral("close-asked")).size() == 1, START_TIMEOUT_MS);

    // After the wait the dashboard names the module still open and asks; until the user
    // answers, the module runs, its window in the dashboard's, and the dashboard's window stays.
    QVERIFY(waitForQuestion({ arcName }));
    QCOMPARE(m_host->state(), QProcess::Running);
    QVERIFY(!processGone(unsaved));
    QVERIFY(!moduleLog(unsaved).contains(QStringLiteral("exit")));
    QVERIFY2(moduleWindowInHost(unsaved), "the module's window left the dashboard while its user is asked");
    QVERIFY(m_display->viewable(m_hostWindow));
    if (way == QLatin1String("window close") || way == QLatin1String("Ctrl+Q"))
        CHECK(screenshot(QStringLiteral("lifecycle_quit_question_") + QString(way).replace(u' ', u'_')));

    // Quit and leave it running: the dashboard ends, the module lives on, on its own.
    QQuickItem *leave = layoutItem(QStringLiteral("quitLeaveRunningButton"));
    QVERIFY(leave);
    CHECK(click(centerInWindow(leave)));
    QVERIFY2(m_host->waitForFinished(START_TIMEOUT_MS), "the dashboard did not quit");
    QCOMPARE(m_host->exitStatus(), QProcess::NormalExit);
    QCOMPARE(m_host->exitCode(), 0);
    QVERIFY(!processGone(unsaved));
    QVERIFY(parentPid(unsaved) != m_hostPid);
    QVERIFY(!moduleLog(unsaved).contains(QStringLiteral("exit")));
    dismissCopyQuestion();
}

void tst_E2eLifecycleX11::goingBackKeepsEverythingRunning()
{
    const qint64 unsaved = startModule(G::APP_ARCFLASH);
    QVERIFY(unsaved > 0);
    const QString arcName = moduleName(G::APP_ARCFLASH);
    CHECK(quitBy(QStringLiteral("menu")));
    QVERIFY(waitForQuestion({ arcName }));
    // Going back: the question goes, the dashboard and the module stay.
    CHECK(answerGoBack());
    QCOMPARE(m_host->state(), QProcess::Running);
    QVERIFY(!processGone(unsaved));
    QVERIFY(moduleWindowInHost(unsaved));
    // Quitting again asks the module again, and the user again.
    const int asked = closeRequestsIn(moduleLog(unsaved));
    CHECK(quitBy(QStringLiteral("Ctrl+Q")));
    QVERIFY2(QTest::qWaitFor([&] { return closeRequestsIn(moduleLog(unsaved)) > asked; }, START_TIMEOUT_MS),
             qPrintable(QStringLiteral("the module was not asked again: ") + moduleLog(unsaved).join(u'|')));
    QVERIFY(waitForQuestion({ arcName }));
    // The module ends while the dashboard asks: the dashboard then quits by itself.
    QVERIFY(::kill(pid_t(unsaved), SIGTERM) == 0);
    QVERIFY2(m_host->waitForFinished(START_TIMEOUT_MS), "the dashboard did not quit");
    QCOMPARE(m_host->exitStatus(), QProcess::NormalExit);
    QCOMPARE(m_host->exitCode(), 0);
    dismissCopyQuestion();
}

void tst_E2eLifecycleX11::germanModulePageAndDarkMenu()
{
    // init() made the test's copy German and dark, as the host's user has it.
    const qint64 pid = startModule(G::APP_ARCFLASH);
    QVERIFY(pid > 0);
    // The module's window settled in the content area: the side bar is whole again.
    const QColor bar = barColor();
    for (int y : { 150, 300, 450 })
        QVERIFY(waitUntilDrawn(QPoint(2, y), bar));
    CHECK(screenshot(QStringLiteral("lifecycle_german_module_page")));
    // The header names the module as the side bar does: the window's own title is not
    // readable from outside, so the picture is what shows it; the module started is the one.
    QCOMPARE(programName(pid), QStringLiteral("ArcFlashMain.exe"));
    QQuickItem *more = layoutItem(QStringLiteral("overflowButton"));
    QVERIFY(more);
    const QPoint moreAt = centerInWindow(more);
    CHECK(click(moreAt));
    // The menu opens where the module's window was: the pages come back under it, and its
    // background is the dark theme's surface, not the style's light grey.
    QVERIFY(waitUntilDrawn(QPoint(moreAt.x() + int(more->width()) / 2 + 10, moreAt.y()), QColor("#1d2027")));
    CHECK(screenshot(QStringLiteral("lifecycle_dark_menu")));
}

int main(int argc, char **argv)
{
    return HostX11Test::run<tst_E2eLifecycleX11>(argc, argv, { { "xdotool", "xdotool" } });
}

#include "tst_e2e_lifecycle_x11.moc"
