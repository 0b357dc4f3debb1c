#include "Controllers/dashboard_common_file_controller.h"
#include "files_test_util.h"
#include "log_capture.h"
#include "zone_scope.h"

#include <QRandomGenerator>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTranslator>
#include <QtTest>

#include <algorithm>

using namespace FilesTest;

namespace {

// The common behaviour on a list the test fills itself.
class ListController : public DashboardCommonFileController
{
public:
    QList<DashboardFileInfoStruct> records;
    int updates = 0;

    void updateFileLists() override
    {
        ++updates;
        m_labelFilesList = records;
        searchLabelFileList();
    }
    QList<DashboardFileInfoStruct> fullList() const { return m_labelFilesList; }
    QMap<QString, QDateTime> mergedHistory()
    {
        openSettingsFiles();
        auto map = loadFileHistoryMap();
        closeSettingsFiles();
        return map;
    }
    // The Recently viewed list's merge of the same stores: (path, instant) in path order.
    ViewInstants mergedInstants()
    {
        today(); // starts a list, as the Recently viewed list does
        openSettingsFiles();
        auto views = loadFileHistoryInstants();
        closeSettingsFiles();
        return views;
    }
    static constexpr qint64 invalidView() { return INVALID_VIEW; }
};

DashboardFileInfoStruct record(const QString &name, int id, const QString &dir = "/labels",
                               bool folder = false, const QDateTime &access = QDateTime(),
                               const QDateTime &created = QDateTime())
{
    DashboardFileInfoStruct r;
    r.labelFileName = name;
    r.filePath = dir;
    r.id = id;
    r.type = folder;
    r.accessDate = access;
    r.createdDate = created;
    return r;
}

// Marks every text of the file list context, so a test sees which context was asked.
class MarkingTranslator : public QTranslator
{
public:
    QString translate(const char *context, const char *sourceText, const char *, int) const override
    {
        if (qstrcmp(context, "DashboardCommonFileController") != 0)
            return QString();
        return QStringLiteral("<") + QString::fromUtf8(sourceText) + QStringLiteral(">");
    }
    bool isEmpty() const override { return false; }
};

// The comparators exactly as the lists define them, applied to the records themselves.
bool literalLess(int sortType, const DashboardFileInfoStruct &a, const DashboardFileInfoStruct &b)
{
    if (a.type || b.type)
        return false;
    switch (sortType) {
    case 0: return a.accessDate > b.accessDate;
    case 1: return a.accessDate < b.accessDate;
    case 2: return a.labelFileName.toLower() < b.labelFileName.toLower();
    case 3: return a.labelFileName.toLower() > b.labelFileName.toLower();
    case 4: return a.createdDate > b.createdDate;
    case 5: return a.createdDate < b.createdDate;
    }
    return false;
}

} // namespace

class tst_DashboardCommonFileController : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();

    void defaultAccessDate();
    void adjustDaysSinceModified_data();
    void adjustDaysSinceModified();
    void textsUseTheControllerContext();
    void calculateTimeSince_data();
    void calculateTimeSince();
    void historyMapMerge();
    void historyMapEmptyAndBadDates();
    void historyLoadedFromAllSixStores();
    void historyFileViewedInThreeModules();
    void historyMergesAgree_data();
    void historyMergesAgree();
    void historyDatesReadAsTheParserReads_data();
    void historyDatesReadAsTheParserReads();
    void repeatedHourAfterAWinterDate();

    void searchMatchesNameOnlyIgnoringCase();
    void emptySearchShowsFullList();
    void setSortAndSearchStringOnlyStore();
    void sortsOfFilesOnly_data();
    void sortsOfFilesOnly();
    void sortsWithFoldersMixed_data();
    void sortsWithFoldersMixed();
    void sameNameDifferentCaseCompareEqual();
    void outOfRangeSortTypeStillEmits();
    void idsStableThroughSearchAndSort();

    void openLabel_data();
    void openLabel();
    void openLabelUnknownIdLogs();
    void setFavoriteWritesAndRemoves();
    void setFavoriteUnknownIdWritesNothing();
    void removeFavoriteLocalAndCloud();
    void removeFavoriteIgnoresDirectoriesAndEmptyKeys();
    void removeFavoriteNotCurrentDoesNothing();
    void consoleLogWritesDebugLine();

private:
    std::unique_ptr<ListController> m_controller;
};

void tst_DashboardCommonFileController::initTestCase()
{
    QStandardPaths::setTestModeEnabled(true);
}

void tst_DashboardCommonFileController::init()
{
    QVERIFY(removeStores());
    m_controller = std::make_unique<ListController>();
}

void tst_DashboardCommonFileController::cleanup()
{
    m_controller.reset();
}

void tst_DashboardCommonFileController::defaultAccessDate()
{
    const QDateTime d = DashboardCommonFileController::DEFAULT_ACCESS_DATE;
    QVERIFY(d.isValid());
    QCOMPARE(d.timeSpec(), Qt::LocalTime);
    QCOMPARE(d.date(), QDate(1970, 1, 1));
    QCOMPARE(d.time(), QTime(1, 1, 0, 0));
}

