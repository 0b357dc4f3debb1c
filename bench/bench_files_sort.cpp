// Sorting 100,000 label file records in each of the six orders, against std::sort over
// pre-built (key, index) pairs of the same records.
#include "Controllers/dashboard_common_file_controller.h"

#include "bench_files_common.h"

#include <QMetaEnum>
#include <QRandomGenerator>

#include <algorithm>
#include <utility>
#include <vector>

using namespace BenchFiles;

namespace {

constexpr int RECORDS = 100000;

class List : public DashboardCommonFileController
{
public:
    void updateFileLists() override {}
    void load(const QList<DashboardFileInfoStruct> &records)
    {
        m_searchedLabelFilesList = records;
        m_searchedLabelFilesList.detach();
    }
};

const QList<DashboardFileInfoStruct> &records()
{
    static const QList<DashboardFileInfoStruct> list = [] {
        static const char *words[] = { "plan", "Valve", "pipe", "EXIT", "sign", "Hazard", "arc",
                                       "flash", "GHS", "nfpa", "tank", "Line", "boiler", "Steam" };
        QRandomGenerator rng(42);
        const qint64 base = QDateTime(QDate(2022, 1, 1), QTime(0, 0), Qt::UTC).toMSecsSinceEpoch();
        const qint64 span = qint64(3) * 365 * 24 * 3600 * 1000;
        QList<DashboardFileInfoStruct> out;
        out.reserve(RECORDS);
        for (int i = 0; i < RECORDS; ++i) {
            DashboardFileInfoStruct r;
            r.labelFileName = QStringLiteral("%1_%2_%3.kxld")
                                      .arg(QLatin1String(words[rng.bounded(14)]),
                                           QLatin1String(words[rng.bounded(14)]))
                                      .arg(rng.bounded(1000000));
            r.filePath = QStringLiteral("/labels/t%1").arg(i % 50);
            // Records carry their dates in UTC, as the lists build them.
            r.accessDate = QDateTime::fromMSecsSinceEpoch(base + qint64(rng.bounded(double(span))), Qt::UTC);
            r.createdDate = QDateTime::fromMSecsSinceEpoch(base + qint64(rng.bounded(double(span))), Qt::UTC);
            r.id = i;
            out.append(r);
        }
        return out;
    }();
    return list;
}

void BM_SortLabelFilesList(benchmark::State &state)
{
    List list;
    list.setSortType(DashboardGlobal::SortByType(state.range(0)));
    for (auto _ : state) {
        state.PauseTiming();
        list.load(records());
        state.ResumeTiming();
        list.sortLabelFilesList();
    }
    state.SetLabel(QMetaEnum::fromType<DashboardGlobal::SortByType>().valueToKey(int(state.range(0))));
}
BENCHMARK(BM_SortLabelFilesList)->DenseRange(0, 5)->Unit(benchmark::kMillisecond);

template <typename Key>
void sortPairs(benchmark::State &state, const std::vector<std::pair<Key, int>> &pairs, bool descending)
{
    std::vector<std::pair<Key, int>> work;
    for (auto _ : state) {
        state.PauseTiming();
        work = pairs;
        state.ResumeTiming();
        if (descending)
            std::sort(work.begin(), work.end(), [](const auto &a, const auto &b) { return a.first > b.first; });
        else
            std::sort(work.begin(), work.end(), [](const auto &a, const auto &b) { return a.first < b.first; });
        benchmark::DoNotOptimize(work.data());
    }
}

void BM_PeerStdSortPairs(benchmark::State &state)
{
    const int type = int(state.range(0));
    const auto &list = records();
    if (type == DashboardGlobal::A_TO_Z || type == DashboardGlobal::Z_TO_A) {
        std::vector<std::pair<QString, int>> pairs;
        for (int i = 0; i < list.size(); ++i)
            pairs.emplace_back(list.at(i).labelFileName.toLower(), i);
        sortPairs(state, pairs, type == DashboardGlobal::Z_TO_A);
    } else {
        const bool access = type <= DashboardGlobal::LAST_VIEWED_DESCENDING;
        std::vector<std::pair<qint64, int>> pairs;
        for (int i = 0; i < list.size(); ++i)
            pairs.emplace_back((access ? list.at(i).accessDate : list.at(i).createdDate).toMSecsSinceEpoch(), i);
        sortPairs(state, pairs, type == DashboardGlobal::LAST_VIEWED_ASCENDING || type == DashboardGlobal::NEWEST);
    }
    state.SetLabel(QMetaEnum::fromType<DashboardGlobal::SortByType>().valueToKey(type));
}
BENCHMARK(BM_PeerStdSortPairs)->DenseRange(0, 5)->Unit(benchmark::kMillisecond);

} // namespace

int main(int argc, char **argv)
{
    std::vector<RatioReporter::Pair> pairs;
    for (int i = 0; i < 6; ++i)
        pairs.push_back({ "BM_SortLabelFilesList/" + std::to_string(i), "BM_PeerStdSortPairs/" + std::to_string(i), 1.5 });
    return runBenchmarks(argc, argv, pairs);
}
