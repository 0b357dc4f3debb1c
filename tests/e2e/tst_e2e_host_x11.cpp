// The real dashboard program on a real X server, driven the way a user drives it: real pointer
// clicks (XTEST, through xdotool) start a module from the navigation bar, close it from the
// module bar and quit from the overflow menu, while the X server's window tree shows the
// module's window embedded in the dashboard's, and then gone.
//
// Where to click comes from the front end itself: the test lays out its own copy of the front
// end, off screen and at the size of the real window, and reads the controls' places from it.
// Each click is then checked by its effect on the real program, so a wrong place fails.
#include "dashboard_host.h"
#include "e2e_host_tools.h"
#include "host_x11_test.h"
#include "label_folder.h"

#include <korvexdashboard.h>

#include <QDeadlineTimer>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QImage>
#include <QProcess>
#include <QQuickItem>
#include <QRegularExpression>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

#include <cstdio>
#include <memory>
#include <optional>

#include <signal.h>

using namespace E2eHost;

class tst_E2eHostX11 : public QObject
{
    Q_OBJECT

public:
    // The environment the host starts from: the test's own, before it chose its platform.
    explicit tst_E2eHostX11(const QProcessEnvironment &environment) : m_environment(environment) {}

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();
    void cleanupTestCase();

    void hostShowsItsWindow();
    void moduleButtonClickEmbedsTheModule();
    void closeButtonEndsTheModule();
    void secondLaunchOpensItsLabelInTheRunningDashboard();
    void quitFromTheMenuEndsTheHost();

private:
    QQuickItem *layoutItem(const QString &objectName) const;
    // A real click at a point of the dashboard's window.
    void click(const QPoint &inWindow);
    // The X server's picture of a window (the screen's for 0), as the user sees it.
    QImage capture(quint32 window);
    void screenshot(const QString &name);
    // Waits until the dashboard's window shows that colour at that point: the frame with the
    // control to be clicked is on the screen.
    bool waitUntilDrawn(const QPoint &inWindow, const QColor &color);

    bool findHostWindow();
    bool findModuleWindow();
    // Closes the module shown in the dashboard with its bar's close button, as a user does.
    void closeShownModule();

    QProcessEnvironment m_environment;
    // Each step starts where the one before left the program; after a failure the rest skip.
    bool m_failed = false;
    QTemporaryDir m_home;
    QTemporaryDir m_scratch;
    QString m_artifacts;
    std::unique_ptr<QProcess> m_host;
    qint64 m_hostPid = 0;
    quint32 m_hostWindow = 0;
    // The test's own copy of the front end, laid out like the real one.
    std::unique_ptr<DashboardHost> m_layout;
    int m_appType = -1;
    QString m_moduleName;
    QString m_moduleProgram;
    qint64 m_modulePid = 0;
    quint32 m_moduleWindow = 0;
    QRect m_moduleRect;
};

// The items below an item on the screen, at any depth: delegates and menu entries included.
static void collectItems(QQuickItem *item, QList<QQuickItem *> *items)
{
    for (QQuickItem *child : item->childItems()) {
        items->append(child);
        collectItems(child, items);
    }
}

static QList<QQuickItem *> itemsBelow(QQuickItem *item)
{
    QList<QQuickItem *> items;
    if (item)
        collectItems(item, &items);
    return items;
}

// The visible item of that name in the test's copy; the overlay of menus is searched too.
QQuickItem *tst_E2eHostX11::layoutItem(const QString &objectName) const
{
    if (!m_layout)
        return nullptr;
    for (QQuickItem *item : itemsBelow(m_layout->window()->contentItem())) {
        if (item->objectName() == objectName && item->isVisible())
            return item;
    }
    return nullptr;
}