void tst_DashboardCommonFileController::adjustDaysSinceModified_data()
{
    QTest::addColumn<int>("days");
    QTest::addColumn<QString>("text");
    QTest::newRow("-1") << -1 << QString();
    QTest::newRow("-400") << -400 << QString();
    QTest::newRow("0") << 0 << "today";
    QTest::newRow("1") << 1 << "one day ago";
    QTest::newRow("2") << 2 << "2 days ago";
    QTest::newRow("6") << 6 << "6 days ago";
    QTest::newRow("7") << 7 << "one week ago";
    QTest::newRow("13") << 13 << "one week ago";
    QTest::newRow("14") << 14 << "2 weeks ago";
    QTest::newRow("29") << 29 << "4 weeks ago";
    QTest::newRow("30") << 30 << "one month ago";
    QTest::newRow("59") << 59 << "one month ago";
    QTest::newRow("60") << 60 << "2 months ago";
    QTest::newRow("359") << 359 << "11 months ago";
    QTest::newRow("360") << 360 << "12 months ago";
    QTest::newRow("364") << 364 << "12 months ago";
    QTest::newRow("365") << 365 << "one year ago";
    QTest::newRow("729") << 729 << "one year ago";
    QTest::newRow("730") << 730 << "2 years ago";
    QTest::newRow("3650") << 3650 << "10 years ago";
    QTest::newRow("1000000") << 1000000 << "2739 years ago";
}

void tst_DashboardCommonFileController::adjustDaysSinceModified()
{
    QFETCH(int, days);
    QFETCH(QString, text);
    QCOMPARE(m_controller->adjustDaysSinceModified(days), text);
}

void tst_DashboardCommonFileController::textsUseTheControllerContext()
{
    MarkingTranslator translator;
    QVERIFY(QCoreApplication::installTranslator(&translator));
    QCOMPARE(m_controller->adjustDaysSinceModified(0), QString("<today>"));
    QCOMPARE(m_controller->adjustDaysSinceModified(3), QString("<3 days ago>"));
    QCOMPARE(m_controller->adjustDaysSinceModified(400), QString("<one year ago>"));
    QCOMPARE(m_controller->adjustDaysSinceModified(800), QString("<2 years ago>"));
    QVERIFY(QCoreApplication::removeTranslator(&translator));
    QCOMPARE(m_controller->adjustDaysSinceModified(0), QString("today"));
}

void tst_DashboardCommonFileController::calculateTimeSince_data()
{
    QTest::addColumn<QDateTime>("now");
    QTest::addColumn<QDateTime>("date");
    QTest::addColumn<QString>("text");
    const QDate day(2024, 3, 15);
    QTest::newRow("yesterday 23:59, now 00:01")
            << QDateTime(day, QTime(0, 1)) << QDateTime(day.addDays(-1), QTime(23, 59)) << "one day ago";
    QTest::newRow("same day 00:00 to 23:59")
            << QDateTime(day, QTime(23, 59, 59)) << QDateTime(day, QTime(0, 0)) << "today";
    QTest::newRow("in the future") << QDateTime(day, QTime(12, 0))
                                   << QDateTime(day.addDays(1), QTime(0, 0)) << QString();
    QTest::newRow("seven midnights") << QDateTime(day, QTime(0, 0))
                                     << QDateTime(day.addDays(-7), QTime(23, 59)) << "one week ago";
    QTest::newRow("invalid date") << QDateTime(day, QTime(12, 0)) << QDateTime() << QString();
    QTest::newRow("given in UTC") << QDateTime(day, QTime(10, 0))
                                  << QDateTime(day, QTime(10, 0)).toUTC().addDays(-2) << "2 days ago";
}

void tst_DashboardCommonFileController::calculateTimeSince()
{
    QFETCH(QDateTime, now);
    QFETCH(QDateTime, date);
    QFETCH(QString, text);
    m_controller->setClock([now] { return now; });
    QCOMPARE(m_controller->currentDateTime(), now);
    QCOMPARE(m_controller->calculateTimeSince(date), text);
}

void tst_DashboardCommonFileController::historyMapMerge()
{
    const QList<std::pair<QString, QString>> history = {
        { "/l/a.kxld", "2024:03:15:09:00:00:000" }, // dashboard
        { "/l/a.kxld", "2024:03:15:10:00:00:000" }, // label editor, later: wins
        { "/l/b.kxld", "2024:03:15:10:00:00:000" },
        { "/l/b.kxld", "2024:03:15:08:00:00:000" }, // earlier: ignored
        { "/l/c.kxld", "2024:03:15:10:00:00:000" },
        { "/L/c.kxld", "2024:03:16:10:00:00:000" }, // another path
    };
    const auto map = m_controller->getFileHistoryMap(history);
    QCOMPARE(map.size(), 4);
    QCOMPARE(map.value("/l/a.kxld"), QDateTime(QDate(2024, 3, 15), QTime(10, 0)));
    QCOMPARE(map.value("/l/b.kxld"), QDateTime(QDate(2024, 3, 15), QTime(10, 0)));
    QCOMPARE(map.value("/l/c.kxld"), QDateTime(QDate(2024, 3, 15), QTime(10, 0)));
    QCOMPARE(map.value("/L/c.kxld"), QDateTime(QDate(2024, 3, 16), QTime(10, 0)));
    QCOMPARE(map.firstKey(), QString("/L/c.kxld")); // code-unit order
}

