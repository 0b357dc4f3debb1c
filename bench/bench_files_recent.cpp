// Recently viewed: building the list from 10,000 history entries spread over the six stores,
// next to merely reading those stores with QSettings and stat-ing every path.
#include "Controllers/recently_viewed_controller.h"

#include "bench_files_common.h"

#include <QFileInfo>

using namespace BenchFiles;

namespace {

const QStringList STORES = { "KorvexPro", "QVLabelEditor", "PipeMarking", "ArcFlashMain", "GHS", "NFPAMain" };

void BM_RecentlyViewedUpdate(benchmark::State &state)
{
    fixture(true);
    RecentlyViewedController controller;
    for (auto _ : state)
        controller.updateFileLists();
    state.counters["records"] = double(controller.getSearchedLabelFilesList().size());
}
BENCHMARK(BM_RecentlyViewedUpdate)->Unit(benchmark::kMillisecond)->MinTime(2);

void BM_PeerReadStoresAndStat(benchmark::State &state)
{
    fixture(true);
    int existing = 0;
    for (auto _ : state) {
        existing = 0;
        for (const QString &app : STORES) {
            QSettings store(QSettings::IniFormat, QSettings::UserScope, QStringLiteral("Quorvane Inc"), app);
            const int size = store.beginReadArray(QStringLiteral("fileHistory"));
            for (int i = 0; i < size; ++i) {
                store.setArrayIndex(i);
                const QString path = store.value(QStringLiteral("path")).toString();
                benchmark::DoNotOptimize(store.value(QStringLiteral("date")).toString());
                existing += QFileInfo::exists(path) ? 1 : 0;
            }
            store.endArray();
        }
    }
    state.counters["existing"] = existing;
}
BENCHMARK(BM_PeerReadStoresAndStat)->Unit(benchmark::kMillisecond)->MinTime(2);

} // namespace

int main(int argc, char **argv)
{
    return runBenchmarks(argc, argv, { { "BM_RecentlyViewedUpdate/min_time:2.000", "BM_PeerReadStoresAndStat/min_time:2.000", 1.5 } });
}
