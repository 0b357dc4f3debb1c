// Start of the dashboard host to its first frame, beside an empty Qt Quick window measured in
// the same run, and the resident memory of both once the frame is out. Each start is a fresh
// process (this program again, in the role named by its first argument); the parent times
// it from the start of the process to the child's report of its first frame. The host's
// first frame is its shell; the time to the first frame of the whole front end (the Home
// page drawn with its labels listed) is printed beside it. A second peer, an empty QML Window loaded by a
// QQmlApplicationEngine, shows what a QML engine costs before any of the dashboard's own work.
// The host's time to its front end is split into the host's own phases: making the engine,
// loading the front end's types, making its objects, and drawing them.
// A third peer, Home's first screen in its barest form (bare_home.qml: plain Qt Quick items,
// fixed texts), shows what drawing that screen costs at the least, whatever the front end.

#include "dashboard_host.h"

#include <dashboard_main_window.h>

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QGuiApplication>
#include <QProcess>
#include <QQmlApplicationEngine>
#include <QQuickItem>
#include <QQuickWindow>
#include <QTemporaryDir>
#include <QTextStream>

#include <algorithm>
#include <atomic>
#include <cstdio>

namespace {

constexpr int RUNS = 7;

long residentKiB()
{
    QFile status(QStringLiteral("/proc/self/status"));
    if (!status.open(QIODevice::ReadOnly))
        return -1;
    for (const QByteArray &line : status.readAll().split('\n')) {
        if (line.startsWith("VmRSS:"))
            return line.mid(6).trimmed().split(' ').first().toLong();
    }
    return -1;
}

enum class Role { Host, EmptyWindow, QmlWindow, BareHome };

// The front end is in and Home's shown list is filled (no busy indicator over it).
bool homeListed(DashboardHost *dashboard)
{
    if (!dashboard->isReady())
        return false;
    const auto *home = dashboard->rootItem()->property("homePage").value<QObject *>();
    const auto *list = home ? home->property("currentList").value<QObject *>() : nullptr;
    return list && !list->property("busy").toBool();
}

// The child: show the window, and report the resident memory after its first frame.
int child(int argc, char *argv[], Role role)
{
    QGuiApplication app(argc, argv);
    std::unique_ptr<DashboardHost> dashboard;
    std::unique_ptr<QQuickWindow> empty;
    std::unique_ptr<QQmlApplicationEngine> engine;
    QQuickWindow *window = nullptr;
    if (role == Role::Host) {
        dashboard = std::make_unique<DashboardHost>();
        DashboardHost::Options options;
        options.labelFolder = QString::fromLocal8Bit(qgetenv("KORVEX_BENCH_LABELS"));
        if (!dashboard->start(options))
            return 2;
        window = dashboard->window();
    } else if (role == Role::QmlWindow || role == Role::BareHome) {
        engine = std::make_unique<QQmlApplicationEngine>();
        if (role == Role::BareHome)
            engine->load(QStringLiteral(KORVEX_BARE_HOME));
        else
            engine->loadData("import QtQuick\nWindow { width: 1024; height: 600; visible: true }");
        window = engine->rootObjects().isEmpty()
                ? nullptr : qobject_cast<QQuickWindow *>(engine->rootObjects().constFirst());
        if (!window)
            return 2;
    } else {
        empty = std::make_unique<QQuickWindow>();
        empty->resize(1024, 600);
        (new QQuickItem(empty->contentItem()))->setSize(QSizeF(1024, 600));
        empty->show();
        window = empty.get();
    }
    // Every role reports its first frame; the host also its first frame of the whole front end
    // with Home's shown list filled. What a frame shows is decided when its scene is
    // synchronised: frames may swap on the render thread, and a shell frame's swap can be
    // reported after the front end is made.
    std::atomic<bool> syncedComplete = false;
    QObject::connect(window, &QQuickWindow::beforeSynchronizing, window, [&] {
        // The GUI thread waits while the scene is synchronised.
        syncedComplete = !dashboard || homeListed(dashboard.get());
    }, Qt::DirectConnection);
    bool first = true;
    // From the front end's objects made to its first frame out.
    QElapsedTimer sinceReady;
    if (dashboard)
        QObject::connect(dashboard.get(), &DashboardHost::ready, &app, [&] { sinceReady.start(); });
    QObject::connect(window, &QQuickWindow::frameSwapped, window, [&] {
        const bool complete = syncedComplete;
        QMetaObject::invokeMethod(&app, [&, complete] {
            if (first)
                std::printf("frame %ld\n", residentKiB());
            first = false;
            if (dashboard && complete) {
                const DashboardHost::FrontEndTimes times = dashboard->frontEndTimes();
                std::printf("phases %.3f %.3f %.3f %.3f\n", times.engine, times.types, times.objects,
                            sinceReady.nsecsElapsed() / 1e6);
                std::printf("complete %ld\n", residentKiB());
            }
            std::fflush(stdout);
            if (complete)
                QCoreApplication::exit(0);
        }, Qt::QueuedConnection);
    }, Qt::DirectConnection);
    if (dashboard)
        QObject::connect(dashboard.get(), &DashboardHost::failed, &app, [] { QCoreApplication::exit(2); });
    return app.exec();
}

struct Run
{
    double ms;
    long kib;
    // The host's whole front end: its first frame, and the memory then.
    double completeMs = 0;
    long completeKiB = -1;
    // Where the host's front end took its time: engine, types, objects, first frame.
    double phases[4] = { -1, -1, -1, -1 };
};

// The number after the first "<word> " line of the output, or -1.
long reportedKiB(const QByteArray &out, const QByteArray &word)
{
    const int at = out.indexOf(word + ' ');
    return at < 0 ? -1 : out.mid(at + word.size() + 1).trimmed().split('\n').first().toLong();
}

bool measure(const QString &role, Run *run)
{
    QProcess process;
    process.setProgram(QCoreApplication::applicationFilePath());
    process.setArguments({ role });
    QElapsedTimer timer;
    timer.start();
    process.start();
    // The clock stops at the report, not at the exit: tearing down is not part of starting.
    QByteArray out;
    const auto reported = [&out](const QByteArray &word) {
        const int at = out.indexOf(word + ' ');
        return at >= 0 && out.indexOf('\n', at) >= 0;
    };
    while (!reported("frame") && process.waitForReadyRead(60000))
        out += process.readAllStandardOutput();
    run->ms = timer.nsecsElapsed() / 1e6;
    if (role == QLatin1String("--host")) {
        while (!reported("complete") && process.waitForReadyRead(60000))
            out += process.readAllStandardOutput();
        run->completeMs = timer.nsecsElapsed() / 1e6;
    }
    if (!process.waitForFinished(60000) || process.exitCode() != 0)
        return false;
    out += process.readAllStandardOutput();
    run->kib = reportedKiB(out, "frame");
    run->completeKiB = reportedKiB(out, "complete");
    const int at = out.indexOf("phases ");
    if (at >= 0) {
        const QList<QByteArray> fields = out.mid(at + 7).split('\n').first().split(' ');
        for (int i = 0; i < 4 && i < fields.size(); ++i)
            run->phases[i] = fields.at(i).toDouble();
    }
    return run->kib >= 0
            && (role != QLatin1String("--host") || (run->completeKiB >= 0 && run->phases[3] >= 0));
}

double median(QList<double> values)
{
    std::sort(values.begin(), values.end());
    return values.at(values.size() / 2);
}

} // namespace

