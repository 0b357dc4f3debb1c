// File classification by the launcher, against a bare QFileInfo suffix look-up of the same
// paths: the launcher should cost no more than the file-system check it needs.
#include "Controllers/launcher_controller.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <benchmark/benchmark.h>

namespace {

QStringList makeFiles(const QTemporaryDir &dir)
{
    QStringList paths;
    const QStringList suffixes = { "kxld", "KXAM", "txt", "kxpm", "pdf" };
    for (int i = 0; i < 200; ++i) {
        const QString path = dir.filePath(QStringLiteral("label%1.%2").arg(i).arg(suffixes[i % 5]));
        QFile f(path);
        f.open(QIODevice::WriteOnly);
        paths << path;
    }
    return paths;
}

void BM_LauncherClassify(benchmark::State &state)
{
    QTemporaryDir dir;
    const QStringList paths = makeFiles(dir);
    LauncherController launcher;
    for (auto _ : state) {
        for (const QString &p : paths)
            benchmark::DoNotOptimize(launcher.getFileArgumentApplicationType(p));
    }
    state.SetItemsProcessed(state.iterations() * paths.size());
}
BENCHMARK(BM_LauncherClassify);

void BM_PeerQFileInfoSuffix(benchmark::State &state)
{
    QTemporaryDir dir;
    const QStringList paths = makeFiles(dir);
    for (auto _ : state) {
        for (const QString &p : paths) {
            const QFileInfo info(p);
            benchmark::DoNotOptimize(info.isFile() && info.isReadable() ? info.suffix().toLower() : QString());
        }
    }
    state.SetItemsProcessed(state.iterations() * paths.size());
}
BENCHMARK(BM_PeerQFileInfoSuffix);

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
