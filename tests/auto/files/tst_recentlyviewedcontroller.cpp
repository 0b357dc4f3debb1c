#include "Controllers/recently_viewed_controller.h"
#include "files_test_util.h"
#include "log_capture.h"
#include "zone_scope.h"

#include <QRandomGenerator>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QtTest>

#include <unistd.h>

using namespace FilesTest;

namespace {

const QDateTime NOW(QDate(2024, 3, 20), QTime(12, 0));

} // namespace

class tst_RecentlyViewedController : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();

    void constructorFillsAtOnce();
    void fileViewedInThreeModules();
    void deletedFileUsesNoId();
    void directoryPathSkipped();
    void unreadableFileSkipped();
    void keysInCodeUnitOrder();
    void pathsDifferingInSeparatorAreDistinct();
    void emptyAndUnparsableDates();
    void favoriteFlag();
    void lastViewedSorts();
    void viewsAroundChangesOfOffset_data();
    void viewsAroundChangesOfOffset();
    void hostileStores();
    void largeStore();
    void nestedVariantsInStores();
    void largeWindowStateKeepsHistoryAndFavorites();

private:
    std::unique_ptr<RecentlyViewedController> make()
    {
        auto c = std::make_unique<RecentlyViewedController>();
        c->setClock([] { return NOW; });
        c->updateFileLists();
        return c;
    }
    std::unique_ptr<QTemporaryDir> m_dir;
};

void tst_RecentlyViewedController::initTestCase()
{
    QStandardPaths::setTestModeEnabled(true);
}

void tst_RecentlyViewedController::init()
{
    QVERIFY(removeStores());
    m_dir = std::make_unique<QTemporaryDir>();
    QVERIFY(m_dir->isValid());
}

void tst_RecentlyViewedController::cleanup()
{
    m_dir.reset();
}

void tst_RecentlyViewedController::constructorFillsAtOnce()
{
    QVERIFY(makeFile(m_dir->filePath("a.kxld")));
    recordView("QVLabelEditor", m_dir->filePath("a.kxld"), NOW);
    RecentlyViewedController controller;
    QCOMPARE(controller.getSortType(), DashboardGlobal::A_TO_Z);
    QCOMPARE(names(controller.getSearchedLabelFilesList()), QStringList({ "a.kxld" }));
    QSignalSpy sorted(&controller, &DashboardCommonFileController::listSorted);
    controller.updateFileLists();
    QCOMPARE(sorted.count(), 1);
}

void tst_RecentlyViewedController::fileViewedInThreeModules()
{
    const QString path = m_dir->filePath("pipe.kxpm");
    QVERIFY(makeFile(path, "x", NOW.addDays(-100)));
    recordView("PipeMarking", path, NOW.addDays(-2));
    recordView("NFPAMain", path, NOW.addDays(-1).addSecs(-3600));
    recordView("KorvexPro", path, NOW.addDays(-9));
    auto c = make();
    const auto list = c->getSearchedLabelFilesList();
    QCOMPARE(list.size(), 1);
    const DashboardFileInfoStruct r = list.first();
    QCOMPARE(r.labelFileName, QString("pipe.kxpm"));
    QCOMPARE(r.filePath, m_dir->path());
    QCOMPARE(r.accessDate, NOW.addDays(-1).addSecs(-3600));
    QCOMPARE(r.timeSinceModified, QString("one day ago"));
    QCOMPARE(r.createdDate, QFileInfo(path).birthTime());
    QCOMPARE(r.type, false);
    QCOMPARE(r.cloudEnum, 1);
    QCOMPARE(r.id, 0);
    QCOMPARE(r.isWritable, QFileInfo(path).isWritable());
}

void tst_RecentlyViewedController::deletedFileUsesNoId()
{
    for (const char *name : { "a.kxld", "b.kxld", "c.kxld" })
        QVERIFY(makeFile(m_dir->filePath(name)));
    for (const char *name : { "a.kxld", "b.kxld", "c.kxld" })
        recordView("GHS", m_dir->filePath(name), NOW);
    QVERIFY(QFile::remove(m_dir->filePath("b.kxld")));
    auto c = make();
    const auto list = c->getSearchedLabelFilesList();
    QCOMPARE(names(list), QStringList({ "a.kxld", "c.kxld" }));
    QCOMPARE(ids(list), QList<int>({ 0, 1 }));
}

