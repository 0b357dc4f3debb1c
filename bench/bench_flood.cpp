// The dashboard's frames while modules flood it with reports (run under an X server:
// scripts/bench uses tests/run_with_xvfb). The dashboard window animates a rectangle from a
// 16 ms timer, as a running animation does; the figures are the intervals between the frames
// it actually shows (QQuickWindow::frameSwapped), and between the timer's actual ticks, in
// three conditions measured in one run:
//  - idle, the peer every other figure is compared with;
//  - one module process sending 2 MiB reports back to back;
//  - eight module processes each sending 10,000 small reports at once.
// Target: p99 frame interval within 33 ms (two frames at 60 Hz) while any module floods.
// Eight modules' flood is over in well under a second, some 40 frames: alone, its p99 would be
// its single worst frame. It is run in rounds, and the figures are those of all rounds' frames,
// with each round's worst beside them.
// Beside the worst frame interval stand the time the GUI thread ran in it and the time it was
// ready to run but waited for a CPU (the kernel's schedstat); the rest it waited, for events or
// in calls (the X server's answers), told apart with Qt's own event dispatcher (QT_NO_GLIB=1).
// A bystander, this program again in a process of its own, animates a window of its own the
// same way and takes no part in the messages: its frames in the same conditions are what the
// machine (the CPUs and the X server the modules keep busy) leaves any window.
#include "Controllers/qvipchelper_win32.h"
#include "dashboard_main_window.h"
#include "native_window_system.h"

#include <QAbstractEventDispatcher>
#include <QElapsedTimer>
#include <QGuiApplication>
#include <QProcess>
#include <QQmlComponent>
#include <QQmlEngine>
#include <QQuickItem>
#include <QQuickWindow>
#include <QSocketNotifier>
#include <QStandardPaths>
#include <QTimer>

#include <algorithm>
#include <cstdio>
#include <fcntl.h>
#include <sys/syscall.h>
#include <unistd.h>
#include <memory>
#include <utility>
#include <vector>

namespace {

constexpr int FRAME_MS = 16;
constexpr int IDLE_MS = 3000;
constexpr int BIG_REPORTS = 1000;      // 2000 MiB in all
constexpr int SMALL_MODULES = 8;
constexpr int SMALL_REPORTS = 10000;   // per module
constexpr int SMALL_ROUNDS = 5;
constexpr int FLOOD_TIMEOUT_MS = 60000;

struct Figures
{
    int frames = 0; // intervals, in fact: frames shown + 1
    double median = 0;
    double p99 = 0;
    double worst = 0;
    // During the worst interval: how long the GUI thread ran, and how long it was ready to run
    // but had no CPU.
    double worstRan = 0;
    double worstQueued = 0;
    double worstIdle = 0;
};

// The GUI thread's time on a CPU and waiting for one, in ns, since it started.
struct Schedule
{
    qint64 ran = 0;
    qint64 queued = 0;
    // Waiting for events in the event loop; the rest of its waits were in calls (the X server's
    // answers).
    qint64 idle = 0;
};

// One interval between frames (or timer ticks), and the GUI thread's schedule in it.
struct Interval
{
    qint64 ns = 0;
    Schedule spent;
};

Figures figures(std::vector<Interval> intervals)
{
    Figures f;
    f.frames = int(intervals.size());
    if (intervals.empty())
        return f;
    std::sort(intervals.begin(), intervals.end(),
              [](const Interval &a, const Interval &b) { return a.ns < b.ns; });
    f.median = intervals[intervals.size() / 2].ns / 1e6;
    f.p99 = intervals[std::min(intervals.size() - 1, intervals.size() * 99 / 100)].ns / 1e6;
    f.worst = intervals.back().ns / 1e6;
    f.worstRan = intervals.back().spent.ran / 1e6;
    f.worstQueued = intervals.back().spent.queued / 1e6;
    f.worstIdle = intervals.back().spent.idle / 1e6;
    return f;
}

// Timestamps of frames and timer ticks, kept while recording is on, and the GUI thread's
// schedule at each frame.
struct Recorder
{
    QElapsedTimer clock;
    int schedstat = -1; // the GUI thread's /proc/<pid>/task/<tid>/schedstat
    bool on = false;
    // The GUI thread's time waiting in the event loop, and when its current wait began. Only
    // Qt's own event dispatcher (QT_NO_GLIB=1) tells exactly when it waits: GLib's also counts
    // the work it dispatches after the wait (X events, socket notifiers).
    bool idleMeasured = false;
    qint64 idle = 0;
    qint64 idleSince = -1;
    std::vector<qint64> frames;
    std::vector<Schedule> framesAt;
    std::vector<qint64> ticks;
    // Where the recording began.
    qint64 started = 0;
    Schedule startedAt;

