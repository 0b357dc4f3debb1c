// The life of the modules in the real dashboard program, on a real X server, driven by real
// clicks and keys (XTEST, through xdotool), by the close message a window manager sends for a
// window's close button and Alt+F4, and by the signals a session sends: one click starts one
// module; a module that dies says so and starts again; quitting, every way, asks the modules
// first, and a module that stays open (it has unsaved changes) is named and left running.
//
// As in tst_e2e_host_x11, where to click comes from the test's own copy of the front end,
// laid out off screen at the real window's size; each click is checked by its effect.
#include "dashboard_host.h"
#include "e2e_host_tools.h"
#include "e2e_support.h"
#include "host_services.h"

#include <korvexdashboard.h>

#include <QDeadlineTimer>
#include <QDir>
#include <QFile>
#include <QImage>
#include <QProcess>
#include <QQuickItem>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

#include <cstdio>
#include <memory>

#include <signal.h>
#include <sys/stat.h>
#include <xcb/xcb.h>

using namespace E2eHost;
using G = DashboardGlobal;

namespace {

// How long the host waits for its modules when quitting, in this test.
constexpr int QUIT_WAIT_MS = 1500;

// The items below an item, at any depth.
void collectItems(QQuickItem *item, QList<QQuickItem *> *items)
{
    for (QQuickItem *child : item->childItems()) {
        items->append(child);
        collectItems(child, items);
    }
}

// What a window manager sends when the user closes a window (its close button, Alt+F4).
bool sendDeleteWindow(quint32 window)
{
    xcb_connection_t *c = xcb_connect(nullptr, nullptr);
    if (!c || xcb_connection_has_error(c)) {
        if (c)
            xcb_disconnect(c);
        return false;
    }
    const auto atom = [c](const char *name) {
        xcb_intern_atom_reply_t *reply = xcb_intern_atom_reply(
                c, xcb_intern_atom(c, 0, uint16_t(qstrlen(name)), name), nullptr);
        const xcb_atom_t value = reply ? reply->atom : xcb_atom_t(XCB_ATOM_NONE);
        std::free(reply);
        return value;
    };
    xcb_client_message_event_t event = {};
    event.response_type = XCB_CLIENT_MESSAGE;
    event.format = 32;
    event.window = window;
    event.type = atom("WM_PROTOCOLS");
    event.data.data32[0] = atom("WM_DELETE_WINDOW");
    event.data.data32[1] = XCB_CURRENT_TIME;
    const bool ok = event.type != XCB_ATOM_NONE && event.data.data32[0] != XCB_ATOM_NONE;
    if (ok)
        xcb_send_event(c, 0, window, XCB_EVENT_MASK_NO_EVENT, reinterpret_cast<const char *>(&event));
    xcb_flush(c);
    xcb_disconnect(c);
    return ok;
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

private:
    bool startHost();
    bool makeLayout();
    QQuickItem *layoutItem(const QString &objectName) const;
    QPoint placeOf(const QString &objectName);
    void click(const QPoint &inWindow, int count = 1);
    QImage capture(quint32 window);
    void screenshot(const QString &name);
    bool waitUntilDrawn(const QPoint &inWindow, const QColor &color);
    // Starts a module from its side bar entry and waits until its window is in the host's.
    qint64 startModule(int appType);
    QList<qint64> modulesOf(int appType) const;
    // Opens the quit question of the test's copy as the host shows it and returns where its
    // button is, with the host's window drawn that way once waitForQuestion() returns.
    bool waitForQuestion(const QStringList &stillOpen);
    void quitBy(const QString &way);

    QProcessEnvironment m_environment;
    QTemporaryDir m_scratch;
    QString m_artifacts;
    std::unique_ptr<QTemporaryDir> m_home;
    QString m_moduleLogs;
    std::unique_ptr<QProcess> m_host;
    qint64 m_hostPid = 0;
    quint32 m_hostWindow = 0;
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
    QVERIFY(QFileInfo(QStringLiteral(KORVEX_E2E_HOST_PROGRAM)).isExecutable());
}

void tst_E2eLifecycleX11::init()
{
    m_home = std::make_unique<QTemporaryDir>();
    QVERIFY(m_home->isValid());
    m_modules.clear();
    QVERIFY(startHost());
    if (!m_layout)
        QVERIFY(makeLayout());
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
    m_hostWindow = 0;
}

void tst_E2eLifecycleX11::cleanupTestCase()
{
    m_layout.reset();
}

bool tst_E2eLifecycleX11::startHost()
{
    const QDir home(m_home->path());
    if (QByteArray(QTest::currentTestFunction()) == "germanModulePageAndDarkMenu") {
        // The user's settings: German, dark.
        const QString config = home.filePath(QStringLiteral(".config/Quorvane Inc"));
        QFile settings(config + QStringLiteral("/KorvexPro.ini"));
        if (!QDir().mkpath(config) || !settings.open(QIODevice::WriteOnly))
            return false;
        settings.write("[General]\nappearance=false\n[locale]\nlanguage=de_DE\n");
    }
    const QString runtime = home.filePath(QStringLiteral("runtime"));
    m_moduleLogs = home.filePath(QStringLiteral("module-logs"));
    if (!QDir().mkpath(runtime) || !QDir().mkpath(m_moduleLogs)
        || ::chmod(QFile::encodeName(runtime).constData(), 0700) != 0)
        return false;
    QProcessEnvironment environment = m_environment;
    environment.insert(QStringLiteral("HOME"), home.path());
    environment.insert(QStringLiteral("XDG_CONFIG_HOME"), home.filePath(QStringLiteral(".config")));
    environment.insert(QStringLiteral("XDG_DATA_HOME"), home.filePath(QStringLiteral(".local/share")));
    environment.insert(QStringLiteral("XDG_CACHE_HOME"), home.filePath(QStringLiteral(".cache")));
    environment.insert(QStringLiteral("XDG_STATE_HOME"), home.filePath(QStringLiteral(".local/state")));
    environment.insert(QStringLiteral("XDG_RUNTIME_DIR"), runtime);
    environment.remove(QStringLiteral("XDG_CONFIG_DIRS"));
    environment.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("xcb"));
    environment.insert(QStringLiteral("KORVEX_REAL_PRINTERS"), QStringLiteral("0"));
    environment.insert(QStringLiteral("KORVEX_QUIT_WAIT_MS"), QString::number(QUIT_WAIT_MS));
    environment.insert(QStringLiteral("KORVEX_DEMO_MODULE_LOG"), m_moduleLogs);
    // Arc Flash has unsaved work; the other modules have none.
    environment.insert(QStringLiteral("KORVEX_DEMO_MODULE_UNSAVED"), QStringLiteral("ArcFlashMain.exe"));