void tst_RecentlyViewedController::directoryPathSkipped()
{
    QVERIFY(QDir().mkpath(m_dir->filePath("folder.kxld")));
    QVERIFY(makeFile(m_dir->filePath("file.kxld")));
    QVERIFY(QFile::link(m_dir->filePath("file.kxld"), m_dir->filePath("link.kxld")));
    QVERIFY(QFile::link(m_dir->filePath("nowhere"), m_dir->filePath("dangling.kxld")));
    writeHistory("ArcFlashMain", { { m_dir->filePath("folder.kxld"), "" },
                                   { m_dir->filePath("file.kxld"), "" },
                                   { m_dir->filePath("link.kxld"), "" },
                                   { m_dir->filePath("dangling.kxld"), "" },
                                   { "", "2024:01:01:00:00:00:000" },
                                   { "relative/none.kxld", "" } });
    auto c = make();
    QCOMPARE(names(c->getSearchedLabelFilesList()), QStringList({ "file.kxld", "link.kxld" }));
}

void tst_RecentlyViewedController::unreadableFileSkipped()
{
    QVERIFY(makeFile(m_dir->filePath("locked.kxld")));
    QVERIFY(makeFile(m_dir->filePath("open.kxld")));
    QVERIFY(QFile::setPermissions(m_dir->filePath("locked.kxld"), QFileDevice::WriteOwner));
    recordView("GHS", m_dir->filePath("locked.kxld"), NOW);
    recordView("GHS", m_dir->filePath("open.kxld"), NOW);
    auto c = make();
    QVERIFY(findByName(c->getSearchedLabelFilesList(), "open.kxld"));
    if (geteuid() == 0)
        QSKIP("Running as root: every file is readable to root, so the skip of an unreadable file "
              "cannot be observed.");
    QCOMPARE(names(c->getSearchedLabelFilesList()), QStringList({ "open.kxld" }));
}

void tst_RecentlyViewedController::keysInCodeUnitOrder()
{
    for (const char *name : { "b.kxld", "B.kxld", "a.kxld", "_x.kxld" })
        QVERIFY(makeFile(m_dir->filePath(name)));
    writeHistory("QVLabelEditor", { { m_dir->filePath("b.kxld"), "" }, { m_dir->filePath("a.kxld"), "" } });
    writeHistory("NFPAMain", { { m_dir->filePath("B.kxld"), "" }, { m_dir->filePath("_x.kxld"), "" } });
    auto c = make();
    // Ids follow the code-unit order of the full paths, whatever the display order.
    const auto list = c->getSearchedLabelFilesList();
    // A to Z lower-cases the names, so "_" (0x5F) goes before "a" and B.kxld ties with b.kxld.
    const QStringList shown = names(list);
    QCOMPARE(shown.mid(0, 2), QStringList({ "_x.kxld", "a.kxld" }));
    QCOMPARE(QSet<QString>(shown.cbegin() + 2, shown.cend()), QSet<QString>({ "B.kxld", "b.kxld" }));
    QCOMPARE(findByName(list, "B.kxld")->id, 0);
    QCOMPARE(findByName(list, "_x.kxld")->id, 1);
    QCOMPARE(findByName(list, "a.kxld")->id, 2);
    QCOMPARE(findByName(list, "b.kxld")->id, 3);
}

void tst_RecentlyViewedController::pathsDifferingInSeparatorAreDistinct()
{
    QVERIFY(makeFile(m_dir->filePath("same.kxld")));
    recordView("GHS", m_dir->filePath("same.kxld"), NOW);
    recordView("QVLabelEditor", m_dir->path() + "//same.kxld", NOW);
    recordView("NFPAMain", m_dir->path() + "/./same.kxld", NOW);
    auto c = make();
    const auto list = c->getSearchedLabelFilesList();
    QCOMPARE(list.size(), 3);
    for (const auto &r : list) {
        QCOMPARE(r.labelFileName, QString("same.kxld"));
        QCOMPARE(r.filePath, m_dir->path());
    }
}

void tst_RecentlyViewedController::emptyAndUnparsableDates()
{
    const QDateTime modified(QDate(2024, 2, 1), QTime(7, 0));
    QVERIFY(makeFile(m_dir->filePath("empty.kxld"), "x", modified));
    QVERIFY(makeFile(m_dir->filePath("bad.kxld"), "x", modified));
    QVERIFY(makeFile(m_dir->filePath("default.kxld"), "x", modified));
    writeHistory("PipeMarking", { { m_dir->filePath("empty.kxld"), "" },
                                  { m_dir->filePath("bad.kxld"), "2024-03-19 10:00" },
                                  { m_dir->filePath("default.kxld"), "1970:01:01:01:01:00:000" } });
    auto c = make();
    const auto list = c->getSearchedLabelFilesList();
    QCOMPARE(findByName(list, "empty.kxld")->accessDate, modified);
    QCOMPARE(findByName(list, "default.kxld")->accessDate, modified);
    QVERIFY(!findByName(list, "bad.kxld")->accessDate.isValid());
    QCOMPARE(findByName(list, "empty.kxld")->timeSinceModified, QString("one month ago"));
}