int main(int argc, char *argv[])
{
    if (argc > 1 && qstrcmp(argv[1], "--host") == 0)
        return child(argc, argv, Role::Host);
    if (argc > 1 && qstrcmp(argv[1], "--empty") == 0)
        return child(argc, argv, Role::EmptyWindow);
    if (argc > 1 && qstrcmp(argv[1], "--qml-window") == 0)
        return child(argc, argv, Role::QmlWindow);
    if (argc > 1 && qstrcmp(argv[1], "--bare-home") == 0)
        return child(argc, argv, Role::BareHome);

    QCoreApplication app(argc, argv);
    QTemporaryDir home;
    qputenv("HOME", home.path().toLocal8Bit());
    qputenv("XDG_RUNTIME_DIR", home.path().toLocal8Bit());
    qputenv("KORVEX_BENCH_LABELS", (home.path() + QStringLiteral("/labels")).toLocal8Bit());
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");

    QList<double> hostMs, emptyMs, hostKiB, emptyKiB, qmlMs, qmlKiB, bareMs, bareKiB, completeMs, completeKiB;
    QList<double> phases[4];
    // Alternate them, so a busy machine slows all alike; the first host run seeds the folder.
    for (int i = 0; i < RUNS; ++i) {
        Run run;
        if (!measure(QStringLiteral("--qml-window"), &run)) {
            std::fprintf(stderr, "empty QML window did not start\n");
            return 1;
        }
        qmlMs.append(run.ms);
        qmlKiB.append(run.kib);
        if (!measure(QStringLiteral("--bare-home"), &run)) {
            std::fprintf(stderr, "bare Home page did not start\n");
            return 1;
        }
        bareMs.append(run.ms);
        bareKiB.append(run.kib);
        if (!measure(QStringLiteral("--empty"), &run)) {
            std::fprintf(stderr, "empty Qt Quick window did not start\n");
            return 1;
        }
        emptyMs.append(run.ms);
        emptyKiB.append(run.kib);
        if (!measure(QStringLiteral("--host"), &run)) {
            std::fprintf(stderr, "dashboard host did not start\n");
            return 1;
        }
        hostMs.append(run.ms);
        hostKiB.append(run.kib);
        completeMs.append(run.completeMs);
        completeKiB.append(run.completeKiB);
        for (int p = 0; p < 4; ++p)
            phases[p].append(run.phases[p]);
    }
    const double ratio = median(hostMs) / median(emptyMs);
    QTextStream out(stdout);
    out << "start to first frame, median of " << RUNS << " (" << qgetenv("QT_QPA_PLATFORM") << "):\n"
        << "  empty Qt Quick window  " << median(emptyMs) << " ms\n"
        << "  dashboard host         " << median(hostMs) << " ms (its shell)\n"
        << "  ratio                  " << ratio << " (target 1.5)\n"
        << "  dashboard host, Home page drawn  " << median(completeMs) << " ms (ratio "
        << median(completeMs) / median(emptyMs) << ")\n"
        << "  of which the front end's  engine " << median(phases[0]) << " ms, types "
        << median(phases[1]) << " ms, objects " << median(phases[2]) << " ms, first frame "
        << median(phases[3]) << " ms\n"
        << "resident memory after the first frame:\n"
        << "  empty Qt Quick window  " << median(emptyKiB) / 1024.0 << " MiB\n"
        << "  dashboard host         " << median(hostKiB) / 1024.0 << " MiB\n"
        << "  dashboard host, Home page drawn  " << median(completeKiB) / 1024.0 << " MiB\n"
        << "second peer, an empty QML Window through QQmlApplicationEngine, same run:\n"
        << "  start to first frame   " << median(qmlMs) << " ms (host ratio "
        << median(hostMs) / median(qmlMs) << ")\n"
        << "  resident memory        " << median(qmlKiB) / 1024.0 << " MiB\n"
        << "Home page drawn with its labels listed, against the empty QML Window (target 1.3 each):\n"
        << "  time                   " << median(completeMs) / median(qmlMs) << '\n'
        << "  resident memory        " << median(completeKiB) / median(qmlKiB) << '\n'
        << "third peer, Home's first screen in plain Qt Quick items (bare_home.qml), same run:\n"
        << "  start to first frame   " << median(bareMs) << " ms (ratio to the empty QML Window "
        << median(bareMs) / median(qmlMs) << ")\n"
        << "  resident memory        " << median(bareKiB) / 1024.0 << " MiB (ratio "
        << median(bareKiB) / median(qmlKiB) << ")\n";
    return 0;
}