void tst_E2eHostX11::initTestCase()
{
    QVERIFY(m_home.isValid() && m_scratch.isValid());
    m_artifacts = QCoreApplication::applicationDirPath() + QStringLiteral("/artifacts");
    QVERIFY(QDir().mkpath(m_artifacts));
    const QString program = QStringLiteral(KORVEX_E2E_HOST_PROGRAM);
    QVERIFY2(QFileInfo(program).isExecutable(), qPrintable(program + QStringLiteral(" is not built")));

    // The simulated printer of the run command, with newer firmware known for it.
    const QString printers = m_scratch.filePath(QStringLiteral("printers.json"));
    const QString firmware = m_scratch.filePath(QStringLiteral("firmware.json"));
    {
        QFile file(printers);
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(R"({ "printers": [ { "name": "Ondrel X100 on line 1", "driver": "Ondrel X100 Series",
            "port": "USB001", "location": "Line 1", "status": 0, "supplyId": "Y-4421",
            "ribbonIds": ["R-10"], "firmwareVersion": "1.4.2-118", "type": 3, "default": true } ] })");
        QFile manifest(firmware);
        QVERIFY(manifest.open(QIODevice::WriteOnly));
        manifest.write(R"({ "printerTypes": [ { "type": 3, "latestVersion": "1.4.3-120" } ] })");
    }

    // A user of its own: nothing of the machine's real home is read or written.
    const QDir home(m_home.path());
    QProcessEnvironment environment = m_environment;
    QVERIFY(HostX11Test::setHome(&environment, home.path()));
    environment.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("xcb"));
    environment.insert(QStringLiteral("KORVEX_SIMULATED_PRINTERS"), printers);
    environment.insert(QStringLiteral("KORVEX_FIRMWARE_MANIFEST"), firmware);
    environment.insert(QStringLiteral("KORVEX_REAL_PRINTERS"), QStringLiteral("0"));

    m_host = std::make_unique<QProcess>();
    m_host->setProcessEnvironment(environment);
    m_host->setWorkingDirectory(home.path());
    m_host->setProcessChannelMode(QProcess::ForwardedChannels);
    m_host->start(program, {});
    QVERIFY2(m_host->waitForStarted(START_TIMEOUT_MS), qPrintable(m_host->errorString()));
    m_hostPid = m_host->processId();
}

void tst_E2eHostX11::init()
{
    if (m_failed)
        QSKIP("an earlier step failed");
}

void tst_E2eHostX11::cleanup()
{
    m_failed = m_failed || QTest::currentTestFailed();
}

void tst_E2eHostX11::cleanupTestCase()
{
    // Whatever a failed step left running, the test started it (the module through the host).
    if (m_modulePid > 0 && !processGone(m_modulePid) && parentPid(m_modulePid) == m_hostPid)
        ::kill(pid_t(m_modulePid), SIGKILL);
    if (m_host && m_host->state() != QProcess::NotRunning) {
        m_host->kill();
        m_host->waitForFinished(TOOL_TIMEOUT_MS);
    }
    m_layout.reset();
}

void tst_E2eHostX11::click(const QPoint &inWindow)
{
    const ToolOutput moved = runTool(QStringLiteral("xdotool"),
            { QStringLiteral("mousemove"), QStringLiteral("--window"), QString::number(m_hostWindow),
              QStringLiteral("--sync"), QString::number(inWindow.x()), QString::number(inWindow.y()),
              QStringLiteral("click"), QStringLiteral("1") });
    QVERIFY2(moved.ok, "xdotool could not click");
}

QImage tst_E2eHostX11::capture(quint32 window)
{
    const QString file = m_scratch.filePath(QStringLiteral("capture.png"));
    QFile::remove(file);
    if (!runTool(QStringLiteral("import"),
                 { QStringLiteral("-window"), window ? hex(window) : QStringLiteral("root"), file }).ok)
        return QImage();
    return QImage(file);
}

void tst_E2eHostX11::screenshot(const QString &name)
{
    // The whole screen: a window's own picture would not show another program's window in it.
    // Written aside and checked first, so the artifact is never a half-written file.
    const QString written = m_scratch.filePath(name + QStringLiteral(".png"));
    QVERIFY2(runTool(QStringLiteral("import"), { QStringLiteral("-window"), QStringLiteral("root"), written }).ok,
             qPrintable(QStringLiteral("import could not write ") + written));
    QVERIFY(!QImage(written).isNull());
    const QString file = m_artifacts + u'/' + name + QStringLiteral(".png");
    const QString part = file + QStringLiteral(".%1.part").arg(QCoreApplication::applicationPid());
    QFile::remove(part);
    QVERIFY2(QFile::copy(written, part), qPrintable(part));
    QVERIFY2(std::rename(QFile::encodeName(part).constData(), QFile::encodeName(file).constData()) == 0,
             qPrintable(file));
    std::fprintf(stdout, "screenshot: %s\n", qPrintable(file));
}

bool tst_E2eHostX11::waitUntilDrawn(const QPoint &inWindow, const QColor &color)
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
    qWarning("At %d,%d the window shows %s, not %s", inWindow.x(), inWindow.y(),
             qPrintable(seen.name()), qPrintable(color.name()));
    return false;
}