void tst_RecentlyViewedController::favoriteFlag()
{
    QVERIFY(makeFile(m_dir->filePath("fav.kxld")));
    QVERIFY(makeFile(m_dir->filePath("plain.kxld")));
    recordView("GHS", m_dir->filePath("fav.kxld"), NOW);
    recordView("GHS", m_dir->filePath("plain.kxld"), NOW);
    {
        auto store = DashboardSettings::openDashboardStore();
        store->setValue("favorites/" + m_dir->filePath("fav.kxld"), true);
    }
    auto c = make();
    QVERIFY(findByName(c->getSearchedLabelFilesList(), "fav.kxld")->isFavorite);
    QVERIFY(!findByName(c->getSearchedLabelFilesList(), "plain.kxld")->isFavorite);
    // Toggling from this list writes the same key the other lists read.
    QVERIFY(c->setFavorite(false, findByName(c->getSearchedLabelFilesList(), "plain.kxld")->id));
    c->updateFileLists();
    QVERIFY(findByName(c->getSearchedLabelFilesList(), "plain.kxld")->isFavorite);
    QCOMPARE(favoriteKeysOnDisk().size(), 2);
}

void tst_RecentlyViewedController::lastViewedSorts()
{
    for (int i = 0; i < 4; ++i)
        QVERIFY(makeFile(m_dir->filePath(QString("f%1.kxld").arg(i))));
    recordView("GHS", m_dir->filePath("f0.kxld"), NOW.addDays(-3));
    recordView("QVLabelEditor", m_dir->filePath("f1.kxld"), NOW.addDays(-1));
    recordView("KorvexPro", m_dir->filePath("f2.kxld"), NOW.addDays(-2));
    recordView("NFPAMain", m_dir->filePath("f3.kxld"), NOW);
    auto c = make();
    c->setSortType(DashboardGlobal::LAST_VIEWED_ASCENDING);
    c->sortLabelFilesList();
    QCOMPARE(names(c->getSearchedLabelFilesList()), QStringList({ "f3.kxld", "f1.kxld", "f2.kxld", "f0.kxld" }));
    c->setSortType(DashboardGlobal::LAST_VIEWED_DESCENDING);
    c->sortLabelFilesList();
    QCOMPARE(names(c->getSearchedLabelFilesList()), QStringList({ "f0.kxld", "f2.kxld", "f1.kxld", "f3.kxld" }));
}

void tst_RecentlyViewedController::viewsAroundChangesOfOffset_data()
{
    QTest::addColumn<QByteArray>("zone");
    QTest::addColumn<int>("year");
    KORVEX_ZONE_ROWS(2024);
}

void tst_RecentlyViewedController::viewsAroundChangesOfOffset()
{
    QFETCH(QByteArray, zone);
    QFETCH(int, year);
    const ZoneScope scope(zone);
    // Views every 10 minutes of the wall clock from 22:00 before each change of offset to
    // 06:00 after it (the first of July where the year has none), one file each.
    QList<QDate> days = offsetChangeDays(year);
    if (days.isEmpty())
        days << QDate(year, 7, 1);
    const QString format = FileControllerTools::DATE_FORMAT;
    QList<std::pair<QString, QString>> entries;
    for (const QDate &day : std::as_const(days)) {
        const QDateTime midnight(day, QTime(0, 0), Qt::UTC);
        for (int minute = -120; minute < 6 * 60; minute += 10) {
            const QString text = midnight.addSecs(minute * 60).toString(format);
            const QString path = m_dir->filePath(QString(text).replace(u':', u'-') + ".kxld");
            QVERIFY(makeFile(path));
            entries.append({ path, text });
        }
    }
    writeHistory("PipeMarking", entries);

    for (const QDate &before : { QDate(year, 1, 15), QDate(year, 7, 15) }) {
        convertLocalTime(before);
        auto c = make();
        const auto list = c->getSearchedLabelFilesList();
        QCOMPARE(list.size(), entries.size());
        for (const auto &[path, text] : std::as_const(entries)) {
            const DashboardFileInfoStruct *r = findByName(list, QFileInfo(path).fileName());
            QVERIFY(r);
            const QDateTime expected = QDateTime::fromString(text, format);
            // A time skipped by the clock is no date.
            QVERIFY2(r->accessDate.isValid() == expected.isValid(), qPrintable(text));
            if (expected.isValid()) {
                QVERIFY2(r->accessDate == expected.toUTC(),
                         qPrintable(text + " shown as " + r->accessDate.toString(Qt::ISODateWithMs)));
            }
        }
    }
}

