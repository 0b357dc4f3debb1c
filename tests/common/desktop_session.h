#pragma once

// What the programs that drive the real host program on an X server share (the real-desktop
// test and the click benchmark): the window managers they run it under, the environment they
// start it with, where its navigation bar's buttons are (from a copy of the front end laid out
// offscreen at the real window's size), the clicks, and whether the screen shows what a
// module draws. Each step says what went wrong instead of failing a test, so that a program
// without Qt Test's checks can use it too.

#include "dashboard_host.h"
#include "desktop_x11.h"
#include "host_x11_test.h"

#include <korvexdashboard.h>

#include <QColor>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QImage>
#include <QProcess>
#include <QProcessEnvironment>
#include <QQuickItem>
#include <QQuickWindow>
#include <QSet>
#include <QTest>

#include <memory>

#include <signal.h>
#include <unistd.h>

namespace DesktopSession {

using DesktopX11::XServer;

// A tool (xdotool, a window manager's start) answers at once; a loaded machine needs far more.
constexpr int TOOL_TIMEOUT_MS = 20000;

struct WindowManager
{
    const char *name;
    const char *program; // looked up in PATH; the row skips without it
    QStringList arguments;
    bool inSession;      // needs a D-Bus session of its own
    // Writes what the manager needs in the home it runs with, or nullptr.
    bool (*prepareHome)(const QDir &home) = nullptr;
};

// Fluxbox sets its style's wallpaper with a helper that, missing an image tool, opens an error
// window over the desktop; a desktop set up by its user has none.
inline bool fluxboxWithoutWallpaper(const QDir &home)
{
    if (!home.mkpath(QStringLiteral(".fluxbox")))
        return false;
    QFile overlay(home.filePath(QStringLiteral(".fluxbox/overlay")));
    QFile init(home.filePath(QStringLiteral(".fluxbox/init")));
    if (!overlay.open(QIODevice::WriteOnly) || !init.open(QIODevice::WriteOnly))
        return false;
    overlay.write("background: unset\n");
    init.write("session.styleOverlay: " + QFile::encodeName(overlay.fileName()) + '\n');
    return overlay.flush() && init.flush();
}

inline QList<WindowManager> windowManagers()
{
    return {
        { "none", nullptr, {}, false },
        { "openbox", "openbox", { QStringLiteral("--sm-disable") }, false },
        // Without a session bus for its settings (xfconf) xfwm4 exits at once.
        { "xfwm4", "xfwm4", { QStringLiteral("--compositor=off"), QStringLiteral("--sm-client-disable") }, true },
        { "metacity", "metacity", { QStringLiteral("--sm-disable"), QStringLiteral("--replace") }, false },
        { "fluxbox", "fluxbox", {}, false, fluxboxWithoutWallpaper },
        { "mutter", "mutter", { QStringLiteral("--x11"), QStringLiteral("--replace"), QStringLiteral("--sm-disable") }, true },
        { "kwin_x11", "kwin_x11", { QStringLiteral("--replace") }, true },
    };
}

inline bool runTool(const QString &program, const QStringList &arguments, QString *out = nullptr)
{
    QProcess process;
    process.start(program, arguments);
    if (!process.waitForStarted(TOOL_TIMEOUT_MS))
        return false;
    if (!process.waitForFinished(TOOL_TIMEOUT_MS)) {
        process.kill();
        process.waitForFinished();
        return false;
    }
    if (out)
        *out = QString::fromLocal8Bit(process.readAllStandardOutput());
    return process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0;
}

// Gone, or a zombie its parent has yet to collect.
inline bool processGone(qint64 pid)
{
    QFile status(QStringLiteral("/proc/%1/status").arg(pid));
    return !status.open(QIODevice::ReadOnly) || status.readAll().contains("State:\tZ");
}

inline QString programName(qint64 pid)
{
    return QFileInfo(QFile::symLinkTarget(QStringLiteral("/proc/%1/exe").arg(pid))).fileName();
}

// The live processes whose parent is pid.
inline QList<qint64> childrenOf(qint64 pid)
{
    QList<qint64> children;
    const QStringList entries = QDir(QStringLiteral("/proc")).entryList(QDir::Dirs | QDir::NoDotAndDotDot);
    for (const QString &entry : entries) {
        bool number = false;
        const qint64 child = entry.toLongLong(&number);
        if (!number)
            continue;
        QFile stat(QStringLiteral("/proc/%1/stat").arg(child));
        if (!stat.open(QIODevice::ReadOnly))
            continue;
        // "pid (name) state ppid ...": the name may hold spaces and parentheses.
        const QByteArray line = stat.readAll();
        const QList<QByteArray> fields = line.mid(line.lastIndexOf(')') + 2).split(' ');
        if (fields.size() > 1 && fields.at(0) != "Z" && fields.at(1).toLongLong() == pid)
            children << child;
    }
    return children;
}

inline void collectItems(QQuickItem *item, QList<QQuickItem *> *items)
{
    for (QQuickItem *child : item->childItems()) {
        items->append(child);
        collectItems(child, items);
    }
}

inline QPoint centerInWindow(const QQuickItem *item)
{
    return item->mapToScene(QPointF(item->width() / 2, item->height() / 2)).toPoint();
}

// The visible item of that name in the copy of the front end, or nullptr.
inline QQuickItem *layoutItem(const DashboardHost &layout, const QString &objectName)
{
    QList<QQuickItem *> items;
    collectItems(layout.window()->contentItem(), &items);
    for (QQuickItem *item : items) {
        if (item->objectName() == objectName && item->isVisible())
            return item;
    }
    return nullptr;
}

struct Module
{
    int appType = -1;
    QString name;
    QPoint button; // in the host's window
};

// The module buttons of the navigation bar, top to bottom, as the copy lays them out.
inline QList<Module> modulesOfTheBar(const DashboardHost &layout)
{
    QList<Module> modules;
    QList<QQuickItem *> items;
    collectItems(layout.window()->contentItem(), &items);
    const QString prefix = QStringLiteral("nav_%1_").arg(int(DashboardGlobal::NAV_APP));
    for (QQuickItem *item : items) {
        if (item->objectName().startsWith(prefix) && item->isVisible())
            modules << Module{ item->objectName().mid(prefix.size()).toInt(),
                               item->property("text").toString(), centerInWindow(item) };
    }
    return modules;
}

inline int distance(QColor a, QColor b)
{
    return qAbs(a.red() - b.red()) + qAbs(a.green() - b.green()) + qAbs(a.blue() - b.blue());
}

// The share of pixels two pictures of the same size agree on (a distance of at most 6).
// Read a line at a time: a benchmark calls it between frames.
inline double agreement(const QImage &a, const QImage &b)
{
    if (a.isNull() || a.size() != b.size())
        return 0;
    const QImage first = a.convertToFormat(QImage::Format_RGB32);
    const QImage second = b.convertToFormat(QImage::Format_RGB32);
    qint64 same = 0;
    for (int y = 0; y < first.height(); ++y) {
        const auto *p = reinterpret_cast<const QRgb *>(first.constScanLine(y));
        const auto *q = reinterpret_cast<const QRgb *>(second.constScanLine(y));
        for (int x = 0; x < first.width(); ++x) {
            const int d = qAbs(qRed(p[x]) - qRed(q[x])) + qAbs(qGreen(p[x]) - qGreen(q[x]))
                    + qAbs(qBlue(p[x]) - qBlue(q[x]));
            same += d <= 6 ? 1 : 0;
        }
    }
    return double(same) / (qint64(first.width()) * first.height());
}

inline int colorCount(const QImage &picture)
{
    QSet<QRgb> colors;
    for (int y = 0; y < picture.height(); y += 3) {
        for (int x = 0; x < picture.width(); x += 3)
            colors.insert(picture.pixel(x, y));
    }
    return int(colors.size());
}

// What the screen shows where a module's window is, is what the module draws: no stale
// picture, nothing over it, and no flat fill (the module draws text). The pictures compared
// are left in own and seen.
inline bool showsItsPicture(const XServer &display, xcb_window_t window, QImage *own = nullptr,
                            QImage *seen = nullptr)
{
    const QRect rect = display.rectOnScreen(window);
    if (rect.isEmpty())
        return false;
    QImage mine = display.image(window, QRect(QPoint(), rect.size()));
    QImage screen = display.image(display.root(), rect);
    const bool shows = colorCount(mine) > 3 && agreement(mine, screen) > 0.98;
    if (own)
        *own = std::move(mine);
    if (seen)
        *seen = std::move(screen);
    return shows;
}

// The environment the host runs with: a user of its own at home, a simulated label printer,
// and the demo modules' event logs in scratch/modules (moduleLog reads them).
inline bool hostEnvironment(const QProcessEnvironment &base, const QString &home,
                            const QString &scratch, QProcessEnvironment *environment)
{
    const QString printers = QDir(scratch).filePath(QStringLiteral("printers.json"));
    {
        QFile file(printers);
        if (!file.open(QIODevice::WriteOnly))
            return false;
        file.write(R"({ "printers": [ { "name": "Ondrel X100 on line 1", "driver": "Ondrel X100 Series",
            "port": "USB001", "location": "Line 1", "status": 0, "supplyId": "Y-4421",
            "ribbonIds": ["R-10"], "firmwareVersion": "1.4.2-118", "type": 3, "default": true } ] })");
    }
    const QString logs = QDir(scratch).filePath(QStringLiteral("modules"));
    if (!QDir().mkpath(logs))
        return false;
    *environment = base;
    if (!HostX11Test::setHome(environment, home))
        return false;
    environment->insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("xcb"));
    environment->insert(QStringLiteral("KORVEX_SIMULATED_PRINTERS"), printers);
    environment->insert(QStringLiteral("KORVEX_REAL_PRINTERS"), QStringLiteral("0"));
    environment->insert(QStringLiteral("KORVEX_DEMO_MODULE_LOG"), logs);
    return true;
}