void tst_DashboardCommonFileController::historyMapEmptyAndBadDates()
{
    const QList<std::pair<QString, QString>> history = {
        { "/l/empty.kxld", "" },
        { "/l/bad.kxld", "yesterday" },
        { "/l/short.kxld", "2024:03:15" },
        { "/l/feb30.kxld", "2024:02:30:10:00:00:000" },
        { "/l/badthenvalid.kxld", "garbage" },
        { "/l/badthenvalid.kxld", "2024:03:15:10:00:00:000" },
        { "/l/validthenbad.kxld", "2024:03:15:10:00:00:000" },
        { "/l/validthenbad.kxld", "garbage" },
        { "/l/emptythenold.kxld", "" },
        { "/l/emptythenold.kxld", "1960:01:01:00:00:00:000" },
        { "/l/leapday.kxld", "2024:02:29:23:59:59:999" },
    };
    const auto map = m_controller->getFileHistoryMap(history);
    QCOMPARE(map.value("/l/empty.kxld"), DashboardCommonFileController::DEFAULT_ACCESS_DATE);
    QVERIFY(map.contains("/l/bad.kxld"));
    QVERIFY(!map.value("/l/bad.kxld").isValid());
    QVERIFY(!map.value("/l/short.kxld").isValid());
    QVERIFY(!map.value("/l/feb30.kxld").isValid());
    QCOMPARE(map.value("/l/badthenvalid.kxld"), QDateTime(QDate(2024, 3, 15), QTime(10, 0)));
    QCOMPARE(map.value("/l/validthenbad.kxld"), QDateTime(QDate(2024, 3, 15), QTime(10, 0)));
    QCOMPARE(map.value("/l/emptythenold.kxld"), DashboardCommonFileController::DEFAULT_ACCESS_DATE);
    QCOMPARE(map.value("/l/leapday.kxld"), QDateTime(QDate(2024, 2, 29), QTime(23, 59, 59, 999)));
    // The quick path and Qt's parser agree on every text above.
    for (const auto &[path, text] : history) {
        if (text.isEmpty() || history.count({ path, text }) != 1)
            continue;
        bool single = std::count_if(history.begin(), history.end(),
                                    [&](const auto &e) { return e.first == path; }) == 1;
        if (single)
            QCOMPARE(map.value(path), QDateTime::fromString(text, "yyyy:MM:dd:hh:mm:ss:zzz"));
    }
}

void tst_DashboardCommonFileController::historyLoadedFromAllSixStores()
{
    const QDate day(2024, 3, 15);
    int hour = 1;
    for (const QString &app : storeNames())
        recordView(app, "/labels/" + app + ".kxld", QDateTime(day, QTime(hour++, 0)));
    const auto map = m_controller->mergedHistory();
    QCOMPARE(map.size(), 6);
    hour = 1;
    for (const QString &app : storeNames())
        QCOMPARE(map.value("/labels/" + app + ".kxld"), QDateTime(day, QTime(hour++, 0)));
}

void tst_DashboardCommonFileController::historyFileViewedInThreeModules()
{
    const QDate day(2024, 3, 15);
    recordView("PipeMarking", "/labels/a.kxpm", QDateTime(day, QTime(11, 0)));
    recordView("QVLabelEditor", "/labels/a.kxpm", QDateTime(day, QTime(9, 0)));
    recordView("KorvexPro", "/labels/a.kxpm", QDateTime(day.addDays(-1), QTime(23, 0)));
    QCOMPARE(m_controller->mergedHistory().value("/labels/a.kxpm"), QDateTime(day, QTime(11, 0)));

    // The newest view wins wherever it is recorded.
    recordView("KorvexPro", "/labels/a.kxpm", QDateTime(day, QTime(12, 0)));
    QCOMPARE(m_controller->mergedHistory().value("/labels/a.kxpm"), QDateTime(day, QTime(12, 0)));
    // On a tie the first-seen entry (dashboard, then label editor...) stays; both are equal.
    recordView("GHS", "/labels/a.kxpm", QDateTime(day, QTime(12, 0)));
    QCOMPARE(m_controller->mergedHistory().value("/labels/a.kxpm"), QDateTime(day, QTime(12, 0)));
}

void tst_DashboardCommonFileController::historyMergesAgree_data()
{
    QTest::addColumn<QByteArray>("zone");
    QTest::addColumn<int>("year");
    KORVEX_ZONE_ROWS(2024);
}