void tst_RecentlyViewedController::hostileStores()
{
    for (const char *name : { "ok1.kxld", "ok2.kxld", "cut.kxld", "gone.kxld" })
        QVERIFY(makeFile(m_dir->filePath(name)));
    recordView("QVLabelEditor", m_dir->filePath("ok1.kxld"), NOW);
    recordView("KorvexPro", m_dir->filePath("ok2.kxld"), NOW);

    // Truncated in the middle of an entry.
    writeHistory("GHS", { { m_dir->filePath("cut.kxld"), historyText(NOW) }, { m_dir->filePath("gone.kxld"), historyText(NOW) } });
    QFile ghs(storeFile("GHS"));
    QVERIFY(ghs.open(QIODevice::ReadOnly));
    const QByteArray full = ghs.readAll();
    ghs.close();
    const int cut = full.indexOf("2\\path=") + 12;
    QVERIFY(cut > 12);
    QVERIFY(makeFile(storeFile("GHS"), full.left(cut)));

    // Binary garbage, with bytes that look like INI syntax.
    QByteArray garbage(256 * 1024, '\0');
    QRandomGenerator rng(11);
    const char syntax[] = "[]=\\/\n\r\"@%,;#";
    for (char &ch : garbage)
        ch = rng.bounded(4) == 0 ? syntax[rng.bounded(int(sizeof syntax - 1))] : char(rng.bounded(256));
    QVERIFY(makeFile(storeFile("NFPAMain"), garbage));
    QVERIFY(makeFile(storeFile("ArcFlashMain"), "[fileHistory]\nsize=999999999\n1\\path=@Variant(\\0\\0\\0\\x7f\\0\\0\\0\\x6QBitmap)\n"));
    QVERIFY(makeFile(storeFile("PipeMarking"), QByteArray("[fileHistory\n1\\path=") + QFile::encodeName(m_dir->filePath("gone.kxld"))));

    auto c = make();
    const QStringList shown = names(c->getSearchedLabelFilesList());
    QVERIFY(shown.contains("ok1.kxld"));
    QVERIFY(shown.contains("ok2.kxld"));
    QVERIFY(!shown.contains("gone.kxld"));
    QCOMPARE(shown.size(), shown.contains("cut.kxld") ? 3 : 2);
}

void tst_RecentlyViewedController::largeStore()
{
    QVERIFY(makeFile(m_dir->filePath("one.kxld")));
    QVERIFY(makeFile(m_dir->filePath("two.kxld")));
    recordView("QVLabelEditor", m_dir->filePath("one.kxld"), NOW);
    recordView("GHS", m_dir->filePath("two.kxld"), NOW);
    {
        QFile f(storeFile("GHS"));
        QVERIFY(f.open(QIODevice::Append));
        const QByteArray line = "=" + QByteArray(2000, 'v') + "\n";
        f.write("[padding]\n");
        for (qint64 i = 0; f.size() < 50 * 1024 * 1024; ++i)
            f.write("k" + QByteArray::number(i) + line);
    }
    QVERIFY(QFileInfo(storeFile("GHS")).size() >= 50 * 1024 * 1024);
    auto c = make();
    QCOMPARE(names(c->getSearchedLabelFilesList()), QStringList({ "one.kxld", "two.kxld" }));
}

