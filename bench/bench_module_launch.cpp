// Launch to applicationReady of the demo module: the dashboard's launcher starts a module
// program, which shows its window, registers and reports ready over X11. Printed beside the
// peer: starting a program that ends at once, through QProcess, in the same run.
// Needs an X server (scripts/bench gives it an Xvfb) and the demo modules beside it.
#include "Controllers/launcher_controller.h"
#include "dashboard_main_window.h"

#include <QGuiApplication>
#include <QProcess>
#include <QSignalSpy>
#include <QTest>

#include <benchmark/benchmark.h>

#include <chrono>
#include <csignal>

#include <sys/types.h>

namespace {

DashboardMainWindow *dashboard()
{
    static DashboardMainWindow *window = [] {
        auto *w = new DashboardMainWindow;
        w->resize(800, 600);
        w->show();
        QTest::qWaitForWindowExposed(w);
        return w;
    }();
    return window;
}

void BM_LaunchToApplicationReady(benchmark::State &state)
{
    DashboardMainWindow *window = dashboard();
    for (auto _ : state) {
        QSignalSpy ready(window, &DashboardMainWindow::applicationReady);
        const auto start = std::chrono::steady_clock::now();
        window->launchApplication(DashboardGlobal::APP_NFPA);
        if (!ready.wait(60000)) {
            state.SkipWithError("the demo module did not report ready");
            return;
        }
        const auto end = std::chrono::steady_clock::now();
        state.SetIterationTime(std::chrono::duration<double>(end - start).count());
        ::kill(pid_t(ready.at(0).at(1).toInt()), SIGKILL);
        QSignalSpy closed(window->launcher(), &LauncherController::applicationClosed);
        closed.wait(10000);
    }
}
BENCHMARK(BM_LaunchToApplicationReady)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(10);

// The peer: a program that does nothing, started and waited for.
void BM_PeerStartProcess(benchmark::State &state)
{
    for (auto _ : state) {
        QProcess process;
        const auto start = std::chrono::steady_clock::now();
        process.start(QStringLiteral("/bin/true"), {});
        process.waitForFinished(10000);
        const auto end = std::chrono::steady_clock::now();
        state.SetIterationTime(std::chrono::duration<double>(end - start).count());
    }
}
BENCHMARK(BM_PeerStartProcess)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(10);

} // namespace

int main(int argc, char **argv)
{
    QGuiApplication app(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