// A demo module's event log, a line an entry, from the folder hostEnvironment set up.
inline QStringList moduleLog(const QString &scratch, qint64 pid)
{
    QFile file(QDir(scratch).filePath(QStringLiteral("modules/%1.log").arg(pid)));
    if (!file.open(QIODevice::ReadOnly))
        return {};
    return QString::fromUtf8(file.readAll()).split(u'\n', Qt::SkipEmptyParts);
}

// Starts the window manager with a home of its own, and waits until it has taken the display.
// Nothing to start for "none". On failure, error says why; the process, if any, is returned
// all the same so that the caller stops it.
inline std::unique_ptr<QProcess> startWindowManager(const WindowManager &manager,
                                                    const QProcessEnvironment &base,
                                                    const QString &home, const QString &logFile,
                                                    const XServer &display, int timeout,
                                                    QString *error)
{
    if (display.windowManagerRuns()) {
        *error = QStringLiteral("another window manager holds the display");
        return nullptr;
    }
    if (!manager.program)
        return nullptr;
    if (manager.prepareHome && !manager.prepareHome(QDir(home))) {
        *error = QStringLiteral("the window manager's home could not be prepared");
        return nullptr;
    }
    auto process = std::make_unique<QProcess>();
    QProcessEnvironment environment = base;
    environment.insert(QStringLiteral("HOME"), home);
    environment.insert(QStringLiteral("XDG_CONFIG_HOME"), QDir(home).filePath(QStringLiteral(".config")));
    process->setProcessEnvironment(environment);
    process->setProcessChannelMode(QProcess::MergedChannels);
    process->setStandardOutputFile(logFile);
    QString program = QString::fromLatin1(manager.program);
    QStringList arguments = manager.arguments;
    if (manager.inSession) {
        arguments.prepend(program);
        arguments.prepend(QStringLiteral("--"));
        program = QStringLiteral("dbus-run-session");
    }
    // A process group of its own, so that stopping it stops a D-Bus session it runs in too.
    process->setChildProcessModifier([] { ::setsid(); });
    process->start(program, arguments);
    if (!process->waitForStarted(timeout)) {
        *error = process->errorString();
        return process;
    }
    // The manager is there once it says so on the root window.
    QProcess *started = process.get();
    if (!QTest::qWaitFor([&] {
            return display.windowManagerAnnounced() || started->state() != QProcess::Running;
        }, timeout)) {
        *error = QStringLiteral("the window manager did not take the display");
        return process;
    }
    if (process->state() != QProcess::Running)
        *error = QStringLiteral("the window manager exited; see %1").arg(logFile);
    return process;
}