void tst_RecentlyViewedController::nestedVariantsInStores()
{
    QVERIFY(makeFile(m_dir->filePath("safe.kxld")));
    QVERIFY(makeFile(m_dir->filePath("hostile.kxld")));
    recordView("QVLabelEditor", m_dir->filePath("safe.kxld"), NOW);
    recordView("GHS", m_dir->filePath("hostile.kxld"), NOW);
    recordView("NFPAMain", m_dir->filePath("hostile.kxld"), NOW);
    // Another program's store, with a payload in a section the dashboard never reads, and one
    // in the history itself.
    QFile ghs(storeFile("GHS"));
    QVERIFY(ghs.open(QIODevice::Append));
    ghs.write("[moduleState]\nlayout=" + nestedVariantValue(100000) + "\n");
    ghs.close();
    QFile nfpa(storeFile("NFPAMain"));
    QVERIFY(nfpa.open(QIODevice::Append));
    nfpa.write("[fileHistory]\n2\\path=" + nestedVariantValue(100000) + "\n");
    nfpa.close();
    const QByteArray ghsBefore = [] { QFile f(storeFile("GHS")); f.open(QIODevice::ReadOnly); return f.readAll(); }();

    LogCapture log;
    auto c = make();
    log.clear();
    c->updateFileLists();
    QCOMPARE(names(c->getSearchedLabelFilesList()), QStringList({ "safe.kxld" }));
    int ignored = 0;
    for (const QString &m : log.messages())
        ignored += m.startsWith("Ignoring settings store ") ? 1 : 0;
    QCOMPARE(ignored, 2);
    const QByteArray ghsAfter = [] { QFile f(storeFile("GHS")); f.open(QIODevice::ReadOnly); return f.readAll(); }();
    QCOMPARE(ghsAfter, ghsBefore);

    // The dashboard's own store: favourites are neither read nor written, and nothing breaks.
    QFile dashboard(storeFile("KorvexPro"));
    QVERIFY(dashboard.open(QIODevice::Append));
    dashboard.write("[favorites]\n" + QFile::encodeName(m_dir->filePath("safe.kxld")).replace('/', '\\')
                    + "=true\n[window]\ngeometry=" + nestedVariantValue(100000) + "\n");
    dashboard.close();
    c->updateFileLists();
    QCOMPARE(names(c->getSearchedLabelFilesList()), QStringList({ "safe.kxld" }));
    QVERIFY(!c->getSearchedLabelFilesList().first().isFavorite);
    // The favourite cannot be stored, so it is refused rather than shown as set.
    QSignalSpy changed(c.get(), &DashboardCommonFileController::favoriteChanged);
    QCOMPARE(c->setFavorite(false, c->getSearchedLabelFilesList().first().id), false);
    QCOMPARE(changed.count(), 0);
    QVERIFY(!c->getSearchedLabelFilesList().first().isFavorite);
    const QByteArray dashboardBefore = [] { QFile f(storeFile("KorvexPro")); f.open(QIODevice::ReadOnly); return f.readAll(); }();
    c->removeFavorite(true, m_dir->filePath("safe.kxld"), DashboardGlobal::LABEL_LOCAL);
    const QByteArray dashboardAfter = [] { QFile f(storeFile("KorvexPro")); f.open(QIODevice::ReadOnly); return f.readAll(); }();
    QCOMPARE(dashboardAfter, dashboardBefore);
}

void tst_RecentlyViewedController::largeWindowStateKeepsHistoryAndFavorites()
{
    QVERIFY(makeFile(m_dir->filePath("module.kxld")));
    QVERIFY(makeFile(m_dir->filePath("dashboard.kxld")));
    recordView("GHS", m_dir->filePath("module.kxld"), NOW);
    recordView("KorvexPro", m_dir->filePath("dashboard.kxld"), NOW.addDays(-1));
    // What a module (and the dashboard) saves of its window: 64 KiB of state, through QSettings.
    QByteArray state(64 * 1024, '\0');
    for (int i = 0; i < state.size(); ++i)
        state[i] = char((i * 7919) >> 3);
    for (const char *app : { "GHS", "KorvexPro" }) {
        auto store = DashboardSettings::openStore(app);
        store->setValue("window/state", state);
        store->setValue("window/layout", QVariantMap{ { "panels", QVariantList{ 1, 2, 3 } }, { "state", state } });
    }
    QVERIFY(QFileInfo(storeFile("GHS")).size() > 128 * 1024);

    auto c = make();
    QCOMPARE(names(c->getSearchedLabelFilesList()), QStringList({ "dashboard.kxld", "module.kxld" }));
    QSignalSpy changed(c.get(), &DashboardCommonFileController::favoriteChanged);
    const int id = findByName(c->getSearchedLabelFilesList(), "module.kxld")->id;
    QCOMPARE(c->setFavorite(false, id), true);
    QCOMPARE(changed.count(), 1);
    QVERIFY(findByName(c->getSearchedLabelFilesList(), "module.kxld")->isFavorite);
    QCOMPARE(favoriteKeysOnDisk().size(), 1);
    c->updateFileLists();
    QVERIFY(findByName(c->getSearchedLabelFilesList(), "module.kxld")->isFavorite);
    // The window state is still there, unchanged.
    QCOMPARE(DashboardSettings::openStore("KorvexPro")->value("window/state").toByteArray(), state);
}

QTEST_GUILESS_MAIN(tst_RecentlyViewedController)
#include "tst_recentlyviewedcontroller.moc"
