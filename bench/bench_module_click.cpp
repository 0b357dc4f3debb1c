// A click on a module's button in the dashboard's navigation bar to the module's first frame
// inside the dashboard, on an X server with no window manager and under openbox. The peer,
// measured in the same run and interleaved with the clicks: the same module program started
// on its own, as a top-level window, from its start to its first frame on the screen.
//
// "First frame" is what the user sees: the module's window is viewable (inside the dashboard's
// window, for a click), and the screen shows the picture the module draws. A window that is
// mapped but not drawn yet shows whatever was beneath it, so that the screen and the window
// agree before the module has drawn anything; the picture counts once the module has laid its
// window out at the size it has (its log says so), the screen agrees with the window on it,
// it is no flat fill, it is not what was there before, and two looks in a row see it. The
// time is that of the first look that saw that picture. The clock starts just before the click
// is sent (the pointer already rests on the button; starting xdotool is in the figure) and the
// X server is looked at again every few milliseconds. Each click's steps (the module's
// process, its log lines, the host's log lines, its window inside the dashboard) are printed
// with their times, so a slow step shows.
//
// Needs an X server (scripts/bench gives it an Xvfb), xdotool and openbox; exits 77 (skip)
// without them. KORVEX_BENCH_RUNS sets the clicks a row (default 5); KORVEX_BENCH_PICTURES
// names a folder where each picture taken as a first frame is saved, to look at.
#include "dashboard_host.h"
#include "desktop_session.h"
#include "desktop_x11.h"
#include "host_x11_test.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QGuiApplication>
#include <QProcess>
#include <QRegularExpression>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTextStream>
#include <QThread>

#include <algorithm>
#include <cstdio>
#include <memory>

#include <signal.h>

using DesktopX11::XServer;
using namespace DesktopSession;

namespace {

constexpr int DEFAULT_RUNS = 5;
// A module shows in well under a second; its own wait for the dashboard is 15 s.
constexpr int FRAME_TIMEOUT_MS = 60000;
// Between two looks at the X server while nothing shows yet: short next to a frame, long
// enough to leave the two cores to the programs measured.
constexpr unsigned long POLL_US = 2000;

QTextStream &out()
{
    static QTextStream stream(stdout);
    return stream;
}

struct Step
{
    QString what;
    double ms;
};

struct Sample
{
    double ms = -1; // to the first frame; negative when it never came
    QList<Step> steps;
};

// What the screen showed where the module's window is, look by look, to find afterwards the
// first look that showed its finished picture. A window that is mapped but not yet drawn shows
// whatever was beneath it (Qt's windows have no background of their own), and so agrees with
// the screen too: only the picture the module settles on tells its frame. Every fourth pixel
// each way, and only when it changed, so that a long wait stays small.
class FrameRecord
{
public:
    // What the whole screen showed before the module started.
    explicit FrameRecord(const QImage &before) : m_before(before) {}

    // Takes a look at the window: true once the screen shows what the window holds, it is no
    // flat fill, it is what the last look showed (the module has settled), and it is not what
    // was there before (a window not drawn yet shows that).
    bool look(const XServer &display, xcb_window_t window, double at, const QStringList &moduleLog)
    {
        QImage own;
        QImage seen;
        const bool shows = showsItsPicture(display, window, &own, &seen);
        if (seen.isNull())
            return false;
        const QRect rect = display.rectOnScreen(window);
        const bool changed = !m_before.rect().contains(rect) || agreement(m_before.copy(rect), seen) < 0.9;
        // The module says where its path field is after each change of size: it has laid its
        // window out at the size it has now, and paints it next.
        const QString laidOut = QStringLiteral(" in %1x%2").arg(rect.width()).arg(rect.height());
        const QStringList sizes = moduleLog.filter(QRegularExpression(QStringLiteral("^path field ")));
        const bool atItsSize = !sizes.isEmpty() && sizes.constLast().endsWith(laidOut);
        const QImage small = seen.scaled(seen.size() / 4, Qt::IgnoreAspectRatio, Qt::FastTransformation);
        const bool same = !m_looks.isEmpty() && agreement(m_looks.constLast().second, small) > 0.999;
        if (!same)
            m_looks.append({ at, small });
        m_reference = small;
        const bool settled = shows && same && changed && atItsSize;
        if (settled && qEnvironmentVariableIsSet("KORVEX_BENCH_PICTURES")) {
            static int n = 0;
            seen.save(QStringLiteral("%1/frame-%2.png").arg(qEnvironmentVariable("KORVEX_BENCH_PICTURES")).arg(++n));
        }
        return settled;
    }