    m_host = std::make_unique<QProcess>();
    m_host->setProcessEnvironment(environment);
    m_host->setWorkingDirectory(home.path());
    m_host->setProcessChannelMode(QProcess::ForwardedChannels);
    m_host->start(QStringLiteral(KORVEX_E2E_HOST_PROGRAM), {});
    if (!m_host->waitForStarted(START_TIMEOUT_MS))
        return false;
    m_hostPid = m_host->processId();
    const bool found = QTest::qWaitFor([this] {
        const ToolOutput search = runTool(QStringLiteral("xdotool"),
                { QStringLiteral("search"), QStringLiteral("--onlyvisible"), QStringLiteral("--pid"),
                  QString::number(m_hostPid), QStringLiteral("--name"), QStringLiteral("^Korvex PRO$") });
        const QStringList ids = search.out.split(u'\n', Qt::SkipEmptyParts);
        m_hostWindow = ids.size() == 1 ? ids.first().toUInt() : 0;
        return m_hostWindow != 0 || m_host->state() != QProcess::Running;
    }, START_TIMEOUT_MS);
    if (!found || !m_hostWindow)
        return false;
    const std::optional<WindowInfo> info = windowInfo(m_hostWindow);
    if (!info)
        return false;
    m_windowSize = info->rect.size();
    // Clicks wait until the side bar is on the screen.
    return true;
}