bool tst_E2eHostX11::findHostWindow()
{
    const ToolOutput found = runTool(QStringLiteral("xdotool"),
            { QStringLiteral("search"), QStringLiteral("--onlyvisible"), QStringLiteral("--pid"),
              QString::number(m_hostPid), QStringLiteral("--name"), QStringLiteral("^Korvex PRO$") });
    const QStringList ids = found.out.split(u'\n', Qt::SkipEmptyParts);
    m_hostWindow = ids.size() == 1 ? ids.first().toUInt() : 0;
    return m_hostWindow != 0;
}

// A viewable window of another process below the dashboard's window.
bool tst_E2eHostX11::findModuleWindow()
{
    for (quint32 window : descendants(m_hostWindow).value_or(QList<quint32>())) {
        const qint64 pid = windowPid(window);
        if (pid <= 0 || pid == m_hostPid)
            continue;
        const std::optional<WindowInfo> info = windowInfo(window);
        if (info && info->viewable && !info->rect.isEmpty()) {
            m_modulePid = pid;
            m_moduleWindow = window;
            m_moduleRect = info->rect;
            return true;
        }
    }
    return false;
}

void tst_E2eHostX11::hostShowsItsWindow()
{
    // The top-level window of the host process, once it is on the screen.
    // Waited for with qWaitFor, which asks once more only while the answer is no: the X tools
    // can fail for a moment while windows come and go, and QTRY would ask again after a yes.
    QVERIFY(QTest::qWaitFor([this] { return findHostWindow() || m_host->state() != QProcess::Running; },
                            START_TIMEOUT_MS));
    QVERIFY2(m_host->state() == QProcess::Running, "the dashboard exited");
    const std::optional<WindowInfo> window = windowInfo(m_hostWindow);
    QVERIFY(window && window->viewable);
    QVERIFY2(window->rect.width() >= 900 && window->rect.height() >= 560,
             qPrintable(QStringLiteral("the window is %1x%2").arg(window->rect.width()).arg(window->rect.height())));

    // The label folder under the user's documents, seeded on this first run.
    const QString labels = m_home.filePath(QStringLiteral("Documents/KorvexPro/mylabels"));
    for (const QString &sample : LabelFolder::sampleFiles())
        QVERIFY2(QFileInfo::exists(labels + u'/' + sample), qPrintable(sample + QStringLiteral(" was not seeded")));

    // The test's copy of the front end, at the real window's size, with a home of its own that
    // no earlier run has written to.
    QVERIFY(HostX11Test::useOwnHome(m_scratch.filePath(QStringLiteral("layout-home"))));
    m_layout = std::make_unique<DashboardHost>();
    DashboardHost::Options options;
    options.labelFolder = m_scratch.filePath(QStringLiteral("layout-labels"));
    QVERIFY2(m_layout->start(options), qPrintable(m_layout->errors().join(u'\n')));
    QVERIFY(QTest::qWaitForWindowExposed(m_layout->window()));
    QTRY_VERIFY(m_layout->isReady());
    m_layout->window()->resize(window->rect.size());
    QTRY_COMPARE(m_layout->rootItem()->size().toSize(), window->rect.size());
    QVERIFY(!m_layout->window()->grabWindow().isNull()); // lays everything out
}

