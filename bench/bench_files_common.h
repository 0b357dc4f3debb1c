#pragma once

// Fixtures and reporting shared by the label file list benchmarks.

#include <QCoreApplication>
#include <QFileInfo>
#include <QMap>
#include <QProcess>
#include <QSettings>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>

#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace BenchFiles {

inline const QString SEARCH_TERM = QStringLiteral("qzx");

// Runs gen_file_fixtures.py; aborts the benchmark run when it fails.
inline void runFixtureScript(const QStringList &arguments)
{
    QProcess script;
    script.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    script.start(QStringLiteral("python3"),
                 QStringList{ QStringLiteral(KORVEX_FIXTURE_SCRIPT) } + arguments);
    if (!script.waitForFinished(-1) || script.exitStatus() != QProcess::NormalExit
        || script.exitCode() != 0) {
        std::fprintf(stderr, "fixture script failed: %s\n", qPrintable(arguments.join(' ')));
        std::exit(1);
    }
}

// A label tree of 100,000 files in 5,000 folders, and the six stores' histories of 10,000
// views of its files, made once per process.
struct Fixture
{
    QTemporaryDir dir;
    QString tree;
    QString config;
};

inline Fixture &fixture(bool withHistory)
{
    static std::unique_ptr<Fixture> f;
    if (!f) {
        f = std::make_unique<Fixture>();
        f->tree = f->dir.filePath(QStringLiteral("tree"));
        f->config = f->dir.filePath(QStringLiteral("config"));
        runFixtureScript({ QStringLiteral("tree"), f->tree, QStringLiteral("--term"), SEARCH_TERM });
    }
    if (withHistory && !QFileInfo::exists(f->config))
        runFixtureScript({ QStringLiteral("history"), f->config, f->tree });
    // The stores are read from the fixture, never from the user's own settings.
    QSettings::setPath(QSettings::IniFormat, QSettings::UserScope, f->config);
    return *f;
}

// Prints, after the usual table, each of our figures divided by its peer's.
class RatioReporter : public benchmark::ConsoleReporter
{
public:
    // pairs: (our benchmark name, peer benchmark name, target ratio)
    struct Pair
    {
        std::string ours;
        std::string peer;
        double target;
    };
    explicit RatioReporter(std::vector<Pair> pairs) : m_pairs(std::move(pairs)) {}

    void ReportRuns(const std::vector<Run> &runs) override
    {
        // With repetitions, the median stands for the benchmark.
        for (const Run &run : runs) {
            if (run.run_type == Run::RT_Aggregate && run.aggregate_name != "median")
                continue;
            m_times[run.run_name.str()] = run.GetAdjustedRealTime();
        }
        ConsoleReporter::ReportRuns(runs);
    }

    void Finalize() override
    {
        ConsoleReporter::Finalize();
        for (const Pair &p : m_pairs) {
            const auto ours = m_times.find(p.ours);
            const auto peer = m_times.find(p.peer);
            if (ours == m_times.end() || peer == m_times.end())
                continue;
            const double ratio = ours->second / peer->second;
            std::printf("%-48s %8.2f x %s", (p.ours + " / peer").c_str(), ratio, p.peer.c_str());
            if (p.target > 0)
                std::printf("  (target <= %.1f: %s)", p.target, ratio <= p.target ? "met" : "MISSED");
            std::printf("\n");
        }
    }

private:
    std::vector<Pair> m_pairs;
    std::map<std::string, double> m_times;
};

inline int runBenchmarks(int argc, char **argv, std::vector<RatioReporter::Pair> pairs)
{
    QCoreApplication app(argc, argv);
    benchmark::Initialize(&argc, argv);
    RatioReporter reporter(std::move(pairs));
    benchmark::RunSpecifiedBenchmarks(&reporter);
    benchmark::Shutdown();
    return 0;
}

} // namespace BenchFiles