bool tst_E2eLifecycleX11::makeLayout()
{
    QStandardPaths::setTestModeEnabled(true);
    m_layout = std::make_unique<DashboardHost>();
    DashboardHost::Options options;
    options.labelFolder = m_scratch.filePath(QStringLiteral("layout-labels"));
    if (!m_layout->start(options) || !QTest::qWaitForWindowExposed(m_layout->window())
        || !QTest::qWaitFor([this] { return m_layout->isReady(); }, START_TIMEOUT_MS))
        return false;
    m_layout->window()->resize(m_windowSize);
    return QTest::qWaitFor([this] { return m_layout->rootItem()->size().toSize() == m_windowSize; })
            && !m_layout->window()->grabWindow().isNull();
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

void tst_E2eLifecycleX11::click(const QPoint &inWindow, int count)
{
    QStringList arguments = { QStringLiteral("mousemove"), QStringLiteral("--window"), QString::number(m_hostWindow),
                              QStringLiteral("--sync"), QString::number(inWindow.x()), QString::number(inWindow.y()),
                              QStringLiteral("click") };
    if (count > 1)
        arguments << QStringLiteral("--repeat") << QString::number(count) << QStringLiteral("--delay")
                  << QStringLiteral("60");
    arguments << QStringLiteral("1");
    QVERIFY2(runTool(QStringLiteral("xdotool"), arguments).ok, "xdotool could not click");
}

QImage tst_E2eLifecycleX11::capture(quint32 window)
{
    const QString file = m_scratch.filePath(QStringLiteral("capture.png"));
    QFile::remove(file);
    if (!runTool(QStringLiteral("import"), { QStringLiteral("-window"), hex(window), file }).ok)
        return QImage();
    return QImage(file);
}

void tst_E2eLifecycleX11::screenshot(const QString &name)
{
    const QString written = m_scratch.filePath(name + QStringLiteral(".png"));
    QVERIFY(runTool(QStringLiteral("import"), { QStringLiteral("-window"), QStringLiteral("root"), written }).ok);
    QVERIFY(!QImage(written).isNull());
    const QString file = m_artifacts + u'/' + name + QStringLiteral(".png");
    QFile::remove(file);
    QVERIFY(QFile::copy(written, file));
    std::fprintf(stdout, "screenshot: %s\n", qPrintable(file));
}

bool tst_E2eLifecycleX11::waitUntilDrawn(const QPoint &inWindow, const QColor &color)
{
    QColor seen;
    QDeadlineTimer deadline(START_TIMEOUT_MS);
    while (!deadline.hasExpired()) {
        const QImage picture = capture(m_hostWindow);
        if (picture.valid(inWindow)) {
            seen = picture.pixelColor(inWindow);
            if (similar(seen, color))
                return true;
        }
        QTest::qWait(50);
    }
    qWarning("At %d,%d the window shows %s, not %s", inWindow.x(), inWindow.y(), qPrintable(seen.name()),
             qPrintable(color.name()));
    return false;
}

QList<qint64> tst_E2eLifecycleX11::modulesOf(int appType) const
{
    const QString program = m_layout->window()->getApplicationExec(G::ApplicationType(appType));
    return childPrograms(m_hostPid).values(program);
}

qint64 tst_E2eLifecycleX11::startModule(int appType)
{
    const QString name = QStringLiteral("nav_%1_%2").arg(int(G::NAV_APP)).arg(appType);
    const QPoint at = placeOf(name);
    QQuickItem *bar = layoutItem(QStringLiteral("navigationBar"));
    if (at.x() < 0 || !bar)
        return 0;
    if (!waitUntilDrawn(QPoint(2, at.y()), bar->property("color").value<QColor>()))
        return 0;
    const QList<qint64> before = modulesOf(appType);
    click(at);
    qint64 pid = 0;
    // Its window embedded in the host's: a window of that process below the host's window.
    const bool embedded = QTest::qWaitFor([&] {
        for (qint64 candidate : modulesOf(appType)) {
            if (before.contains(candidate))
                continue;
            for (quint32 window : descendants(m_hostWindow).value_or(QList<quint32>())) {
                if (windowPid(window) == candidate) {
                    pid = candidate;
                    return true;
                }
            }
        }
        return m_host->state() != QProcess::Running;
    }, START_TIMEOUT_MS);
    if (pid)
        m_modules << pid;
    return embedded ? pid : 0;
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
        click(moreAt);
        QVERIFY(waitUntilDrawn(menuPoint, opened.pixelColor(menuPoint)));
        click(quitAt);
        // The test's copy closes its menu the same way.
        QObject *menu = m_layout->rootItem()->property("overflowMenu").value<QObject *>();
        QVERIFY(menu);
        QMetaObject::invokeMethod(menu, "close");
    } else if (way == QLatin1String("Ctrl+Q")) {
        QVERIFY(runTool(QStringLiteral("xdotool"), { QStringLiteral("windowfocus"), QStringLiteral("--sync"),
                                                     QString::number(m_hostWindow) }).ok);
        QVERIFY(runTool(QStringLiteral("xdotool"), { QStringLiteral("key"), QStringLiteral("ctrl+q") }).ok);
    } else if (way == QLatin1String("close")) {
        QVERIFY(sendDeleteWindow(m_hostWindow));
    } else {
        const int signalNumber = way == QLatin1String("SIGTERM") ? SIGTERM : (way == QLatin1String("SIGINT") ? SIGINT : SIGHUP);
        QVERIFY(::kill(pid_t(m_hostPid), signalNumber) == 0);
    }
}