void tst_DashboardCommonFileController::historyMergesAgree()
{
    QFETCH(QByteArray, zone);
    const ZoneScope scope(zone);
    // My Labels merges the histories as local date-times, Recently viewed as instants: over
    // the same stores both must keep the same paths, in the same order, with the same view.
    QRandomGenerator random(20261123);
    const QStringList texts = {
        QString(), QStringLiteral("garbage"), QStringLiteral("2024:02:30:10:00:00:000"),
        QStringLiteral("1960:01:01:00:00:00:000"), QStringLiteral("2024:03:15:10:00:00:000"),
        QStringLiteral("2024:03:15:10:00:00:001"), QStringLiteral("2024:03:31:02:30:00:000"),
        QStringLiteral("2024:10:27:02:30:00:000"), QStringLiteral("2024:02:29:23:59:59:999"),
        QStringLiteral("2025:01:01:00:00:00:000"), QStringLiteral("2024:11:03:01:30:00:000"),
        QStringLiteral("2024:04:07:02:30:00:000"), QStringLiteral("2024:04:07:01:45:00:000"),
        QStringLiteral("2024:10:06:02:15:00:000"),
    };
    for (const QString &app : storeNames()) {
        QList<std::pair<QString, QString>> entries;
        for (int i = 0; i < 40; ++i) {
            // Few paths and few dates: the same path in many stores, ties and bad dates among them.
            const QString path = QStringLiteral("/labels/%1%2.kxld")
                                         .arg(random.bounded(2) ? u'a' : u'A').arg(random.bounded(12));
            entries.append({ path, texts.at(random.bounded(int(texts.size()))) });
        }
        writeHistory(app, entries);
    }
    const QMap<QString, QDateTime> map = m_controller->mergedHistory();
    const auto views = m_controller->mergedInstants();
    QVERIFY(map.size() > 12);
    QCOMPARE(qsizetype(views.size()), map.size());
    auto view = views.cbegin();
    for (auto it = map.cbegin(); it != map.cend(); ++it, ++view) {
        QCOMPARE(view->first, it.key());
        const qint64 expected = it.value().isValid() ? it.value().toMSecsSinceEpoch()
                                                     : ListController::invalidView();
        QCOMPARE(view->second, expected);
    }
}

void tst_DashboardCommonFileController::historyDatesReadAsTheParserReads_data()
{
    QTest::addColumn<QByteArray>("zone");
    QTest::addColumn<int>("year");
    KORVEX_ZONE_ROWS(2024);
}

void tst_DashboardCommonFileController::historyDatesReadAsTheParserReads()
{
    QFETCH(QByteArray, zone);
    QFETCH(int, year);
    const ZoneScope scope(zone);
    const QList<QDate> changes = offsetChangeDays(year);
    QCOMPARE(changes.size(), zone == "UTC" ? 0 : 2);

    // Wall-clock texts, made on a clock without offsets: every 5 minutes (with odd
    // milliseconds) from a day before to a day after each change of offset, and a few times
    // of every day of the year.
    const QString format = DashboardCommonFileController::HISTORY_DATE_FORMAT;
    QStringList texts;
    for (const QDate &change : changes) {
        const QDateTime midnight(change, QTime(0, 0), Qt::UTC);
        for (int minute = -24 * 60; minute < 48 * 60; minute += 5)
            texts << midnight.addSecs(minute * 60).addMSecs(qAbs(minute) % 1000).toString(format);
    }
    for (QDate day(year, 1, 1); day.year() == year; day = day.addDays(1)) {
        for (int hour = 0; hour < 24; hour += 3)
            texts << QDateTime(day, QTime(hour, 7, 30, 250), Qt::UTC).toString(format);
    }

    // Whatever the process converted before, in either half of the year, the merge reads
    // each text as QDateTime::fromString does.
    for (const QDate &before : { QDate(year, 1, 15), QDate(year, 7, 15) }) {
        for (const QString &text : std::as_const(texts)) {
            convertLocalTime(before);
            const QDateTime read = m_controller->getFileHistoryMap({ { "/l/a.kxld", text } }).value("/l/a.kxld");
            const QDateTime expected = QDateTime::fromString(text, format);
            QVERIFY2(read.isValid() == expected.isValid(), qPrintable(text));
            if (expected.isValid()) {
                QVERIFY2(read.toMSecsSinceEpoch() == expected.toMSecsSinceEpoch(),
                         qPrintable(text + " read as " + read.toUTC().toString(Qt::ISODateWithMs)
                                    + " instead of " + expected.toUTC().toString(Qt::ISODateWithMs)));
                QCOMPARE(read, expected);
            }
        }
    }
}