    // When the screen first showed the picture of the last look.
    double firstShown() const
    {
        for (const auto &look : m_looks) {
            if (look.second.size() == m_reference.size() && agreement(look.second, m_reference) > 0.98)
                return look.first;
        }
        return -1;
    }

    void clear()
    {
        m_looks.clear();
        m_reference = QImage();
    }

private:
    QImage m_before;
    QList<QPair<double, QImage>> m_looks;
    QImage m_reference;
};

class Bench
{
public:
    Bench(const QProcessEnvironment &environment, XServer *display)
        : m_environment(environment), m_display(display)
    {
    }

    bool prepare();
    // One row: the manager (none for nullptr), the clicks and the peer's starts, alternated.
    bool runRow(const WindowManager &manager, int runs, QList<Sample> *clicks, QList<Sample> *peers);

private:
    bool startHost(const QString &row);
    void stopHost();
    Sample clickToFrame(const Module &module);
    Sample peerStartToFrame(const Module &module);
    bool closeModule(qint64 pid, xcb_window_t window);
    QImage screen() const
    {
        return m_display->image(m_display->root(), QRect(QPoint(), m_display->rectOnScreen(m_display->root()).size()));
    }
    void stamp(QList<Step> *steps, const QString &what, const QElapsedTimer &clock);
    void readHostLog(QList<Step> *steps, const QElapsedTimer &clock);