void tst_E2eHostX11::moduleButtonClickEmbedsTheModule()
{
    QVERIFY(m_hostWindow && m_layout);
    DashboardMainWindow *mirror = m_layout->window();
    // The first module of the navigation bar.
    QQuickItem *bar = layoutItem(QStringLiteral("navigationBar"));
    QVERIFY(bar);
    QQuickItem *button = nullptr;
    const QString prefix = QStringLiteral("nav_%1_").arg(int(DashboardGlobal::NAV_APP));
    for (QQuickItem *item : itemsBelow(bar)) {
        if (item->objectName().startsWith(prefix) && item->isVisible()
            && (!button || item->mapToScene(QPointF()).y() < button->mapToScene(QPointF()).y()))
            button = item;
    }
    QVERIFY2(button, "no module in the navigation bar");
    m_appType = button->objectName().mid(prefix.size()).toInt();
    m_moduleName = button->property("text").toString();
    m_moduleProgram = mirror->getApplicationExec(DashboardGlobal::ApplicationType(m_appType));
    QVERIFY(!m_moduleName.isEmpty() && !m_moduleProgram.isEmpty());
    const QPoint target = centerInWindow(button);
    QVERIFY(QRectF(QPointF(), bar->size()).contains(bar->mapFromScene(target)));

    // Click once the navigation bar is on the screen.
    const QColor barColor = bar->property("color").value<QColor>();
    QVERIFY(waitUntilDrawn(QPoint(2, target.y()), barColor));
    screenshot(QStringLiteral("host_dashboard"));
    click(target);

    // The module's own window, inside the dashboard's, shown over the content area.
    QVERIFY(QTest::qWaitFor([this] { return findModuleWindow() || m_host->state() != QProcess::Running; },
                            START_TIMEOUT_MS));
    QVERIFY2(m_host->state() == QProcess::Running, "the dashboard exited");
    // It is the module whose button was clicked, started by the dashboard.
    QCOMPARE(programName(m_modulePid), m_moduleProgram);
    QCOMPARE(parentPid(m_modulePid), m_hostPid);
    QVERIFY(descendants(m_hostWindow).value_or(QList<quint32>()).contains(m_moduleWindow));

    const std::optional<WindowInfo> host = windowInfo(m_hostWindow);
    QVERIFY(host);
    QRect content = host->rect;
    content.setLeft(host->rect.left() + int(bar->width()));
    QVERIFY2(content.contains(m_moduleRect),
             qPrintable(QStringLiteral("module window %1,%2 %3x%4 is not in the content area %5,%6 %7x%8")
                                .arg(m_moduleRect.x()).arg(m_moduleRect.y()).arg(m_moduleRect.width())
                                .arg(m_moduleRect.height()).arg(content.x()).arg(content.y())
                                .arg(content.width()).arg(content.height())));
    // It fills the content area's width, below the module bar.
    QCOMPARE(m_moduleRect.left(), content.left());
    QCOMPARE(m_moduleRect.right(), content.right());
    QVERIFY(m_moduleRect.top() > content.top());
    QCOMPARE(m_moduleRect.bottom(), content.bottom());
    screenshot(QStringLiteral("host_module_embedded"));
}

void tst_E2eHostX11::closeButtonEndsTheModule()
{
    closeShownModule();
    if (!QTest::currentTestFailed())
        screenshot(QStringLiteral("host_module_closed"));
}

void tst_E2eHostX11::secondLaunchOpensItsLabelInTheRunningDashboard()
{
    QVERIFY(m_hostWindow && m_layout && m_appType == int(DashboardGlobal::APP_LABELDESIGNER));
    m_moduleWindow = 0;
    m_modulePid = 0;
    // Opened from a file manager while the dashboard runs: the program is started again with
    // the label, hands it over and ends.
    const QString label = m_home.filePath(QStringLiteral("Documents/KorvexPro/mylabels/Forklift Traffic.kxld"));
    QVERIFY(QFileInfo::exists(label));
    QProcess second;
    second.setProcessEnvironment(m_host->processEnvironment());
    second.setWorkingDirectory(m_host->workingDirectory());
    second.setProcessChannelMode(QProcess::ForwardedChannels);
    second.start(QStringLiteral(KORVEX_E2E_HOST_PROGRAM), { label });
    QVERIFY2(second.waitForStarted(START_TIMEOUT_MS), qPrintable(second.errorString()));
    QVERIFY2(second.waitForFinished(START_TIMEOUT_MS), "the second launch did not end");
    QCOMPARE(second.exitStatus(), QProcess::NormalExit);
    QCOMPARE(second.exitCode(), 0);

    // The running dashboard opens the label in its module, inside its own window.
    QVERIFY(QTest::qWaitFor([this] { return findModuleWindow() || m_host->state() != QProcess::Running; },
                            START_TIMEOUT_MS));
    QVERIFY2(m_host->state() == QProcess::Running, "the dashboard exited");
    QCOMPARE(programName(m_modulePid), m_moduleProgram);
    QCOMPARE(parentPid(m_modulePid), m_hostPid);
    const QList<QByteArray> arguments = commandLineOf(m_modulePid);
    QVERIFY2(arguments.contains(QFile::encodeName(label)), arguments.join(' ').constData());

    // There is one dashboard on the screen, and it is in front.
    QCOMPARE(shownDashboards(), QStringList { QString::number(m_hostWindow) });
    screenshot(QStringLiteral("host_second_launch"));
    closeShownModule();
}