// Stops a window manager startWindowManager started, with whatever runs in its group, and
// waits until the display is free for the next one. False when it stays held.
inline bool stopWindowManager(std::unique_ptr<QProcess> *manager, const XServer &display, int timeout)
{
    if (!*manager)
        return true;
    const qint64 group = (*manager)->processId();
    if (group > 0)
        ::kill(-pid_t(group), SIGTERM);
    if (!(*manager)->waitForFinished(TOOL_TIMEOUT_MS) && group > 0)
        ::kill(-pid_t(group), SIGKILL);
    (*manager)->waitForFinished(TOOL_TIMEOUT_MS);
    manager->reset();
    return QTest::qWaitFor([&] { return !display.windowManagerRuns(); }, timeout);
}

// Waits for the host's window on the screen, drawn by the front end and not only the shell,
// and lays the copy of the front end out at its size: its first module button is drawn. The
// window and its place on the screen are left in window and rect; error says what failed.
// rootless: the X server shows no window's pixels on its root (XWayland), so the window's own
// are read; a Wayland compositor shows them, somewhere X does not know.
inline bool waitForHostDrawn(const XServer &display, const QProcess &host, DashboardHost *layout,
                             int timeout, xcb_window_t *window, QRect *rect, QString *error,
                             bool rootless = false)
{
    const qint64 pid = host.processId();
    if (!QTest::qWaitFor([&] {
            *window = display.findWindowOf(pid, display.root(), QSize(600, 400));
            return *window != XCB_NONE || host.state() != QProcess::Running;
        }, timeout)) {
        *error = QStringLiteral("the dashboard's window did not appear (%1; a window manager %2)")
                         .arg(display.describeWindowsOf(pid),
                              display.windowManagerRuns() ? QStringLiteral("runs") : QStringLiteral("does not run"));
        return false;
    }
    if (host.state() != QProcess::Running) {
        *error = QStringLiteral("the dashboard exited");
        return false;
    }
    *rect = display.rectOnScreen(*window);
    layout->window()->resize(rect->size());
    if (!QTest::qWaitFor([&] { return layout->rootItem()->size().toSize() == rect->size(); }, timeout)) {
        *error = QStringLiteral("the copy of the front end did not take the window's size");
        return false;
    }
    layout->window()->grabWindow(); // lays everything out

    // The navigation bar of the real window is drawn: its first module button shows.
    QQuickItem *bar = layoutItem(*layout, QStringLiteral("navigationBar"));
    if (!bar) {
        *error = QStringLiteral("the copy of the front end has no navigation bar");
        return false;
    }
    const QColor barColor = bar->property("color").value<QColor>();
    QColor seenColor;
    if (!QTest::qWaitFor([&] {
            // Where the window is, read again each time: a manager may still place it.
            *rect = display.rectOnScreen(*window);
            const QPoint spot = QPoint(2, rect->height() / 2);
            const QImage seen = rootless ? display.image(*window, QRect(spot, QSize(1, 1)))
                                         : display.image(display.root(), QRect(rect->topLeft() + spot, QSize(1, 1)));
            seenColor = seen.isNull() ? QColor() : seen.pixelColor(0, 0);
            return !seen.isNull() && distance(seenColor, barColor) <= 6;
        }, timeout)) {
        *error = QStringLiteral("the navigation bar is not drawn: %1 shows %2, not %3")
                         .arg(QStringLiteral("%1,%2 %3x%4").arg(rect->x()).arg(rect->y())
                                      .arg(rect->width()).arg(rect->height()),
                              seenColor.name(), barColor.name());
        return false;
    }
    if (rect->size() != layout->rootItem()->size().toSize()) {
        *error = QStringLiteral("the dashboard's window changed its size while it was drawn");
        return false;
    }
    // The start shell, shown until the front end is made, has the bar's colour but nothing on
    // it, and takes no clicks: wait until the top of the bar shows about as much that is not
    // the bar's colour (logo and name) as the copy draws there. The shell shows none.
    const QRect top(0, 0, int(bar->width()), 60);
    const auto ink = [barColor](const QImage &image) {
        int count = 0;
        for (int y = 0; y < image.height(); ++y) {
            for (int x = 0; x < image.width(); ++x)
                count += distance(image.pixelColor(x, y), barColor) > 24 ? 1 : 0;
        }
        return count;
    };
    const int wanted = ink(layout->window()->grabWindow().copy(top));
    int seenInk = 0;
    if (wanted == 0 || !QTest::qWaitFor([&] {
            *rect = display.rectOnScreen(*window);
            const QImage seen = rootless ? display.image(*window, top)
                                         : display.image(display.root(), top.translated(rect->topLeft()));
            seenInk = seen.isNull() ? 0 : ink(seen);
            return seenInk * 2 >= wanted;
        }, timeout)) {
        *error = QStringLiteral("the front end's navigation bar is not drawn: its top shows %1 marked pixels of %2")
                         .arg(seenInk).arg(wanted);
        return false;
    }
    return true;
}

// A real pointer click (XTEST, through xdotool) at a point of the host's window.
inline bool click(xcb_window_t hostWindow, const QPoint &inHost)
{
    return runTool(QStringLiteral("xdotool"),
                   { QStringLiteral("mousemove"), QStringLiteral("--window"), QString::number(hostWindow),
                     QStringLiteral("--sync"), QString::number(inHost.x()), QString::number(inHost.y()),
                     QStringLiteral("click"), QStringLiteral("1") });
}

} // namespace DesktopSession