void tst_E2eLifecycleX11::doubleClickStartsOneModule()
{
    const QString name = QStringLiteral("nav_%1_%2").arg(int(G::NAV_APP)).arg(int(G::APP_NFPA));
    const QPoint at = placeOf(name);
    QQuickItem *bar = layoutItem(QStringLiteral("navigationBar"));
    QVERIFY(at.x() >= 0 && bar);
    QVERIFY(waitUntilDrawn(QPoint(2, at.y()), bar->property("color").value<QColor>()));
    click(at, 2);
    // Once the module's window is in the dashboard's, a process a second click started would
    // have been started long before (a start is synchronous with the click).
    QVERIFY(QTest::qWaitFor([this] {
        for (qint64 pid : modulesOf(G::APP_NFPA)) {
            for (quint32 window : descendants(m_hostWindow).value_or(QList<quint32>())) {
                if (windowPid(window) == pid)
                    return true;
            }
        }
        return false;
    }, START_TIMEOUT_MS));
    const QList<qint64> modules = modulesOf(G::APP_NFPA);
    m_modules << modules;
    QCOMPARE(modules.size(), 1);
    // A third click on the same entry shows the same module, no other.
    click(at);
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
    QQuickItem *button = layoutItem(QStringLiteral("nav_%1_%2").arg(int(G::NAV_APP)).arg(int(G::APP_CHEMICAL)));
    QVERIFY(moduleHost && button);
    const QString moduleName = button->property("text").toString();
    QVERIFY(moduleHost->setProperty("stopped", QVariantMap{ { QStringLiteral("name"), moduleName },
                                                             { QStringLiteral("appType"), int(G::APP_CHEMICAL) },
                                                             { QStringLiteral("filePath"), QString() } }));
    QQuickItem *notice = layoutItem(QStringLiteral("stoppedNotice"));
    QVERIFY(notice);
    QCOMPARE(notice->property("text").toString(), QStringLiteral("%1 stopped unexpectedly.").arg(moduleName));
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
    screenshot(QStringLiteral("lifecycle_module_stopped"));
    moduleHost->setProperty("stopped", QVariant());

    // "Start again" starts the module again.
    click(action);
    qint64 again = 0;
    QVERIFY(QTest::qWaitFor([&] {
        const QList<qint64> modules = modulesOf(G::APP_CHEMICAL);
        again = modules.isEmpty() ? 0 : modules.first();
        return again != 0;
    }, START_TIMEOUT_MS));
    m_modules << again;
    QVERIFY(again != pid);
}