    Schedule schedule() const
    {
        char text[96] = {};
        Schedule now;
        if (schedstat >= 0 && ::pread(schedstat, text, sizeof text - 1, 0) > 0)
            std::sscanf(text, "%lld %lld", &now.ran, &now.queued);
        now.idle = idle;
        return now;
    }
    void start()
    {
        started = clock.nsecsElapsed();
        startedAt = schedule();
        frames.clear();
        framesAt.clear();
        ticks.clear();
        on = true;
    }
    // Stops recording. The start and end count as frames: a flood that stops every frame shows
    // as one interval as long as the flood, not as no interval at all.
    void stop()
    {
        on = false;
        const qint64 end = clock.nsecsElapsed();
        for (std::vector<qint64> *at : { &frames, &ticks }) {
            at->insert(at->begin(), started);
            at->push_back(end);
        }
        framesAt.insert(framesAt.begin(), startedAt);
        framesAt.push_back(schedule());
    }
    static std::vector<Interval> intervals(const std::vector<qint64> &at,
                                           const std::vector<Schedule> &schedules = {})
    {
        std::vector<Interval> out;
        for (std::size_t i = 1; i < at.size(); ++i) {
            Interval interval;
            interval.ns = at[i] - at[i - 1];
            if (schedules.size() == at.size()) {
                interval.spent.ran = schedules[i].ran - schedules[i - 1].ran;
                interval.spent.queued = schedules[i].queued - schedules[i - 1].queued;
                interval.spent.idle = schedules[i].idle - schedules[i - 1].idle;
            }
            out.push_back(interval);
        }
        return out;
    }
};

// Waits in the event loop as the dashboard does. processEvents() with a time limit never waits
// for events: this thread would spin, taking a CPU from the modules and the X server, and its
// own frames would be scheduled as a busy thread's.
void waitUntil(const std::function<bool()> &done, int timeoutMs)
{
    QElapsedTimer limit;
    limit.start();
    QTimer wake;
    wake.start(50);
    while (!done() && limit.elapsed() < timeoutMs)
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
}

// A window animated as a running animation does: a square turned from a 16 ms timer. Its
// frames, the GUI thread's schedule at each, and the timer's ticks are recorded while the
// recorder is on.
struct Animation
{
    QQmlEngine engine;
    std::unique_ptr<QQuickItem> square;
    QTimer timer;
    Recorder rec;
    qreal angle = 0;
    int shown = 0;