void tst_E2eHostX11::closeShownModule()
{
    QVERIFY(m_moduleWindow && m_modulePid > 0);
    // The module bar in the test's copy shows the same module.
    QObject *modules = m_layout->rootItem()->property("moduleHost").value<QObject *>();
    QVERIFY(modules);
    QVERIFY(modules->setProperty("names", QVariantMap{ { QString::number(m_appType), m_moduleName } }));
    QVERIFY(modules->setProperty("shownApp", m_appType));
    const QImage shown = m_layout->window()->grabWindow();
    QVERIFY(!shown.isNull());
    QQuickItem *close = layoutItem(QStringLiteral("closeModuleButton"));
    QQuickItem *moduleBar = layoutItem(QStringLiteral("moduleBar"));
    QQuickItem *area = layoutItem(QStringLiteral("moduleArea"));
    QVERIFY(close && moduleBar && area);
    QVERIFY(close->isEnabled());
    // Places are taken from the corners of the module's area, which the real module window
    // covers: the close button from the top right one, an empty spot of the bar from the left.
    const std::optional<WindowInfo> host = windowInfo(m_hostWindow);
    QVERIFY(host);
    const QPoint areaTopLeft = area->mapToScene(QPointF(0, 0)).toPoint();
    const QPoint areaTopRight = area->mapToScene(QPointF(area->width(), 0)).toPoint();
    const QPoint moduleTopLeft = m_moduleRect.topLeft() - host->rect.topLeft();
    const QPoint moduleTopRight = QPoint(m_moduleRect.right() + 1, m_moduleRect.top()) - host->rect.topLeft();
    const QPoint barSpot = moduleBar->mapToScene(QPointF(moduleBar->width() * 0.6, moduleBar->height() / 2)).toPoint();
    QVERIFY(waitUntilDrawn(moduleTopLeft + (barSpot - areaTopLeft), shown.pixelColor(barSpot)));
    click(moduleTopRight + (centerInWindow(close) - areaTopRight));

    // The module ends, its window leaves the dashboard's, and the dashboard lives on.
    QTRY_VERIFY_WITH_TIMEOUT(processGone(m_modulePid), START_TIMEOUT_MS);
    QVERIFY(QTest::qWaitFor([this] {
        const std::optional<QList<quint32>> below = descendants(m_hostWindow);
        return below && !below->contains(m_moduleWindow);
    }, START_TIMEOUT_MS));
    QVERIFY(m_host->state() == QProcess::Running);
    const std::optional<WindowInfo> after = windowInfo(m_hostWindow);
    QVERIFY(after && after->viewable);
    // No other window of the module is left anywhere.
    const std::optional<QList<quint32>> below = descendants(m_hostWindow);
    QVERIFY(below);
    for (quint32 window : *below)
        QVERIFY(windowPid(window) != m_modulePid);
}

void tst_E2eHostX11::quitFromTheMenuEndsTheHost()
{
    QVERIFY(m_hostWindow && m_layout);
    QObject *modules = m_layout->rootItem()->property("moduleHost").value<QObject *>();
    QVERIFY(modules);
    QVERIFY(modules->setProperty("shownApp", int(DashboardGlobal::APP_NULL)));
    QQuickItem *more = layoutItem(QStringLiteral("overflowButton"));
    QVERIFY(more);
    const QPoint moreAt = centerInWindow(more);

    // Where the menu's Quit entry shows, from the test's copy opened the same way.
    QVERIFY(QMetaObject::invokeMethod(more, "clicked"));
    QQuickItem *quit = nullptr;
    QTRY_VERIFY((quit = layoutItem(QStringLiteral("menu_%1").arg(int(MeatballsNavigationModel::NAV_QUIT))))
                && quit->isVisible() && quit->height() > 0);
    const QImage opened = m_layout->window()->grabWindow();
    const QPoint quitAt = centerInWindow(quit);
    // The menu's background beside the entry's text, to know the real menu is drawn.
    const QPoint menuPoint = quit->mapToScene(QPointF(2, quit->height() / 2)).toPoint();
    const QColor menuColor = opened.pixelColor(menuPoint);

    const QColor before = capture(m_hostWindow).pixelColor(menuPoint);
    QVERIFY2(!similar(before, menuColor), "the menu's place looks like the menu before it opens");
    click(moreAt);
    QVERIFY(waitUntilDrawn(menuPoint, menuColor));
    click(quitAt);
    QVERIFY2(m_host->waitForFinished(START_TIMEOUT_MS), "the dashboard did not quit");
    QCOMPARE(m_host->exitStatus(), QProcess::NormalExit);
    QCOMPARE(m_host->exitCode(), 0);
    QVERIFY(!windowInfo(m_hostWindow).has_value());
}

int main(int argc, char **argv)
{
    return HostX11Test::run<tst_E2eHostX11>(argc, argv, { { "xdotool", "xdotool" }, { "xwininfo", "x11-utils" },
                                                          { "xprop", "x11-utils" }, { "import", "imagemagick" } });
}

#include "tst_e2e_host_x11.moc"