void tst_DashboardCommonFileController::repeatedHourAfterAWinterDate()
{
    // 02:00 to 03:00 on 27 October 2024 happens twice in Berlin; the parser reads it as the
    // first time, in summer time. Two modules viewed the file in that hour, 02:30 and 02:50.
    const ZoneScope scope("Europe/Berlin");
    convertLocalTime(QDate(2024, 1, 15));
    const QString first = QStringLiteral("2024:10:27:02:30:00:000");
    const QDateTime read = m_controller->getFileHistoryMap({ { "/l/a.kxld", first } }).value("/l/a.kxld");
    QCOMPARE(read.toUTC(), QDateTime(QDate(2024, 10, 27), QTime(0, 30), Qt::UTC));

    convertLocalTime(QDate(2024, 1, 15));
    const auto merged = m_controller->getFileHistoryMap({ { "/l/a.kxld", first },
                                                          { "/l/a.kxld", "2024:10:27:02:50:00:000" },
                                                          { "/l/a.kxld", "2024:10:27:00:50:00:000" } });
    QCOMPARE(merged.value("/l/a.kxld").toUTC(), QDateTime(QDate(2024, 10, 27), QTime(0, 50), Qt::UTC));
}

void tst_DashboardCommonFileController::searchMatchesNameOnlyIgnoringCase()
{
    m_controller->records = { record("my_label.kxld", 0, "/LAB/dir"), record("other.kxld", 1, "/lab"),
                              record("LABEL.kxpm", 2), record("Ärger.kxld", 3) };
    m_controller->updateFileLists();
    m_controller->setSearchString("LAB");
    m_controller->searchLabelFileList();
    auto found = names(m_controller->getSearchedLabelFilesList());
    found.sort();
    QCOMPARE(found, QStringList({ "LABEL.kxpm", "my_label.kxld" }));

    m_controller->setSearchString("äR");
    m_controller->searchLabelFileList();
    QCOMPARE(names(m_controller->getSearchedLabelFilesList()), QStringList({ "Ärger.kxld" }));

    m_controller->setSearchString("/");
    m_controller->searchLabelFileList();
    QVERIFY(m_controller->getSearchedLabelFilesList().isEmpty());
}

void tst_DashboardCommonFileController::emptySearchShowsFullList()
{
    m_controller->records = { record("b.kxld", 0), record("a.kxld", 1) };
    m_controller->updateFileLists();
    QSignalSpy sorted(m_controller.get(), &DashboardCommonFileController::listSorted);
    m_controller->setSearchString(QString());
    m_controller->searchLabelFileList();
    QCOMPARE(sorted.count(), 1);
    QCOMPARE(names(m_controller->getSearchedLabelFilesList()), QStringList({ "a.kxld", "b.kxld" }));
    QCOMPARE(m_controller->getSortType(), DashboardGlobal::A_TO_Z);
}

void tst_DashboardCommonFileController::setSortAndSearchStringOnlyStore()
{
    m_controller->records = { record("b.kxld", 0), record("a.kxld", 1) };
    m_controller->updateFileLists();
    QSignalSpy sorted(m_controller.get(), &DashboardCommonFileController::listSorted);
    m_controller->setSortType(DashboardGlobal::Z_TO_A);
    m_controller->setSearchString("a.");
    QCOMPARE(sorted.count(), 0);
    QCOMPARE(names(m_controller->getSearchedLabelFilesList()), QStringList({ "a.kxld", "b.kxld" }));
    QCOMPARE(m_controller->getSortType(), DashboardGlobal::Z_TO_A);
    QCOMPARE(m_controller->getSearchString(), QString("a."));
    m_controller->sortLabelFilesList();
    QCOMPARE(names(m_controller->getSearchedLabelFilesList()), QStringList({ "b.kxld", "a.kxld" }));
    m_controller->searchLabelFileList();
    QCOMPARE(names(m_controller->getSearchedLabelFilesList()), QStringList({ "a.kxld" }));
}

void tst_DashboardCommonFileController::sortsOfFilesOnly_data()
{
    QTest::addColumn<int>("sortType");
    QTest::addColumn<QStringList>("expected");
    QTest::newRow("LAST_VIEWED_ASCENDING: most recent first") << 0 << QStringList({ "c", "a", "B", "d" });
    QTest::newRow("LAST_VIEWED_DESCENDING") << 1 << QStringList({ "d", "B", "a", "c" });
    QTest::newRow("A_TO_Z") << 2 << QStringList({ "a", "B", "c", "d" });
    QTest::newRow("Z_TO_A") << 3 << QStringList({ "d", "c", "B", "a" });
    QTest::newRow("NEWEST") << 4 << QStringList({ "B", "d", "c", "a" });
    QTest::newRow("OLDEST") << 5 << QStringList({ "a", "c", "d", "B" });
}

void tst_DashboardCommonFileController::sortsOfFilesOnly()
{
    QFETCH(int, sortType);
    QFETCH(QStringList, expected);
    const QDateTime t(QDate(2024, 3, 15), QTime(10, 0));
    m_controller->records = {
        record("c", 0, "/l", false, t.addDays(3), t.addDays(2)),
        record("a", 1, "/l", false, t.addDays(2), t),
        record("d", 2, "/l", false, QDateTime(), t.addDays(3)), // never valid: oldest view
        record("B", 3, "/l", false, t.addSecs(1).toUTC(), t.addDays(4)),
    };
    m_controller->setSortType(DashboardGlobal::SortByType(sortType));
    QSignalSpy sorted(m_controller.get(), &DashboardCommonFileController::listSorted);
    m_controller->updateFileLists();
    QCOMPARE(sorted.count(), 1);
    QCOMPARE(names(m_controller->getSearchedLabelFilesList()), expected);
}