    // Shows the window and waits for it to show frames.
    bool start(QQuickWindow *window)
    {
        QQmlComponent component(&engine);
        component.setData("import QtQuick\nRectangle { x: 270; y: 190; width: 100; height: 100; color: \"teal\" }",
                          QUrl());
        square.reset(qobject_cast<QQuickItem *>(component.create()));
        if (!square) {
            std::fprintf(stderr, "cannot create the animated item: %s\n", qPrintable(component.errorString()));
            return false;
        }
        square->setParentItem(window->contentItem());
        rec.clock.start();
        // Frames may be swapped on a render thread: the GUI thread is read by its id.
        rec.schedstat = ::open(QByteArray("/proc/self/task/" + QByteArray::number(qint64(::syscall(SYS_gettid)))
                                          + "/schedstat").constData(), O_RDONLY | O_CLOEXEC);
        QAbstractEventDispatcher *dispatcher = QAbstractEventDispatcher::instance();
        rec.idleMeasured = !dispatcher->inherits("QEventDispatcherGlib");
        if (rec.idleMeasured) {
            QObject::connect(dispatcher, &QAbstractEventDispatcher::aboutToBlock, window,
                             [this] { rec.idleSince = rec.clock.nsecsElapsed(); }, Qt::DirectConnection);
            QObject::connect(dispatcher, &QAbstractEventDispatcher::awake, window, [this] {
                if (rec.idleSince >= 0)
                    rec.idle += rec.clock.nsecsElapsed() - std::exchange(rec.idleSince, -1);
            }, Qt::DirectConnection);
        }
        QObject::connect(window, &QQuickWindow::frameSwapped, window, [this] {
            ++shown;
            if (rec.on) {
                rec.frames.push_back(rec.clock.nsecsElapsed());
                rec.framesAt.push_back(rec.schedule());
            }
        }, Qt::DirectConnection);
        timer.setTimerType(Qt::PreciseTimer);
        timer.setInterval(FRAME_MS);
        QObject::connect(&timer, &QTimer::timeout, window, [this] {
            if (rec.on)
                rec.ticks.push_back(rec.clock.nsecsElapsed());
            angle += 6;
            square->setRotation(angle);
        });
        window->show();
        timer.start();
        waitUntil([this] { return shown >= 30; }, 30000);
        if (shown < 30)
            std::fprintf(stderr, "the window shows no frames\n");
        return shown >= 30;
    }
};

struct Condition
{
    explicit Condition(const char *what) : name(what) { }
    const char *name;
    // Every round's intervals, and each round's worst frame interval in ms.
    std::vector<Interval> frameIntervals;
    std::vector<Interval> tickIntervals;
    std::vector<double> roundWorst;
    std::vector<Interval> bystanderIntervals;
    Figures frames;
    Figures ticks;
    Figures bystander;
    double seconds = 0;
    bool complete = true;
    int accepted = 0;
};

// The reports the modules' backends accepted, from their "sent <n>" lines. Waits in the event
// loop: a module that quits waits for the dashboard to confirm its last payloads, and a
// dashboard blocked here would hold their receipts back.
int acceptedBy(std::vector<std::unique_ptr<QProcess>> &children)
{
    int accepted = 0;
    for (auto &child : children) {
        waitUntil([&] { return child->state() == QProcess::NotRunning; }, 30000);
        const QList<QByteArray> lines = child->readAllStandardOutput().split('\n');
        for (const QByteArray &line : lines) {
            if (line.startsWith("sent "))
                accepted += line.mid(5).trimmed().toInt();
        }
    }
    return accepted;
}

std::unique_ptr<QProcess> startModule(WId dashboard, const char *kind, int count)
{
    auto child = std::make_unique<QProcess>();
    child->setProcessChannelMode(QProcess::ForwardedErrorChannel);
    child->start(QStringLiteral(KORVEX_FLOOD_CHILD),
                 { QString::number(dashboard), QString::fromLatin1(kind), QString::number(count) });
    if (!child->waitForStarted(30000))
        return nullptr;
    return child;
}

bool allReady(std::vector<std::unique_ptr<QProcess>> &children)
{
    for (auto &child : children) {
        waitUntil([&] { return child->canReadLine(); }, 30000);
        if (child->readLine().trimmed() != "ready")
            return false;
    }
    return true;
}

void print(const Condition &c, const Condition &peer, bool idleMeasured)
{
    std::printf("%-34s %6d intervals  median %6.1f ms  p99 %6.1f ms  worst %7.1f ms | timer median "
                "%5.1f p99 %6.1f ms | %5.1f s%s\n",
                c.name, c.frames.frames, c.frames.median, c.frames.p99, c.frames.worst,
                c.ticks.median, c.ticks.p99, c.seconds, c.complete ? "" : "  (INCOMPLETE)");
    const double waited = std::max(0.0, c.frames.worst - c.frames.worstRan - c.frames.worstQueued);
    if (idleMeasured)
        std::printf("%-34s worst interval: the GUI thread ran %.1f ms, waited %.1f ms for a CPU, %.1f ms for "
                    "events and %.1f ms in calls (the X server)\n", "", c.frames.worstRan, c.frames.worstQueued,
                    std::min(waited, c.frames.worstIdle), std::max(0.0, waited - c.frames.worstIdle));
    else
        std::printf("%-34s worst interval: the GUI thread ran %.1f ms, waited %.1f ms for a CPU and %.1f ms "
                    "for events or in calls (QT_NO_GLIB=1 tells them apart)\n", "", c.frames.worstRan,
                    c.frames.worstQueued, waited);
    std::printf("%-34s another window, in a process of its own: median %.1f ms, p99 %.1f ms, worst %.1f ms\n",
                "", c.bystander.median, c.bystander.p99, c.bystander.worst);
    if (c.roundWorst.size() > 1) {
        std::printf("%-34s %zu rounds, worst interval of each:", "", c.roundWorst.size());
        for (double worst : c.roundWorst)
            std::printf(" %.1f", worst);
        std::printf(" ms\n");
    }
    if (&c != &peer)
        std::printf("%-34s p99 %.1fx idle; target p99 within 33 ms: %s\n", "", c.frames.p99 / peer.frames.p99,
                    c.frames.p99 <= 33.0 && c.complete ? "met" : "NOT met");
}

// The bystander: its own window animated, recording from "start" to "stop" on its input and
// then printing the frame intervals, in ns, on one "intervals" line.
int bystander(int argc, char **argv)
{
    QGuiApplication app(argc, argv);
    QQuickWindow window;
    window.setTitle(QStringLiteral("bystander"));
    window.setGeometry(700, 0, 640, 480);
    Animation animation;
    if (!animation.start(&window))
        return 1;
    std::printf("ready\n");
    std::fflush(stdout);
    Recorder &rec = animation.rec;
    QByteArray input;
    QSocketNotifier reader(STDIN_FILENO, QSocketNotifier::Read);
    QObject::connect(&reader, &QSocketNotifier::activated, &app, [&] {
        char chunk[256];
        const ssize_t got = ::read(STDIN_FILENO, chunk, sizeof chunk);
        if (got <= 0) {
            reader.setEnabled(false);
            QCoreApplication::quit();
            return;
        }
        input.append(chunk, got);
        for (int end = input.indexOf('\n'); end >= 0; end = input.indexOf('\n')) {
            const QByteArray line = input.left(end);
            input.remove(0, end + 1);
            if (line == "start") {
                rec.start();
            } else if (line == "stop") {
                rec.stop();
                std::printf("intervals");
                for (const Interval &interval : Recorder::intervals(rec.frames))
                    std::printf(" %lld", static_cast<long long>(interval.ns));
                std::printf("\n");
                std::fflush(stdout);
            }
        }
    });
    return app.exec();
}

} // namespace