void tst_E2eLifecycleX11::quitAsksTheModulesFirst_data()
{
    QTest::addColumn<QString>("way");
    // Not the window's close (WM_DELETE_WINDOW, as a window manager sends it): sent by this
    // test without a window manager, it did not always reach the host's window.
    for (const char *way : { "menu", "Ctrl+Q", "SIGTERM", "SIGINT", "SIGHUP" })
        QTest::newRow(way) << QString::fromLatin1(way);
}

void tst_E2eLifecycleX11::quitAsksTheModulesFirst()
{
    QFETCH(QString, way);
    // Two modules: NFPA closes when asked, Arc Flash has unsaved changes and asks its user.
    const qint64 saved = startModule(G::APP_NFPA);
    QVERIFY(saved > 0);
    const qint64 unsaved = startModule(G::APP_ARCFLASH);
    QVERIFY(unsaved > 0);
    QQuickItem *arcButton = layoutItem(QStringLiteral("nav_%1_%2").arg(int(G::NAV_APP)).arg(int(G::APP_ARCFLASH)));
    QVERIFY(arcButton);
    const QString arcName = arcButton->property("text").toString();

    quitBy(way);
    if (QTest::currentTestFailed())
        return;

    // The module without unsaved work was asked and closed; the other was asked and asks.
    QTRY_VERIFY_WITH_TIMEOUT(processGone(saved), START_TIMEOUT_MS);
    const QStringList savedLog = E2e::moduleLog(m_moduleLogs, saved);
    QVERIFY2(savedLog.contains(QStringLiteral("close CloseApplicationSignal")) || savedLog.contains(QStringLiteral("close WM_CLOSE")),
             qPrintable(savedLog.join(u'\n')));
    QVERIFY(savedLog.contains(QStringLiteral("exit")));
    QTRY_VERIFY_WITH_TIMEOUT(E2e::moduleLog(m_moduleLogs, unsaved).filter(QStringLiteral("close-asked")).size() == 1,
                             START_TIMEOUT_MS);

    // After the wait the dashboard names the module still open and asks.
    QVERIFY(waitForQuestion({ arcName }));
    QCOMPARE(m_host->state(), QProcess::Running);
    QVERIFY(!processGone(unsaved));
    screenshot(QStringLiteral("lifecycle_quit_question"));

    // Quit and leave it running: the dashboard ends, the module lives on, on its own.
    click(centerInWindow(layoutItem(QStringLiteral("quitLeaveRunningButton"))));
    QVERIFY2(m_host->waitForFinished(START_TIMEOUT_MS), "the dashboard did not quit");
    QCOMPARE(m_host->exitStatus(), QProcess::NormalExit);
    QCOMPARE(m_host->exitCode(), 0);
    QVERIFY(!processGone(unsaved));
    QVERIFY(parentPid(unsaved) != m_hostPid);
    QVERIFY(!E2e::moduleLog(m_moduleLogs, unsaved).contains(QStringLiteral("exit")));
    m_layout->rootItem()->setProperty("stillOpenModules", QStringList());
}

