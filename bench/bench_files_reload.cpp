// Reloading My Labels on a folder of 20,000 labels: the time the GUI thread is held. The peer
// is the whole re-read on the GUI thread (listing, file details and lists), as a list without
// a worker does it; ours is what is left on the GUI thread once the folder is read and its
// records built on a worker: taking the lists, sorting them and updating the rows of a list
// that shows them.
#include "Controllers/my_labels_controller.h"
#include "file_list_model.h"

#include "bench_files_common.h"

#include <QDir>
#include <QFile>

using namespace BenchFiles;

namespace {

constexpr int LABELS = 20000;

struct Folder
{
    QTemporaryDir dir;
    QString labels;
};

Folder &folder()
{
    static std::unique_ptr<Folder> f;
    if (!f) {
        f = std::make_unique<Folder>();
        f->labels = f->dir.filePath(QStringLiteral("labels"));
        QDir().mkpath(f->labels);
        for (int i = 0; i < LABELS; ++i)
            QFile(f->labels + QStringLiteral("/label %1.kxld").arg(i, 5, 10, QLatin1Char('0'))).open(QIODevice::WriteOnly);
        // No view histories: the stores are read from an empty folder.
        QSettings::setPath(QSettings::IniFormat, QSettings::UserScope, f->dir.filePath(QStringLiteral("config")));
    }
    return *f;
}

void BM_ReloadAllOnGuiThread(benchmark::State &state)
{
    MyLabelsController controller;
    controller.setRootFolder(folder().labels);
    for (auto _ : state)
        controller.updateFileLists();
    state.SetLabel(std::to_string(controller.getSearchedLabelFilesList().size()) + " labels");
}
BENCHMARK(BM_ReloadAllOnGuiThread)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_ReloadGuiThreadPart(benchmark::State &state)
{
    MyLabelsController controller;
    controller.setRootFolder(folder().labels);
    FileListModel model;
    model.setController(&controller);
    QObject::connect(&controller, &DashboardCommonFileController::listSorted, &model, &FileListModel::refresh);
    controller.updateFileLists();
    for (auto _ : state) {
        state.PauseTiming();
        const auto listing = MyLabelsController::readFolder(folder().labels, controller.clock());
        state.ResumeTiming();
        controller.updateFileLists(listing);
    }
    state.SetLabel(std::to_string(model.rowCount()) + " rows");
}
BENCHMARK(BM_ReloadGuiThreadPart)->Unit(benchmark::kMillisecond)->UseRealTime();

// For reference: the part the worker does.
void BM_ReadFolderOnWorker(benchmark::State &state)
{
    const DashboardCommonFileController::Clock clock = MyLabelsController().clock();
    for (auto _ : state)
        benchmark::DoNotOptimize(MyLabelsController::readFolder(folder().labels, clock));
}
BENCHMARK(BM_ReadFolderOnWorker)->Unit(benchmark::kMillisecond)->UseRealTime();

} // namespace

int main(int argc, char **argv)
{
    return runBenchmarks(argc, argv, { { "BM_ReloadGuiThreadPart/real_time", "BM_ReloadAllOnGuiThread/real_time", 0.2 } });
}