int main(int argc, char **argv)
{
    if (argc > 1 && qstrcmp(argv[1], "--bystander") == 0)
        return bystander(argc, argv);
    // The printing library's stand-in, and settings out of the user's way.
    qputenv("KORVEX_REAL_PRINTERS", "0");
    if (qEnvironmentVariableIsEmpty("QT_QUICK_BACKEND"))
        qputenv("QT_QUICK_BACKEND", "software");
    QGuiApplication app(argc, argv);
    if (QGuiApplication::platformName() != u"xcb") {
        std::fprintf(stderr, "needs an X server: run under tests/run_with_xvfb\n");
        return 77;
    }
    QStandardPaths::setTestModeEnabled(true);

    DashboardMainWindow dashboard;
    dashboard.resize(640, 480);
    Animation animation;
    if (!animation.start(&dashboard))
        return 1;
    Recorder &rec = animation.rec;

    QProcess bystander;
    bystander.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    bystander.start(QCoreApplication::applicationFilePath(), { QStringLiteral("--bystander") });
    waitUntil([&] { return bystander.canReadLine(); }, 30000);
    if (bystander.readLine().trimmed() != "ready") {
        std::fprintf(stderr, "the bystander window shows no frames\n");
        return 1;
    }

    int clicked = 0;
    int focused = 0;
    QObject::connect(dashboard.messagingHelper(), &QVIPCHelper_win32::applicationClicked, &dashboard,
                     [&] { ++clicked; });
    QObject::connect(&dashboard, &DashboardMainWindow::applicationFocused, &dashboard,
                     [&] { ++focused; });

    auto measure = [&](Condition &c, const std::function<void()> &go,
                       const std::function<bool()> &done, int timeoutMs) {
        QElapsedTimer elapsed;
        rec.start();
        elapsed.start();
        bystander.write("start\n");
        go();
        waitUntil(done, timeoutMs);
        bystander.write("stop\n");
        c.complete = c.complete && done();
        c.seconds += elapsed.elapsed() / 1000.0;
        rec.stop();
        const std::vector<Interval> frames = Recorder::intervals(rec.frames, rec.framesAt);
        c.roundWorst.push_back(figures(frames).worst);
        c.frameIntervals.insert(c.frameIntervals.end(), frames.cbegin(), frames.cend());
        const std::vector<Interval> ticks = Recorder::intervals(rec.ticks);
        c.tickIntervals.insert(c.tickIntervals.end(), ticks.cbegin(), ticks.cend());
        c.frames = figures(c.frameIntervals);
        c.ticks = figures(c.tickIntervals);
        waitUntil([&] { return bystander.canReadLine(); }, 30000);
        const QList<QByteArray> fields = bystander.readLine().trimmed().split(' ');
        for (qsizetype i = 1; i < fields.size(); ++i)
            c.bystanderIntervals.push_back(Interval { fields.at(i).toLongLong(), {} });
        c.bystander = figures(c.bystanderIntervals);
    };

    Condition idle("idle (peer)");
    measure(idle, [] {}, [&] { return false; }, IDLE_MS);
    idle.complete = true;

    Condition big("1 module, 2 MiB reports");
    {
        std::vector<std::unique_ptr<QProcess>> children;
        children.push_back(startModule(dashboard.winId(), "big", BIG_REPORTS));
        if (!children.back() || !allReady(children))
            return 1;
        measure(big, [&] { children[0]->write("go\n"); },
                [&] { return clicked >= BIG_REPORTS; }, FLOOD_TIMEOUT_MS);
        big.accepted = acceptedBy(children);
    }

    Condition small("8 modules x 10,000 small reports");
    for (int round = 1; round <= SMALL_ROUNDS; ++round) {
        std::vector<std::unique_ptr<QProcess>> children;
        for (int i = 0; i < SMALL_MODULES; ++i) {
            children.push_back(startModule(dashboard.winId(), "small", SMALL_REPORTS));
            if (!children.back())
                return 1;
        }
        if (!allReady(children))
            return 1;
        measure(small, [&] {
            for (auto &child : children)
                child->write("go\n");
        }, [&] { return focused >= round * SMALL_MODULES * SMALL_REPORTS; }, FLOOD_TIMEOUT_MS);
        small.accepted += acceptedBy(children);
    }

    std::printf("Dashboard frames while modules flood it (frames: QQuickWindow::frameSwapped of the "
                "dashboard window, %s scene graph, animated from a %d ms timer; timer: that timer's "
                "actual intervals)\n",
                qgetenv("QT_QUICK_BACKEND").constData(), FRAME_MS);
    print(idle, idle, rec.idleMeasured);
    print(big, idle, rec.idleMeasured);
    std::printf("%-34s %d of %d reports arrived (%d accepted by the module's backend)\n", "", clicked,
                BIG_REPORTS, big.accepted);
    print(small, idle, rec.idleMeasured);
    std::printf("%-34s %d of %d reports arrived (%d accepted by the modules' backends)\n", "", focused,
                SMALL_ROUNDS * SMALL_MODULES * SMALL_REPORTS, small.accepted);
    bystander.closeWriteChannel();
    bystander.waitForFinished(30000);
    return big.complete && small.complete ? 0 : 1;
}