void tst_DashboardCommonFileController::sortsWithFoldersMixed_data()
{
    QTest::addColumn<int>("sortType");
    QTest::addColumn<int>("count");
    for (int type = 0; type < 6; ++type) {
        for (int count : { 5, 15, 16, 17, 40, 600 }) {
            const QByteArray name = QByteArray::number(type) + "/" + QByteArray::number(count);
            QTest::newRow(name.constData()) << type << count;
        }
    }
}

void tst_DashboardCommonFileController::sortsWithFoldersMixed()
{
    QFETCH(int, sortType);
    QFETCH(int, count);
    QRandomGenerator rng(quint32(sortType * 1000 + count));
    const QDateTime base(QDate(2023, 1, 1), QTime(0, 0));
    QList<DashboardFileInfoStruct> records;
    for (int i = 0; i < count; ++i) {
        const bool folder = rng.bounded(4) == 0;
        // Few distinct keys, so ties are common; some dates invalid, some in UTC.
        QString name = QString(QChar('a' + rng.bounded(6))) + QString::number(rng.bounded(4));
        if (rng.bounded(2))
            name = name.toUpper();
        // Some names need more than ASCII lower-casing (İ becomes two code units).
        static const QStringList special = { QStringLiteral("\u00C4"), QStringLiteral("\u00E9"),
                                             QStringLiteral("\u0130"), QStringLiteral("\u00DF"),
                                             QStringLiteral("\u03A3"), QStringLiteral("Z") };
        if (rng.bounded(4) == 0)
            name.insert(rng.bounded(int(name.size()) + 1), special.at(rng.bounded(int(special.size()))));
        QDateTime access = rng.bounded(8) == 0 ? QDateTime() : base.addDays(rng.bounded(30));
        if (rng.bounded(2))
            access = access.toUTC();
        const QDateTime created = base.addSecs(rng.bounded(5) * 3600);
        records << record(name + (folder ? "" : ".kxld"), folder ? -1 : i, "/l", folder, access, created);
    }
    m_controller->records = records;
    m_controller->setSortType(DashboardGlobal::SortByType(sortType));
    m_controller->updateFileLists();
    const auto result = m_controller->getSearchedLabelFilesList();

    // The order std::sort gives with the comparators applied to the records themselves.
    auto expected = records;
    std::sort(expected.begin(), expected.end(),
              [sortType](const auto &a, const auto &b) { return literalLess(sortType, a, b); });
    QCOMPARE(result.size(), expected.size());
    for (int i = 0; i < result.size(); ++i) {
        QCOMPARE(result.at(i).labelFileName, expected.at(i).labelFileName);
        QCOMPARE(result.at(i).accessDate, expected.at(i).accessDate);
        QCOMPARE(result.at(i).createdDate, expected.at(i).createdDate);
        QCOMPARE(result.at(i).type, expected.at(i).type);
        QCOMPARE(result.at(i).id, expected.at(i).id);
    }
}

void tst_DashboardCommonFileController::sameNameDifferentCaseCompareEqual()
{
    m_controller->records = { record("c.kxld", 0), record("b.kxld", 1), record("B.kxld", 2), record("a.kxld", 3) };
    m_controller->updateFileLists();
    const auto list = names(m_controller->getSearchedLabelFilesList());
    QCOMPARE(list.first(), QString("a.kxld"));
    QCOMPARE(list.last(), QString("c.kxld"));
    QCOMPARE(QSet<QString>(list.begin() + 1, list.begin() + 3), QSet<QString>({ "b.kxld", "B.kxld" }));
}

void tst_DashboardCommonFileController::outOfRangeSortTypeStillEmits()
{
    m_controller->records = { record("b.kxld", 0), record("c.kxld", 1), record("a.kxld", 2) };
    // 6 and 7 are representable in the enumeration but name no order.
    m_controller->setSortType(DashboardGlobal::SortByType(7));
    QSignalSpy sorted(m_controller.get(), &DashboardCommonFileController::listSorted);
    m_controller->updateFileLists();
    QCOMPARE(sorted.count(), 1);
    QCOMPARE(names(m_controller->getSearchedLabelFilesList()), QStringList({ "b.kxld", "c.kxld", "a.kxld" }));
}