    QProcessEnvironment m_environment;
    XServer *m_display;
    QTemporaryDir m_scratch;
    std::unique_ptr<DashboardHost> m_layout;
    std::unique_ptr<QTemporaryDir> m_home;
    QString m_rowScratch;
    QProcessEnvironment m_hostEnvironment;
    std::unique_ptr<QProcess> m_host;
    qint64 m_hostPid = 0;
    xcb_window_t m_hostWindow = XCB_NONE;
    QRect m_hostRect;
    QByteArray m_hostLog;
};

bool Bench::prepare()
{
    if (!m_scratch.isValid())
        return false;
    // The copy of the front end, laid out like the real one, tells where the buttons are.
    if (!HostX11Test::useOwnHome(m_scratch.filePath(QStringLiteral("layout-home"))))
        return false;
    m_layout = std::make_unique<DashboardHost>();
    DashboardHost::Options options;
    options.labelFolder = m_scratch.filePath(QStringLiteral("layout-labels"));
    if (!m_layout->start(options)) {
        std::fprintf(stderr, "the copy of the front end did not start: %s\n",
                     qPrintable(m_layout->errors().join(u'\n')));
        return false;
    }
    return QTest::qWaitFor([this] { return m_layout->isReady(); }, FRAME_TIMEOUT_MS);
}

bool Bench::startHost(const QString &row)
{
    // A user of its own for each row: the host starts as on a fresh desktop each time.
    m_home = std::make_unique<QTemporaryDir>();
    m_rowScratch = m_scratch.filePath(row);
    if (!m_home->isValid() || !QDir().mkpath(m_rowScratch)
        || !hostEnvironment(m_environment, m_home->path(), m_rowScratch, &m_hostEnvironment))
        return false;
    m_host = std::make_unique<QProcess>();
    m_host->setProcessEnvironment(m_hostEnvironment);
    m_host->setWorkingDirectory(m_home->path());
    m_host->setProcessChannelMode(QProcess::SeparateChannels);
    m_host->setStandardOutputFile(QProcess::nullDevice());
    m_host->start(QStringLiteral(KORVEX_BENCH_HOST_PROGRAM), {});
    if (!m_host->waitForStarted(FRAME_TIMEOUT_MS))
        return false;
    m_hostPid = m_host->processId();
    m_hostLog.clear();
    QString error;
    if (!waitForHostDrawn(*m_display, *m_host, m_layout.get(), FRAME_TIMEOUT_MS, &m_hostWindow,
                          &m_hostRect, &error)) {
        std::fprintf(stderr, "%s: %s\n", qPrintable(row), qPrintable(error));
        return false;
    }
    m_host->readAllStandardError();
    return true;
}

void Bench::stopHost()
{
    if (!m_host)
        return;
    const QList<qint64> modules = childrenOf(m_hostPid);
    m_host->kill();
    m_host->waitForFinished(TOOL_TIMEOUT_MS);
    for (const qint64 pid : modules) {
        if (!processGone(pid))
            ::kill(pid_t(pid), SIGKILL);
    }
    m_host.reset();
    m_hostWindow = XCB_NONE;
}

void Bench::stamp(QList<Step> *steps, const QString &what, const QElapsedTimer &clock)
{
    steps->append({ what, clock.nsecsElapsed() / 1e6 });
}

// The host's log lines that arrived since the last look, each with the time it was read.
void Bench::readHostLog(QList<Step> *steps, const QElapsedTimer &clock)
{
    QCoreApplication::processEvents();
    m_hostLog += m_host->readAllStandardError();
    int end;
    while ((end = m_hostLog.indexOf('\n')) >= 0) {
        const QString line = QString::fromLocal8Bit(m_hostLog.left(end)).simplified();
        m_hostLog.remove(0, end + 1);
        if (!line.isEmpty())
            stamp(steps, QStringLiteral("host: ") + line.left(160), clock);
    }
}

Sample Bench::clickToFrame(const Module &module)
{
    Sample sample;
    const QString program = m_layout->window()->getApplicationExec(DashboardGlobal::ApplicationType(module.appType));
    // The pointer rests on the button before the clock starts: only the click is timed.
    // xdotool's --sync waits for the pointer to move: not asked when it rests there already.
    if (m_display->pointer() != m_hostRect.topLeft() + module.button
        && !runTool(QStringLiteral("xdotool"),
                 { QStringLiteral("mousemove"), QStringLiteral("--window"), QString::number(m_hostWindow),
                   QStringLiteral("--sync"), QString::number(module.button.x()),
                   QString::number(module.button.y()) })) {
        std::fprintf(stderr, "xdotool could not move the pointer\n");
        return sample;
    }
    // What the host said before the click is not part of it.
    QCoreApplication::processEvents();
    m_host->readAllStandardError();
    m_hostLog.clear();

    FrameRecord frames(screen());
    QElapsedTimer clock;
    clock.start();
    QProcess click;
    click.start(QStringLiteral("xdotool"), { QStringLiteral("click"), QStringLiteral("1") });
    qint64 pid = 0;
    int logLines = 0;
    bool clicked = false;
    xcb_window_t window = XCB_NONE;
    bool inside = false;
    while (clock.elapsed() < FRAME_TIMEOUT_MS && m_host->state() == QProcess::Running) {
        if (!clicked && click.state() == QProcess::NotRunning) {
            clicked = true;
            stamp(&sample.steps, QStringLiteral("xdotool has clicked"), clock);
        }
        readHostLog(&sample.steps, clock);
        if (!pid) {
            for (const qint64 child : childrenOf(m_hostPid)) {
                if (programName(child) == program) {
                    pid = child;
                    stamp(&sample.steps, QStringLiteral("module process %1 runs").arg(pid), clock);
                }
            }
        }
        if (pid) {
            const QStringList log = moduleLog(m_rowScratch, pid);
            for (; logLines < log.size(); ++logLines)
                stamp(&sample.steps, QStringLiteral("module: ") + log.at(logLines), clock);
        }
        // Where the time of the look is taken: the X server answers for that moment.
        const double at = clock.nsecsElapsed() / 1e6;
        if (window == XCB_NONE || !m_display->exists(window))
            window = m_display->findForeignWindow(m_hostWindow, m_hostPid, nullptr);
        if (window != XCB_NONE) {
            const bool nowInside = m_display->isInside(window, m_hostWindow) && m_display->viewable(window);
            if (nowInside && !inside)
                stamp(&sample.steps, QStringLiteral("module window %1 viewable inside the dashboard").arg(window), clock);
            inside = nowInside;
            if (!inside) {
                frames.clear();
            } else if (frames.look(*m_display, window, at, moduleLog(m_rowScratch, pid))) {
                sample.ms = frames.firstShown();
                sample.steps.append({ QStringLiteral("its picture was first on the screen"), sample.ms });
                stamp(&sample.steps, QStringLiteral("the same picture seen again"), clock);
                break;
            }
        }
        QThread::usleep(POLL_US);
    }
    // The click has long reached the dashboard (the module it started ran); under openbox
    // xdotool may linger after it for many seconds, which is none of the module's time.
    if (!click.waitForFinished(sample.ms >= 0 ? 0 : TOOL_TIMEOUT_MS)) {
        click.kill();
        click.waitForFinished(TOOL_TIMEOUT_MS);
    }
    if (sample.ms < 0) {
        stamp(&sample.steps, QStringLiteral("no frame inside the dashboard"), clock);
        if (pid) {
            for (const QString &line : moduleLog(m_rowScratch, pid))
                stamp(&sample.steps, QStringLiteral("module log: ") + line, clock);
        }
    }
    if (pid && !closeModule(pid, window))
        std::fprintf(stderr, "the dashboard did not let go of the module's window\n");
    return sample;
}

// The module is asked to close, as its window manager would ask it (WM_DELETE_WINDOW), and the
// dashboard gives its place back, so that the next click starts it anew instead of showing the
// one that runs. Killed instead, it would leave the dashboard's notice of a module that
// stopped unexpectedly over the page, and change what the next click's module covers.
bool Bench::closeModule(qint64 pid, xcb_window_t window)
{
    const xcb_window_t container = window ? m_display->parentOf(window) : XCB_NONE;
    if (!window || !m_display->closeWindow(window, false)
        || !QTest::qWaitFor([&] { return processGone(pid); }, FRAME_TIMEOUT_MS))
        ::kill(pid_t(pid), SIGKILL);
    return QTest::qWaitFor([&] {
        return processGone(pid) && (!window || !m_display->exists(window))
                && (!container || container == m_hostWindow || !m_display->exists(container))
                && m_display->findForeignWindow(m_hostWindow, m_hostPid, nullptr) == XCB_NONE;
    }, FRAME_TIMEOUT_MS);
}

Sample Bench::peerStartToFrame(const Module &module)
{
    Sample sample;
    const QString program = QFileInfo(QStringLiteral(KORVEX_BENCH_HOST_PROGRAM)).dir().filePath(
            m_layout->window()->getApplicationExec(DashboardGlobal::ApplicationType(module.appType)));
    QProcess peer;
    peer.setProcessEnvironment(m_hostEnvironment);
    peer.setWorkingDirectory(m_home->path());
    peer.setStandardOutputFile(QProcess::nullDevice());
    peer.setStandardErrorFile(QProcess::nullDevice());
    FrameRecord frames(screen());
    QElapsedTimer clock;
    clock.start();
    peer.start(program, {});
    if (!peer.waitForStarted(FRAME_TIMEOUT_MS))
        return sample;
    const qint64 pid = peer.processId();
    xcb_window_t window = XCB_NONE;
    while (clock.elapsed() < FRAME_TIMEOUT_MS && peer.state() == QProcess::Running) {
        const double at = clock.nsecsElapsed() / 1e6;
        if (window == XCB_NONE || !m_display->exists(window)) {
            window = m_display->findWindowOf(pid, m_display->root(), QSize(100, 100));
            frames.clear();
        }
        if (window != XCB_NONE && m_display->viewable(window)
            && frames.look(*m_display, window, at, moduleLog(m_rowScratch, pid))) {
            sample.ms = frames.firstShown();
            break;
        }
        QThread::usleep(POLL_US);
    }
    // Closed as its window manager would close it, so that it ends as a user's module ends.
    if (!window || !m_display->closeWindow(window, false) || !peer.waitForFinished(FRAME_TIMEOUT_MS)) {
        peer.kill();
        peer.waitForFinished(TOOL_TIMEOUT_MS);
    }
    if (!QTest::qWaitFor([&] { return window == XCB_NONE || !m_display->exists(window); }, FRAME_TIMEOUT_MS))
        std::fprintf(stderr, "the peer's window stayed after it ended\n");
    return sample;
}

bool Bench::runRow(const WindowManager &manager, int runs, QList<Sample> *clicks, QList<Sample> *peers)
{
    const QString row = QString::fromLatin1(manager.name);
    QTemporaryDir managerHome;
    QString error;
    std::unique_ptr<QProcess> wm = startWindowManager(manager, m_environment, managerHome.path(),
                                                      m_scratch.filePath(row + QStringLiteral(".wm.log")),
                                                      *m_display, FRAME_TIMEOUT_MS, &error);
    bool ok = error.isEmpty();
    if (!ok)
        std::fprintf(stderr, "%s: %s\n", qPrintable(row), qPrintable(error));
    if (ok && !startHost(row)) {
        std::fprintf(stderr, "%s: the dashboard did not start\n", qPrintable(row));
        ok = false;
    }
    QList<Module> modules;
    if (ok) {
        modules = modulesOfTheBar(*m_layout);
        if (modules.isEmpty()) {
            std::fprintf(stderr, "%s: the navigation bar has no module buttons\n", qPrintable(row));
            ok = false;
        }
    }
    if (ok) {
        const Module &module = modules.first();
        out() << "\n" << row << ": " << module.name << " ("
              << m_layout->window()->getApplicationExec(DashboardGlobal::ApplicationType(module.appType))
              << "), button at " << module.button.x() << "," << module.button.y() << "\n";
        out().flush();
        // Alternated, so that a busy machine slows both alike.
        for (int i = 0; i < runs && ok; ++i) {
            const Sample click = clickToFrame(module);
            out() << "  click " << i + 1 << ": "
                  << (click.ms < 0 ? QStringLiteral("no frame") : QString::number(click.ms, 'f', 1) + QStringLiteral(" ms"))
                  << "\n";
            for (const Step &step : click.steps)
                out() << "      " << QString::number(step.ms, 'f', 1).rightJustified(8) << " ms  " << step.what << "\n";
            out().flush();
            clicks->append(click);
            const Sample peer = peerStartToFrame(module);
            out() << "  peer  " << i + 1 << ": "
                  << (peer.ms < 0 ? QStringLiteral("no frame") : QString::number(peer.ms, 'f', 1) + QStringLiteral(" ms"))
                  << "\n";
            out().flush();
            peers->append(peer);
            ok = click.ms >= 0 && peer.ms >= 0;
        }
    }
    stopHost();
    if (!stopWindowManager(&wm, *m_display, FRAME_TIMEOUT_MS)) {
        std::fprintf(stderr, "%s: the window manager still holds the display\n", qPrintable(row));
        ok = false;
    }
    return ok;
}

struct Figures
{
    double median = 0, min = 0, max = 0;
};

Figures figures(const QList<Sample> &samples)
{
    QList<double> ms;
    for (const Sample &s : samples)
        ms << s.ms;
    std::sort(ms.begin(), ms.end());
    return { ms.at(ms.size() / 2), ms.first(), ms.last() };
}

QString line(const QString &what, const QList<Sample> &samples)
{
    const Figures f = figures(samples);
    return QStringLiteral("  %1 median %2 ms  (min %3, max %4, %5 runs)\n")
            .arg(what, -44).arg(f.median, 8, 'f', 1).arg(f.min, 0, 'f', 1).arg(f.max, 0, 'f', 1)
            .arg(samples.size());
}

} // namespace