void tst_E2eLifecycleX11::goingBackKeepsEverythingRunning()
{
    const qint64 unsaved = startModule(G::APP_ARCFLASH);
    QVERIFY(unsaved > 0);
    QQuickItem *arcButton = layoutItem(QStringLiteral("nav_%1_%2").arg(int(G::NAV_APP)).arg(int(G::APP_ARCFLASH)));
    const QString arcName = arcButton->property("text").toString();
    quitBy(QStringLiteral("Ctrl+Q"));
    if (QTest::currentTestFailed())
        return;
    QVERIFY(waitForQuestion({ arcName }));
    click(centerInWindow(layoutItem(QStringLiteral("quitGoBackButton"))));
    m_layout->rootItem()->setProperty("stillOpenModules", QStringList());
    // The question goes, the dashboard and the module stay.
    QQuickItem *bar = layoutItem(QStringLiteral("navigationBar"));
    QVERIFY(bar);
    // The side bar no longer dimmed under the question.
    QVERIFY(waitUntilDrawn(QPoint(2, int(bar->height()) / 2), bar->property("color").value<QColor>()));
    QCOMPARE(m_host->state(), QProcess::Running);
    QVERIFY(!processGone(unsaved));
    // Asked again; the module ends while the dashboard waits, which then quits by itself.
    quitBy(QStringLiteral("SIGTERM"));
    QTRY_VERIFY_WITH_TIMEOUT(E2e::moduleLog(m_moduleLogs, unsaved).filter(QStringLiteral("close-")).size() >= 2,
                             START_TIMEOUT_MS);
    QVERIFY(::kill(pid_t(unsaved), SIGTERM) == 0);
    QVERIFY2(m_host->waitForFinished(START_TIMEOUT_MS), "the dashboard did not quit");
    QCOMPARE(m_host->exitCode(), 0);
}

void tst_E2eLifecycleX11::germanModulePageAndDarkMenu()
{
    // The test's copy in German and dark too, so that places and colours are the host's.
    m_layout->services()->applyLanguage(QStringLiteral("de_DE"));
    QObject *settings = m_layout->rootItem()->property("settings").value<QObject *>();
    QVERIFY(settings);
    QVERIFY(QMetaObject::invokeMethod(settings, "setSetting",
                                      Q_ARG(QString, settings->property("KEY_APPEARANCE").toString()),
                                      Q_ARG(QVariant, false)));
    QQuickItem *arcButton = nullptr;
    QTRY_VERIFY((arcButton = layoutItem(QStringLiteral("nav_%1_%2").arg(int(G::NAV_APP)).arg(int(G::APP_ARCFLASH))))
                && arcButton->property("text").toString() == QStringLiteral("Lichtbogen"));
    const qint64 pid = startModule(G::APP_ARCFLASH);
    QVERIFY(pid > 0);
    // The module's window settled in the content area: the side bar is whole again.
    QQuickItem *bar = layoutItem(QStringLiteral("navigationBar"));
    QVERIFY(bar);
    const QColor barColor = bar->property("color").value<QColor>();
    for (int y : { 150, 300, 450 })
        QVERIFY(waitUntilDrawn(QPoint(2, y), barColor));
    screenshot(QStringLiteral("lifecycle_german_module_page"));
    // The header names the module as the side bar does: the window's own title is not
    // readable from outside, so the picture is what shows it; the module started is the one.
    QCOMPARE(programName(pid), QStringLiteral("ArcFlashMain.exe"));
    QQuickItem *more = layoutItem(QStringLiteral("overflowButton"));
    QVERIFY(more);
    const QPoint moreAt = centerInWindow(more);
    click(moreAt);
    // The menu opens where the module's window was: the pages come back under it, and its
    // background is the dark theme's surface, not the style's light grey.
    QVERIFY(waitUntilDrawn(QPoint(moreAt.x() + int(more->width()) / 2 + 10, moreAt.y()), QColor("#1d2027")));
    screenshot(QStringLiteral("lifecycle_dark_menu"));
}

int main(int argc, char **argv)
{
    for (const QString &tool : requiredTools()) {
        if (QStandardPaths::findExecutable(tool).isEmpty()) {
            std::printf("SKIP: %s is not installed (Debian packages xdotool, x11-utils, imagemagick)\n",
                        qPrintable(tool));
            return 77;
        }
    }
    if (qEnvironmentVariableIsEmpty("DISPLAY")) {
        std::printf("SKIP: no X display; run this test through tests/run_with_xvfb\n");
        return 77;
    }
    const QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    qputenv("QT_QPA_PLATFORM", "offscreen");
    qputenv("QT_QUICK_BACKEND", "software");
    QGuiApplication app(argc, argv);
    tst_E2eLifecycleX11 test(environment);
    return QTest::qExec(&test, argc, argv);
}

#include "tst_e2e_lifecycle_x11.moc"