void tst_DashboardCommonFileController::idsStableThroughSearchAndSort()
{
    QTemporaryDir dir;
    QVERIFY(dir.isValid());
    m_controller->records = { record("zeta_label.kxld", 7, dir.path()), record("alpha.kxpm", 3, dir.path()),
                              record("beta_label.kxam", 11, dir.path()), record("gamma_label.kxlt", 5, dir.path()) };
    m_controller->setSortType(DashboardGlobal::Z_TO_A);
    m_controller->setSearchString("label");
    m_controller->updateFileLists();
    QCOMPARE(ids(m_controller->getSearchedLabelFilesList()), QList<int>({ 7, 5, 11 }));
    m_controller->setSortType(DashboardGlobal::A_TO_Z);
    m_controller->sortLabelFilesList();
    QCOMPARE(ids(m_controller->getSearchedLabelFilesList()), QList<int>({ 11, 5, 7 }));

    QSignalSpy launch(m_controller.get(), &DashboardCommonFileController::launchLabelInModule);
    m_controller->openLabel(5);
    QCOMPARE(launch.count(), 1);
    QCOMPARE(launch.at(0).at(1).toString(), dir.path() + "/gamma_label.kxlt");
    m_controller->openLabel(3); // filtered out by the search
    QCOMPARE(launch.count(), 1);

    QVERIFY(m_controller->setFavorite(false, 11));
    QCOMPARE(favoriteKeysOnDisk().size(), 1);
    QVERIFY(findByName(m_controller->getSearchedLabelFilesList(), "beta_label.kxam")->isFavorite);
    QVERIFY(findByName(m_controller->fullList(), "beta_label.kxam")->isFavorite);
    QVERIFY(!findByName(m_controller->fullList(), "zeta_label.kxld")->isFavorite);
}

void tst_DashboardCommonFileController::openLabel_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<int>("module"); // -2: nothing emitted
    QTest::newRow("Plan.KXAM") << "Plan.KXAM" << int(DashboardGlobal::APP_PIPEMARKING);
    QTest::newRow("kxaw") << "x.kxaw" << int(DashboardGlobal::APP_PIPEMARKING);
    QTest::newRow("kxpm") << "x.kxpm" << int(DashboardGlobal::APP_PIPEMARKING);
    QTest::newRow("kxld") << "x.kxld" << int(DashboardGlobal::APP_LABELDESIGNER);
    QTest::newRow("KxLt") << "x.KxLt" << int(DashboardGlobal::APP_LABELDESIGNER);
    QTest::newRow("kxcl") << "x.kxcl" << int(DashboardGlobal::APP_LABELDESIGNER);
    QTest::newRow("kxaf") << "x.kxaf" << int(DashboardGlobal::APP_LABELDESIGNER);
    QTest::newRow("kxnf") << "x.kxnf" << int(DashboardGlobal::APP_LABELDESIGNER);
    QTest::newRow("a.txt") << "a.txt" << -2;
    QTest::newRow("no suffix") << "kxld" << -2;
    QTest::newRow("double suffix") << "a.kxld.bak" << -2;
}

void tst_DashboardCommonFileController::openLabel()
{
    QFETCH(QString, name);
    QFETCH(int, module);
    m_controller->records = { record(name, 4, "/srv/labels") };
    m_controller->updateFileLists();
    QSignalSpy launch(m_controller.get(), &DashboardCommonFileController::launchLabelInModule);
    LogCapture log;
    m_controller->openLabel(4);
    QVERIFY(log.linesWithMessage("Error invalid request").isEmpty());
    if (module == -2) {
        QCOMPARE(launch.count(), 0);
        return;
    }
    QCOMPARE(launch.count(), 1);
    QCOMPARE(launch.at(0).at(0).value<DashboardGlobal::ApplicationType>(),
             DashboardGlobal::ApplicationType(module));
    QCOMPARE(launch.at(0).at(1).toString(), "/srv/labels/" + name);
}

void tst_DashboardCommonFileController::openLabelUnknownIdLogs()
{
    m_controller->records = { record("a.kxld", 0) };
    m_controller->updateFileLists();
    QSignalSpy launch(m_controller.get(), &DashboardCommonFileController::launchLabelInModule);
    LogCapture log;
    m_controller->openLabel(1);
    m_controller->openLabel(-1);
    QCOMPARE(launch.count(), 0);
    const auto lines = log.linesWithMessage("Error invalid request");
    QCOMPARE(lines.size(), 2);
    QCOMPARE(lines.at(0).type, QtDebugMsg);
    QCOMPARE(lines.at(0).category, QByteArray("korvex.dashboard.files"));
    QCOMPARE(lines.at(0).file, LogCapture::sourcePath("Controllers/dashboard_common_file_controller"));
    QVERIFY(lines.at(0).line > 0);
    QVERIFY(lines.at(0).function.contains("openLabel"));
}

