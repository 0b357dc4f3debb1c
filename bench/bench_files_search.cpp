// My Labels root search over 100,000 label files in 5,000 folders, a term in about 1% of the
// names, records built, against GNU find printing the same matches with two file times each.
#include "Controllers/my_labels_controller.h"

#include "bench_files_common.h"

using namespace BenchFiles;

namespace {

class Labels : public MyLabelsController
{
public:
    explicit Labels(const QString &platformRoot) : MyLabelsController(platformRoot) {}
};

void BM_MyLabelsRootSearch(benchmark::State &state)
{
    Fixture &f = fixture(false);
    Labels labels(f.tree + QStringLiteral("/"));
    labels.setRootFolder(f.tree);
    labels.updateFileLists();
    labels.setSearchString(SEARCH_TERM);
    for (auto _ : state)
        labels.searchLabelFileList();
    state.counters["records"] = double(labels.getSearchedLabelFilesList().size());
}
BENCHMARK(BM_MyLabelsRootSearch)->Unit(benchmark::kMillisecond)->MinTime(2);

void BM_PeerGnuFind(benchmark::State &state)
{
    Fixture &f = fixture(false);
    const QStringList args = { f.tree, QStringLiteral("-iname"), QStringLiteral("*") + SEARCH_TERM + QStringLiteral("*"),
                               QStringLiteral("-printf"), QStringLiteral("%T@ %C@ %p\\n") };
    qsizetype lines = 0;
    for (auto _ : state) {
        QProcess find;
        find.start(QStringLiteral("find"), args);
        find.waitForFinished(-1);
        lines = find.readAllStandardOutput().count('\n');
    }
    state.counters["lines"] = double(lines);
}
BENCHMARK(BM_PeerGnuFind)->Unit(benchmark::kMillisecond)->MinTime(2);

} // namespace

int main(int argc, char **argv)
{
    return runBenchmarks(argc, argv, { { "BM_MyLabelsRootSearch/min_time:2.000", "BM_PeerGnuFind/min_time:2.000", 2.0 } });
}