int main(int argc, char **argv)
{
    for (const char *tool : { "xdotool", "openbox" }) {
        if (QStandardPaths::findExecutable(QString::fromLatin1(tool)).isEmpty()) {
            std::printf("SKIP: %s is not installed (Debian package %s)\n", tool, tool);
            return 77;
        }
    }
    if (qEnvironmentVariableIsEmpty("DISPLAY")) {
        std::printf("SKIP: no X display; run this benchmark through tests/run_with_xvfb\n");
        return 77;
    }
    // The programs measured get the environment as it was; this program's own Qt (its copy of
    // the front end) runs offscreen, never on the display it measures.
    const QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    qputenv("QT_QPA_PLATFORM", "offscreen");
    qputenv("QT_QUICK_BACKEND", "software");
    QGuiApplication app(argc, argv);
    XServer display;
    if (!display.isValid()) {
        std::printf("SKIP: no X server to connect to\n");
        return 77;
    }
    const int runs = qEnvironmentVariableIsSet("KORVEX_BENCH_RUNS")
            ? qMax(1, qEnvironmentVariableIntValue("KORVEX_BENCH_RUNS"))
            : DEFAULT_RUNS;

    Bench bench(environment, &display);
    if (!bench.prepare())
        return 1;
    struct Row
    {
        QString name;
        QList<Sample> clicks, peers;
        bool ok;
    };
    QList<Row> rows;
    for (const WindowManager &manager : windowManagers()) {
        if (qstrcmp(manager.name, "none") != 0 && qstrcmp(manager.name, "openbox") != 0)
            continue;
        Row row{ QString::fromLatin1(manager.name), {}, {}, false };
        row.ok = bench.runRow(manager, runs, &row.clicks, &row.peers);
        rows << row;
    }

    bool ok = true;
    out() << "\nmodule button click to the module's first frame inside the dashboard, beside the\n"
          << "same module program started on its own to its first frame (the peer), same run:\n";
    for (const Row &row : rows) {
        ok = ok && row.ok;
        if (!row.ok || row.clicks.isEmpty()) {
            out() << "  " << row.name << ": did not complete\n";
            continue;
        }
        out() << line(QStringLiteral("window manager %1, click to frame").arg(row.name), row.clicks)
              << line(QStringLiteral("window manager %1, peer start to frame").arg(row.name), row.peers)
              << QStringLiteral("  %1 ratio %2\n").arg(QString(), -44)
                         .arg(figures(row.clicks).median / figures(row.peers).median, 8, 'f', 2);
    }
    out().flush();
    return ok ? 0 : 1;
}