void tst_DashboardCommonFileController::setFavoriteWritesAndRemoves()
{
    QTemporaryDir dir;
    QVERIFY(dir.isValid());
    m_controller->records = { record("one.kxld", 0, dir.path()), record("two.kxld", 1, dir.path()) };
    m_controller->updateFileLists();
    QSignalSpy changed(m_controller.get(), &DashboardCommonFileController::favoriteChanged);

    QCOMPARE(m_controller->setFavorite(false, 1), true);
    QCOMPARE(changed.count(), 1);
    {
        auto store = DashboardSettings::openDashboardStore();
        store->beginGroup("favorites");
        QCOMPARE(store->allKeys().size(), 1);
        QCOMPARE(store->value(dir.path() + "/two.kxld").toBool(), true);
        QCOMPARE(store->value(dir.path() + "/two.kxld").toString(), QString("true"));
    }
    QVERIFY(findByName(m_controller->getSearchedLabelFilesList(), "two.kxld")->isFavorite);
    QVERIFY(findByName(m_controller->fullList(), "two.kxld")->isFavorite);

    QCOMPARE(m_controller->setFavorite(true, 1), false);
    QCOMPARE(changed.count(), 2);
    QVERIFY(favoriteKeysOnDisk().isEmpty());
    QVERIFY(!findByName(m_controller->getSearchedLabelFilesList(), "two.kxld")->isFavorite);
    QVERIFY(!findByName(m_controller->fullList(), "two.kxld")->isFavorite);
}

void tst_DashboardCommonFileController::setFavoriteUnknownIdWritesNothing()
{
    m_controller->records = { record("one.kxld", 0) };
    m_controller->updateFileLists();
    QSignalSpy changed(m_controller.get(), &DashboardCommonFileController::favoriteChanged);
    QCOMPARE(m_controller->setFavorite(false, 99), true);
    QCOMPARE(m_controller->setFavorite(true, 99), false);
    QCOMPARE(changed.count(), 0);
    QVERIFY(!QFile::exists(storeFile("KorvexPro")));
}

void tst_DashboardCommonFileController::removeFavoriteLocalAndCloud()
{
    QTemporaryDir dir;
    QVERIFY(dir.isValid());
    m_controller->records = { record("one.kxld", 0, dir.path()), record("two.kxld", 1, dir.path()) };
    m_controller->updateFileLists();
    m_controller->setFavorite(false, 0);
    m_controller->setFavorite(false, 1);
    writeCloudFavorites({ "3plan.kxld", "4plan.kxld", "5other.kxld" });
    const int updatesBefore = m_controller->updates;

    m_controller->removeFavorite(true, dir.path() + "/one.kxld", DashboardGlobal::LABEL_LOCAL);
    QCOMPARE(m_controller->updates, updatesBefore + 1);
    QCOMPARE(favoriteKeysOnDisk().size(), 1);
    QCOMPARE(cloudKeysOnDisk().size(), 3);

    // Cloud entries are addressed by location digit and file name; the folder is ignored.
    m_controller->removeFavorite(true, "/anywhere/else/plan.kxld", DashboardGlobal::LABEL_GOOGLEDRIVE);
    QCOMPARE(cloudKeysOnDisk(), QStringList({ "3plan.kxld", "5other.kxld" }));
    QCOMPARE(favoriteKeysOnDisk().size(), 1);
    m_controller->removeFavorite(true, "plan.kxld", DashboardGlobal::LABEL_DROPBOX);
    QCOMPARE(cloudKeysOnDisk(), QStringList({ "5other.kxld" }));
    QCOMPARE(m_controller->updates, updatesBefore + 3);
}

void tst_DashboardCommonFileController::removeFavoriteIgnoresDirectoriesAndEmptyKeys()
{
    QTemporaryDir dir;
    QVERIFY(dir.isValid());
    m_controller->records = { record("one.kxld", 0, dir.path()), record("two.kxld", 1, dir.path()) };
    m_controller->updateFileLists();
    m_controller->setFavorite(false, 0);
    m_controller->setFavorite(false, 1);
    for (const QString &path : { dir.path(), dir.path() + "/", QString(), QString("/"), QString("//") })
        m_controller->removeFavorite(true, path, DashboardGlobal::LABEL_LOCAL);
    QCOMPARE(favoriteKeysOnDisk().size(), 2);
}

void tst_DashboardCommonFileController::removeFavoriteNotCurrentDoesNothing()
{
    QTemporaryDir dir;
    m_controller->records = { record("one.kxld", 0, dir.path()) };
    m_controller->updateFileLists();
    m_controller->setFavorite(false, 0);
    const int updatesBefore = m_controller->updates;
    m_controller->removeFavorite(false, dir.path() + "/one.kxld", DashboardGlobal::LABEL_LOCAL);
    QCOMPARE(m_controller->updates, updatesBefore);
    QCOMPARE(favoriteKeysOnDisk().size(), 1);
}

void tst_DashboardCommonFileController::consoleLogWritesDebugLine()
{
    LogCapture log;
    m_controller->consoleLog("hello %s %d");
    const auto lines = log.linesWithMessage("hello %s %d");
    QCOMPARE(lines.size(), 1);
    QCOMPARE(lines.at(0).type, QtDebugMsg);
    QCOMPARE(lines.at(0).file, LogCapture::sourcePath("Controllers/dashboard_common_file_controller"));
    QVERIFY(lines.at(0).function.contains("consoleLog"));
}

QTEST_GUILESS_MAIN(tst_DashboardCommonFileController)
#include "tst_dashboardcommonfilecontroller.moc"
