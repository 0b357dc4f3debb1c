#include "Controllers/my_labels_controller.h"
#include "files_test_util.h"
#include "zone_scope.h"

#include <QDirIterator>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QtTest>

#include <atomic>
#include <thread>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace FilesTest;

namespace {

const QDateTime NOW(QDate(2024, 3, 20), QTime(12, 0));

bool makeNativeFile(const QByteArray &path)
{
    const int fd = ::open(path.constData(), O_CREAT | O_WRONLY, 0644);
    if (fd < 0)
        return false;
    ::close(fd);
    return true;
}

} // namespace

class tst_MyLabelsController : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();

    void defaultRootUnderPlatformRoot();
    void createsLabelFolderUnderPublicDocuments();
    void createsNothingWithoutPublicDocuments();
    void existingLabelFolderIsLeftAlone();

    void listsLabelFilesAndFolders();
    void recordFields();
    void listingOrderGivesIds();
    void historyAndFavoritesMarkRecords();
    void unparsableHistoryDateBecomesAccessDate();
    void viewsAroundChangesOfOffset_data();
    void viewsAroundChangesOfOffset();
    void favoriteWithAbsolutePathRoundTrips_data();
    void favoriteWithAbsolutePathRoundTrips();
    void prependFoldersOrderAndIdempotence();
    void enterAndExitThreeLevels();
    void exitFolderAtRootStaysAtRoot();
    void enterMissingFolderKeepsLists();

    void rootSearchOneMatchPerDirectory();
    void rootSearchWalksWithoutSuffixFilter();
    void rootSearchIdsKeepCounting();
    void subFolderSearch();
    void emptySearchAfterSearchShowsFolderFiles();
    void isLabelInListComparesDirectories();
    void rootSearchWalksLikeQDirIterator();
    void searchWithRootEndingInSeparator_data();
    void searchWithRootEndingInSeparator();

    void symlinkLoop();
    void unreadableSubFolders();
    void nonUtf8Names();
    void filesVanishingDuringWalks();
    void treeTwoHundredLevelsDeep();

private:
    std::unique_ptr<QTemporaryDir> m_platformRoot;
    std::unique_ptr<TestableMyLabels> m_controller;
    QString m_root;
};

void tst_MyLabelsController::initTestCase()
{
    QStandardPaths::setTestModeEnabled(true);
}

void tst_MyLabelsController::init()
{
    QVERIFY(removeStores());
    m_platformRoot = std::make_unique<QTemporaryDir>();
    QVERIFY(m_platformRoot->isValid());
    QVERIFY(QDir().mkpath(m_platformRoot->filePath("Users/Public/Documents")));
    m_controller = std::make_unique<TestableMyLabels>(m_platformRoot->path() + "/");
    m_controller->setClock([] { return NOW; });
    m_root = m_controller->getCurrentFolder();
}

void tst_MyLabelsController::cleanup()
{
    m_controller.reset();
    m_platformRoot.reset();
}

void tst_MyLabelsController::defaultRootUnderPlatformRoot()
{
    const bool hadUsers = QFileInfo::exists(QDir::rootPath() + "Users");
    MyLabelsController controller;
    QCOMPARE(controller.getCurrentFolder(),
             QDir::rootPath() + "Users/Public/Documents/KorvexPro/users/guest/mylabels");
    QCOMPARE(controller.defaultRootFolder(), controller.getCurrentFolder());
    QCOMPARE(QFileInfo::exists(QDir::rootPath() + "Users"), hadUsers);
}

void tst_MyLabelsController::createsLabelFolderUnderPublicDocuments()
{
    const QString expected = m_platformRoot->path() + "/Users/Public/Documents/KorvexPro/users/guest/mylabels";
    QCOMPARE(m_root, expected);
    QCOMPARE(m_controller->rootFolder(), expected);
    QVERIFY(QFileInfo(expected).isDir());
}

void tst_MyLabelsController::createsNothingWithoutPublicDocuments()
{
    QTemporaryDir bare;
    QVERIFY(QDir().mkpath(bare.filePath("Users/Public")));
    TestableMyLabels controller(bare.path() + "/");
    QCOMPARE(QDir(bare.filePath("Users/Public")).entryList(QDir::AllEntries | QDir::NoDotAndDotDot), QStringList());
    QSignalSpy sorted(&controller, &DashboardCommonFileController::listSorted);
    controller.updateFileLists();
    QVERIFY(controller.getSearchedLabelFilesList().isEmpty());
    controller.setSearchString("label");
    controller.searchLabelFileList();
    QVERIFY(controller.getSearchedLabelFilesList().isEmpty());
    QCOMPARE(sorted.count(), 2);
    controller.ensureDefaultDirExists();
    QCOMPARE(QDir(bare.filePath("Users/Public")).entryList(QDir::AllEntries | QDir::NoDotAndDotDot), QStringList());
}

void tst_MyLabelsController::existingLabelFolderIsLeftAlone()
{
    QVERIFY(makeFile(m_root + "/keep.kxld"));
    TestableMyLabels again(m_platformRoot->path() + "/");
    QVERIFY(QFile::exists(m_root + "/keep.kxld"));
    again.updateFileLists();
    QCOMPARE(names(again.getSearchedLabelFilesList()), QStringList({ "keep.kxld" }));
}

void tst_MyLabelsController::listsLabelFilesAndFolders()
{
    QVERIFY(makeFile(m_root + "/a.kxld"));
    QVERIFY(makeFile(m_root + "/b.KXLT"));
    QVERIFY(makeFile(m_root + "/c.txt"));
    QVERIFY(makeFile(m_root + "/.hidden.kxld"));
    QVERIFY(QDir(m_root).mkdir("old"));
    QVERIFY(QDir(m_root).mkdir(".cache"));
    QSignalSpy sorted(m_controller.get(), &DashboardCommonFileController::listSorted);
    m_controller->updateFileLists();
    QCOMPARE(sorted.count(), 1);
    const auto files = m_controller->getSearchedLabelFilesList();
    QCOMPARE(names(files), QStringList({ "a.kxld", "b.KXLT" }));
    QCOMPARE(ids(files), QList<int>({ 0, 1 }));
    QCOMPARE(m_controller->fullList(), files);

    m_controller->prependFolders();
    const auto shown = m_controller->getSearchedLabelFilesList();
    QCOMPARE(shown.size(), 3);
    const DashboardFileInfoStruct &folder = shown.first();
    QCOMPARE(folder.labelFileName, QString("old"));
    QCOMPARE(folder.filePath, m_root);
    QCOMPARE(folder.type, true);
    QCOMPARE(folder.id, -1);
    QVERIFY(!folder.accessDate.isValid());
    QVERIFY(!folder.createdDate.isValid());
    QVERIFY(folder.timeSinceModified.isEmpty());
    QVERIFY(folder.timeSinceCreated.isEmpty());
}

void tst_MyLabelsController::recordFields()
{
    const QDateTime modified(QDate(2024, 3, 15), QTime(8, 30));
    QVERIFY(makeFile(m_root + "/plan.kxpm", "x", modified));
    m_controller->updateFileLists();
    const auto list = m_controller->getSearchedLabelFilesList();
    QCOMPARE(list.size(), 1);
    const DashboardFileInfoStruct &r = list.first();
    const QFileInfo info(m_root + "/plan.kxpm");
    QCOMPARE(r.labelFileName, QString("plan.kxpm"));
    QCOMPARE(r.filePath, m_root);
    QCOMPARE(r.isWritable, info.isWritable());
    QCOMPARE(r.isFavorite, false);
    QCOMPARE(r.type, false);
    QCOMPARE(r.cloudEnum, 1);
    QCOMPARE(r.accessDate, modified); // never viewed: modification time
    QCOMPARE(r.createdDate, info.birthTime());
    QCOMPARE(r.timeSinceModified, QString("5 days ago"));
    QCOMPARE(r.timeSinceCreated, m_controller->calculateTimeSince(info.birthTime()));
    QCOMPARE(r.selected, false);
}

void tst_MyLabelsController::listingOrderGivesIds()
{
    for (const char *name : { "c.kxld", "B.kxld", "a.kxld", "D.kxam" })
        QVERIFY(makeFile(m_root + "/" + name));
    m_controller->setSortType(DashboardGlobal::Z_TO_A);
    m_controller->updateFileLists();
    const auto list = m_controller->getSearchedLabelFilesList();
    QCOMPARE(names(list), QStringList({ "D.kxam", "c.kxld", "B.kxld", "a.kxld" }));
    QCOMPARE(ids(list), QList<int>({ 3, 2, 1, 0 })); // ids follow the case-insensitive listing
}

void tst_MyLabelsController::historyAndFavoritesMarkRecords()
{
    const QDateTime modified(QDate(2024, 1, 1), QTime(8, 0));
    for (const char *name : { "viewed.kxld", "never.kxld", "emptydate.kxld", "fav.kxld" })
        QVERIFY(makeFile(m_root + "/" + name, "x", modified));
    const QDateTime viewed(QDate(2024, 3, 19), QTime(23, 59));
    recordView("NFPAMain", m_root + "/viewed.kxld", viewed.addDays(-3));
    recordView("QVLabelEditor", m_root + "/viewed.kxld", viewed);
    writeHistory("GHS", { { m_root + "/emptydate.kxld", "" } });
    {
        auto store = DashboardSettings::openDashboardStore();
        store->setValue("favorites/" + m_root + "/fav.kxld", true);
        store->setValue("favorites/" + m_root + "/FAV.kxld", true); // case matters
    }
    m_controller->updateFileLists();
    const auto list = m_controller->getSearchedLabelFilesList();
    QCOMPARE(findByName(list, "viewed.kxld")->accessDate, viewed);
    QCOMPARE(findByName(list, "viewed.kxld")->timeSinceModified, QString("one day ago"));
    QCOMPARE(findByName(list, "never.kxld")->accessDate, modified);
    QCOMPARE(findByName(list, "emptydate.kxld")->accessDate, modified);
    QVERIFY(findByName(list, "fav.kxld")->isFavorite);
    QVERIFY(!findByName(list, "viewed.kxld")->isFavorite);

    m_controller->setSortType(DashboardGlobal::LAST_VIEWED_ASCENDING);
    m_controller->sortLabelFilesList();
    QCOMPARE(m_controller->getSearchedLabelFilesList().first().labelFileName, QString("viewed.kxld"));
}

void tst_MyLabelsController::unparsableHistoryDateBecomesAccessDate()
{
    QVERIFY(makeFile(m_root + "/odd.kxld", "x", QDateTime(QDate(2024, 1, 1), QTime(8, 0))));
    writeHistory("ArcFlashMain", { { m_root + "/odd.kxld", "not a date" } });
    m_controller->updateFileLists();
    const auto r = m_controller->getSearchedLabelFilesList().first();
    QVERIFY(!r.accessDate.isValid());
    QCOMPARE(r.timeSinceModified, QString());
}

void tst_MyLabelsController::viewsAroundChangesOfOffset_data()
{
    QTest::addColumn<QByteArray>("zone");
    QTest::addColumn<int>("year");
    KORVEX_ZONE_ROWS(2024);
}

void tst_MyLabelsController::viewsAroundChangesOfOffset()
{
    QFETCH(QByteArray, zone);
    QFETCH(int, year);
    const ZoneScope scope(zone);
    // Two modules viewed each file ten minutes apart on the wall clock, from 22:00 before each
    // change of offset to 06:00 after it (the first of July where the year has none).
    QList<QDate> days = offsetChangeDays(year);
    if (days.isEmpty())
        days << QDate(year, 7, 1);
    const QString format = FileControllerTools::DATE_FORMAT;
    const QDateTime modified(QDate(year - 1, 6, 1), QTime(8, 0));
    QList<std::pair<QString, QString>> early;
    QList<std::pair<QString, QString>> late;
    QMap<QString, QDateTime> expected;
    for (const QDate &day : std::as_const(days)) {
        const QDateTime midnight(day, QTime(0, 0), Qt::UTC);
        for (int minute = -120; minute < 6 * 60; minute += 10) {
            const QString first = midnight.addSecs(minute * 60).toString(format);
            const QString second = midnight.addSecs(minute * 60 + 600).toString(format);
            const QString name = QString(first).replace(u':', u'-') + ".kxld";
            QVERIFY(makeFile(m_root + "/" + name, "x", modified));
            early.append({ m_root + "/" + name, first });
            late.append({ m_root + "/" + name, second });
            const QDateTime a = QDateTime::fromString(first, format);
            const QDateTime b = QDateTime::fromString(second, format);
            // The later of the two views; a skipped time is no date and loses to any date.
            expected.insert(name, !b.isValid() || (a.isValid() && a > b) ? a : b);
        }
    }
    writeHistory("GHS", early);
    writeHistory("QVLabelEditor", late);

    for (const QDate &before : { QDate(year, 1, 15), QDate(year, 7, 15) }) {
        convertLocalTime(before);
        m_controller->updateFileLists();
        const auto list = m_controller->getSearchedLabelFilesList();
        for (auto it = expected.cbegin(); it != expected.cend(); ++it) {
            const DashboardFileInfoStruct *r = findByName(list, it.key());
            QVERIFY(r);
            const QDateTime want = it.value().isValid() ? it.value().toUTC() : QDateTime();
            QVERIFY2(r->accessDate.toUTC() == want || (!want.isValid() && !r->accessDate.isValid()),
                     qPrintable(it.key() + " shown as " + r->accessDate.toUTC().toString(Qt::ISODateWithMs)
                                + " instead of " + want.toString(Qt::ISODateWithMs)));
        }
    }
}

void tst_MyLabelsController::favoriteWithAbsolutePathRoundTrips_data()
{
    QTest::addColumn<QString>("folder");
    QTest::addColumn<QString>("name");
    QTest::newRow("plain") << QString() << "star.kxld";
    QTest::newRow("sub-folders") << "a/b c/d" << "star.kxld";
    QTest::newRow("unicode and punctuation") << "ü ñ" << "Plan ü, [1]=2;#%.kxld";
    QTest::newRow("backslash in name") << QString() << "back\\slash.kxld";
    QTest::newRow("leading at") << QString() << "@Variant(x).kxld";
    QTest::newRow("percent and spaces") << "%41 x" << " lead %2F trail .kxld";
}

void tst_MyLabelsController::favoriteWithAbsolutePathRoundTrips()
{
    QFETCH(QString, folder);
    QFETCH(QString, name);
    const QString dir = folder.isEmpty() ? m_root : m_root + "/" + folder;
    QVERIFY(m_root.startsWith('/'));
    QVERIFY(makeFile(dir + "/" + name));
    QVERIFY(makeFile(dir + "/other.kxld"));
    m_controller->setRootFolder(dir);
    m_controller->updateFileLists();
    const int id = findByName(m_controller->getSearchedLabelFilesList(), name)->id;
    QVERIFY(m_controller->setFavorite(false, id));

    TestableMyLabels fresh(m_platformRoot->path() + "/");
    fresh.setRootFolder(dir);
    fresh.updateFileLists();
    QVERIFY(findByName(fresh.getSearchedLabelFilesList(), name)->isFavorite);
    QVERIFY(!findByName(fresh.getSearchedLabelFilesList(), "other.kxld")->isFavorite);

    m_controller->removeFavorite(true, dir + "/" + name, DashboardGlobal::LABEL_LOCAL);
    QVERIFY(favoriteKeysOnDisk().isEmpty());
    QVERIFY(!findByName(m_controller->getSearchedLabelFilesList(), name)->isFavorite);
}

void tst_MyLabelsController::prependFoldersOrderAndIdempotence()
{
    for (const char *dir : { "alpha", "Beta", "gamma" })
        QVERIFY(QDir(m_root).mkdir(dir));
    QVERIFY(makeFile(m_root + "/z.kxld"));
    QVERIFY(makeFile(m_root + "/y.kxld"));
    m_controller->updateFileLists();
    QCOMPARE(names(m_controller->getSearchedLabelFilesList()), QStringList({ "y.kxld", "z.kxld" }));
    m_controller->prependFolders();
    const QStringList expected = { "gamma", "Beta", "alpha", "y.kxld", "z.kxld" };
    QCOMPARE(names(m_controller->getSearchedLabelFilesList()), expected);
    m_controller->prependFolders();
    QCOMPARE(names(m_controller->getSearchedLabelFilesList()), expected);
    // A search rebuilds the list from the files alone.
    m_controller->searchLabelFileList();
    QCOMPARE(names(m_controller->getSearchedLabelFilesList()), QStringList({ "y.kxld", "z.kxld" }));
}

void tst_MyLabelsController::enterAndExitThreeLevels()
{
    QVERIFY(makeFile(m_root + "/top.kxld"));
    QVERIFY(makeFile(m_root + "/one/first.kxld"));
    QVERIFY(makeFile(m_root + "/one/two/second.kxld"));
    QVERIFY(makeFile(m_root + "/one/two/three/third.kxld"));
    m_controller->updateFileLists();

    m_controller->enterFolder("one");
    QCOMPARE(m_controller->getCurrentFolder(), m_root + "/one");
    QCOMPARE(names(m_controller->getSearchedLabelFilesList()), QStringList({ "first.kxld" }));
    m_controller->enterFolder("two");
    m_controller->enterFolder("three");
    QCOMPARE(m_controller->getCurrentFolder(), m_root + "/one/two/three");
    QCOMPARE(names(m_controller->getSearchedLabelFilesList()), QStringList({ "third.kxld" }));
    QCOMPARE(m_controller->getSearchedLabelFilesList().first().filePath, m_root + "/one/two/three");

    QCOMPARE(m_controller->exitFolder("one/two/three"), QString("one/two"));
    QCOMPARE(m_controller->getCurrentFolder(), m_root + "/one/two");
    QCOMPARE(names(m_controller->getSearchedLabelFilesList()), QStringList({ "second.kxld" }));
    QCOMPARE(m_controller->exitFolder("one/two"), QString("one"));
    QCOMPARE(m_controller->getCurrentFolder(), m_root + "/one");
    // Root plus one level: back at the root, and the caller is told so with "".
    QCOMPARE(m_controller->exitFolder("one"), QString());
    QCOMPARE(m_controller->getCurrentFolder(), m_root);
    QCOMPARE(names(m_controller->getSearchedLabelFilesList()), QStringList({ "top.kxld" }));
}

void tst_MyLabelsController::exitFolderAtRootStaysAtRoot()
{
    QVERIFY(makeFile(m_root + "/top.kxld"));
    m_controller->updateFileLists();
    QCOMPARE(m_controller->exitFolder("anything/at/all"), QString());
    QCOMPARE(m_controller->getCurrentFolder(), m_root);
    QCOMPARE(names(m_controller->getSearchedLabelFilesList()), QStringList({ "top.kxld" }));
}

void tst_MyLabelsController::enterMissingFolderKeepsLists()
{
    QVERIFY(makeFile(m_root + "/top.kxld"));
    m_controller->updateFileLists();
    m_controller->enterFolder("missing");
    QCOMPARE(m_controller->getCurrentFolder(), m_root + "/missing");
    QCOMPARE(names(m_controller->getSearchedLabelFilesList()), QStringList({ "top.kxld" }));
}

void tst_MyLabelsController::rootSearchOneMatchPerDirectory()
{
    QVERIFY(makeFile(m_root + "/d1/label1.kxld"));
    QVERIFY(makeFile(m_root + "/d1/label2.kxld"));
    QVERIFY(makeFile(m_root + "/d2/label.txt"));
    QVERIFY(makeFile(m_root + "/d3/other.kxld"));
    m_controller->updateFileLists();
    m_controller->setSearchString("LaBeL");
    QSignalSpy sorted(m_controller.get(), &DashboardCommonFileController::listSorted);
    m_controller->searchLabelFileList();
    QCOMPARE(sorted.count(), 1);
    const auto list = m_controller->getSearchedLabelFilesList();
    QCOMPARE(list.size(), 2);
    QVERIFY(findByName(list, "label.txt"));
    QCOMPARE(findByName(list, "label.txt")->filePath, m_root + "/d2");
    const bool one = findByName(list, "label1.kxld") != nullptr;
    const bool two = findByName(list, "label2.kxld") != nullptr;
    QVERIFY(one != two);
    QVERIFY(m_controller->IsLabelInList(m_root + "/d1"));
    QVERIFY(!m_controller->IsLabelInList(m_root + "/d3"));
}

void tst_MyLabelsController::rootSearchWalksWithoutSuffixFilter()
{
    QVERIFY(makeFile(m_root + "/notes.TXT"));
    QVERIFY(makeFile(m_root + "/a/b/c/readme"));
    QVERIFY(makeFile(m_root + "/a/b/.hidden_e"));
    QVERIFY(QDir().mkpath(m_root + "/a/dir_e"));
    m_controller->updateFileLists();
    QVERIFY(m_controller->getSearchedLabelFilesList().isEmpty());
    m_controller->setSearchString("E");
    m_controller->searchLabelFileList();
    auto found = names(m_controller->getSearchedLabelFilesList());
    found.sort();
    // Files of any kind match; directories and hidden entries do not.
    QCOMPARE(found, QStringList({ "notes.TXT", "readme" }));
    const auto readme = *findByName(m_controller->getSearchedLabelFilesList(), "readme");
    QCOMPARE(readme.filePath, m_root + "/a/b/c");
    QCOMPARE(readme.type, false);
    QCOMPARE(readme.accessDate, QFileInfo(m_root + "/a/b/c/readme").lastModified());
}

void tst_MyLabelsController::rootSearchIdsKeepCounting()
{
    QVERIFY(makeFile(m_root + "/x_label.kxld"));
    QVERIFY(makeFile(m_root + "/y_label.kxld"));
    QVERIFY(makeFile(m_root + "/sub/label.kxld"));
    m_controller->updateFileLists();
    QCOMPARE(ids(m_controller->getSearchedLabelFilesList()), QList<int>({ 0, 1 }));
    m_controller->setSearchString("label");
    m_controller->searchLabelFileList();
    const auto first = m_controller->getSearchedLabelFilesList();
    QCOMPARE(first.size(), 2); // one of the root's two, and sub's
    // Three matches were met, so three ids were used, after the two of the listing.
    const QList<int> firstIdList = ids(first);
    const QSet<int> firstIds(firstIdList.begin(), firstIdList.end());
    QCOMPARE(firstIds.size(), 2);
    for (int id : firstIds)
        QVERIFY(id >= 2 && id <= 4);
    m_controller->searchLabelFileList();
    for (int id : ids(m_controller->getSearchedLabelFilesList()))
        QVERIFY(id >= 5 && id <= 7);

    // Ids found by a search address the records found.
    QSignalSpy launch(m_controller.get(), &DashboardCommonFileController::launchLabelInModule);
    const auto sub = *findByName(m_controller->getSearchedLabelFilesList(), "label.kxld");
    m_controller->openLabel(sub.id);
    QCOMPARE(launch.count(), 1);
    QCOMPARE(launch.at(0).at(1).toString(), m_root + "/sub/label.kxld");
}

void tst_MyLabelsController::subFolderSearch()
{
    QVERIFY(makeFile(m_root + "/sub/Label_a.kxld"));
    QVERIFY(makeFile(m_root + "/sub/label_b.kxld"));
    QVERIFY(makeFile(m_root + "/sub/other.kxld"));
    QVERIFY(makeFile(m_root + "/sub/deep/label_deep.kxld"));
    QVERIFY(makeFile(m_root + "/sub/deep/label_deep2.kxld"));
    QVERIFY(makeFile(m_root + "/sub/deep/deeper/label.txt"));
    QVERIFY(makeFile(m_root + "/sub/second/nothing.kxld"));
    QVERIFY(makeFile(m_root + "/elsewhere/label_far.kxld"));
    m_controller->updateFileLists();
    m_controller->enterFolder("sub");
    m_controller->setSearchString("LABEL");
    m_controller->searchLabelFileList();
    auto found = names(m_controller->getSearchedLabelFilesList());
    found.sort();
    QCOMPARE(found.size(), 4);
    QCOMPARE(found.mid(0, 2), QStringList({ "Label_a.kxld", "label.txt" }));
    QVERIFY(found.contains("label_deep.kxld") != found.contains("label_deep2.kxld"));
    QVERIFY(found.contains("label_b.kxld"));
    // Without sub-folders only the current folder's own files are searched.
    m_controller->enterFolder("deep");
    m_controller->enterFolder("deeper");
    m_controller->searchLabelFileList();
    QVERIFY(m_controller->getSearchedLabelFilesList().isEmpty()); // label.txt is no label file
}

void tst_MyLabelsController::emptySearchAfterSearchShowsFolderFiles()
{
    QVERIFY(makeFile(m_root + "/a.kxld"));
    QVERIFY(makeFile(m_root + "/sub/a_label.kxld"));
    m_controller->updateFileLists();
    m_controller->setSearchString("a");
    m_controller->searchLabelFileList();
    QCOMPARE(m_controller->getSearchedLabelFilesList().size(), 2);
    m_controller->setSearchString(QString());
    m_controller->searchLabelFileList();
    QCOMPARE(names(m_controller->getSearchedLabelFilesList()), QStringList({ "a.kxld" }));
}

void tst_MyLabelsController::isLabelInListComparesDirectories()
{
    QVERIFY(makeFile(m_root + "/a.kxld"));
    m_controller->updateFileLists();
    QVERIFY(m_controller->IsLabelInList(m_root));
    QVERIFY(!m_controller->IsLabelInList(m_root + "/a.kxld"));
    QVERIFY(!m_controller->IsLabelInList(m_root.toUpper()));
    QVERIFY(!m_controller->IsLabelInList(m_root + "/"));
}

void tst_MyLabelsController::rootSearchWalksLikeQDirIterator()
{
    // Many matches per directory, so the first one met decides; links, hidden entries and
    // special files of every kind.
    for (int d = 0; d < 6; ++d)
        for (int f = 0; f < 12; ++f)
            QVERIFY(makeFile(m_root + QString("/d%1/sub%2/match_%3.kxld").arg(d).arg(f % 3).arg(f)));
    QVERIFY(makeFile(m_root + "/.hidden_dir/match_hidden.kxld"));
    QVERIFY(makeFile(m_root + "/d0/.match_hidden.kxld"));
    QVERIFY(makeFile(m_root + "/other/plain.kxld"));
    QVERIFY(QFile::link(m_root + "/d1/sub0/match_0.kxld", m_root + "/other/match_link.kxld"));
    QVERIFY(QFile::link(m_root + "/d2", m_root + "/other/match_dirlink"));
    QVERIFY(QFile::link(m_root + "/nowhere", m_root + "/other/match_broken.kxld"));
    QVERIFY(::mkfifo(QFile::encodeName(m_root + "/d3/match_fifo").constData(), 0644) == 0);
    QVERIFY(QFile::link(m_root + "/d3/match_fifo", m_root + "/d4/match_fifolink"));
    QVERIFY(QDir().mkpath(m_root + "/match_empty_dir"));

    m_controller->updateFileLists();
    m_controller->setSearchString("MATCH");
    m_controller->searchLabelFileList();
    QStringList found;
    for (const auto &r : m_controller->getSearchedLabelFilesList())
        found << r.fullPath();
    found.sort();

    QStringList expected;
    QSet<QString> dirs;
    QDirIterator it(m_root, QDirIterator::Subdirectories);
    while (it.hasNext()) {
        it.next();
        const QFileInfo info = it.fileInfo();
        if (info.isDir() || !info.fileName().toLower().contains("match") || dirs.contains(info.absolutePath()))
            continue;
        dirs.insert(info.absolutePath());
        expected << info.absoluteFilePath();
    }
    expected.sort();
    QCOMPARE(found, expected);
    // d*/sub*, the link to a file, and the link to the fifo (the fifo itself is left out).
    QCOMPARE(found.size(), 6 * 3 + 2);
}

void tst_MyLabelsController::searchWithRootEndingInSeparator_data()
{
    QTest::addColumn<QString>("suffix");
    QTest::newRow("as listed") << QString();
    QTest::newRow("trailing separator") << "/";
    QTest::newRow("doubled separator") << "//";
}

void tst_MyLabelsController::searchWithRootEndingInSeparator()
{
    QFETCH(QString, suffix);
    for (const char *file : { "a_label.kxld", "b_label.kxld", "sub/c_label.kxld", "sub/d_label.kxld",
                              "sub/deep/e_label.kxld", "sub/deep/f_label.kxld" })
        QVERIFY(makeFile(m_root + "/" + file));
    m_controller->setRootFolder(m_root + suffix);
    m_controller->updateFileLists();
    m_controller->setSearchString("label");
    m_controller->searchLabelFileList();
    QStringList folders;
    for (const auto &r : m_controller->getSearchedLabelFilesList())
        folders << r.filePath;
    folders.sort();
    // One match for each directory of the tree.
    QCOMPARE(folders, QStringList({ m_root, m_root + "/sub", m_root + "/sub/deep" }));

    // Inside a sub-folder the walk starts from the folder entries, whatever the root looked like.
    m_controller->setSearchString(QString());
    m_controller->enterFolder("sub");
    m_controller->setSearchString("label");
    m_controller->searchLabelFileList();
    auto found = names(m_controller->getSearchedLabelFilesList());
    QCOMPARE(found.size(), 3);
    found.sort();
    QCOMPARE(found.mid(0, 2), QStringList({ "c_label.kxld", "d_label.kxld" }));
    QVERIFY(found.at(2) == "e_label.kxld" || found.at(2) == "f_label.kxld");
}

void tst_MyLabelsController::symlinkLoop()
{
    QVERIFY(makeFile(m_root + "/a/label_in_a.kxld"));
    QVERIFY(makeFile(m_root + "/label_top.kxld"));
    QVERIFY(QFile::link(m_root, m_root + "/a/loop"));
    QVERIFY(QFile::link(m_root + "/a", m_root + "/back"));
    m_controller->updateFileLists();
    m_controller->prependFolders();
    QCOMPARE(names(m_controller->getSearchedLabelFilesList()),
             QStringList({ "back", "a", "label_top.kxld" }));
    m_controller->setSearchString("label");
    m_controller->searchLabelFileList();
    auto found = names(m_controller->getSearchedLabelFilesList());
    found.sort();
    QCOMPARE(found, QStringList({ "label_in_a.kxld", "label_top.kxld" }));
    // Entering the loop lists the same files again, one level further down.
    m_controller->setSearchString(QString());
    m_controller->enterFolder("a");
    m_controller->enterFolder("loop");
    m_controller->enterFolder("a");
    QCOMPARE(names(m_controller->getSearchedLabelFilesList()), QStringList({ "label_in_a.kxld" }));
    m_controller->setSearchString("label");
    m_controller->searchLabelFileList();
    QVERIFY(!m_controller->getSearchedLabelFilesList().isEmpty());
}

void tst_MyLabelsController::unreadableSubFolders()
{
    QVERIFY(makeFile(m_root + "/open/label_open.kxld"));
    QVERIFY(makeFile(m_root + "/closed/label_closed.kxld"));
    QVERIFY(makeFile(m_root + "/closed/inner/label_inner.kxld"));
    QVERIFY(QFile::setPermissions(m_root + "/closed", QFileDevice::Permissions()));
    auto restore = qScopeGuard([this] {
        QFile::setPermissions(m_root + "/closed", QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner);
    });
    m_controller->updateFileLists();
    m_controller->setSearchString("label");
    m_controller->searchLabelFileList();
    const auto found = names(m_controller->getSearchedLabelFilesList());
    QVERIFY(found.contains("label_open.kxld"));
    m_controller->setSearchString(QString());
    m_controller->enterFolder("closed");
    QCOMPARE(m_controller->getCurrentFolder(), m_root + "/closed");
    if (geteuid() == 0)
        QSKIP("Running as root: permission bits do not hide the folder from root, so only the "
              "walk's completion and the readable folder's match were checked.");
    QCOMPARE(found, QStringList({ "label_open.kxld" }));
    QVERIFY(m_controller->getSearchedLabelFilesList().isEmpty());
}

void tst_MyLabelsController::nonUtf8Names()
{
    const QByteArray root = QFile::encodeName(m_root);
    QVERIFY(QDir().mkpath(m_root + "/sub"));
    // Qt cannot name these, so QTemporaryDir could not remove them either.
    auto removeNative = qScopeGuard([root] {
        ::unlink((root + "/bad_label\xff\xfe.kxld").constData());
        ::unlink((root + "/sub/\xc3\x28label.kxld").constData());
        ::rmdir((root + "/dir\x80").constData());
    });
    QVERIFY(makeNativeFile(root + "/bad_label\xff\xfe.kxld"));
    QVERIFY(makeNativeFile(root + "/sub/\xc3\x28label.kxld"));
    QVERIFY(::mkdir((root + "/dir\x80").constData(), 0755) == 0);
    QVERIFY(makeFile(m_root + "/good_label.kxld"));
    QVERIFY(makeFile(m_root + "/sub/good_label.kxam"));
    m_controller->updateFileLists();
    // Names that do not decode cannot be opened by name again, so they are left out.
    QCOMPARE(names(m_controller->getSearchedLabelFilesList()), QStringList({ "good_label.kxld" }));
    m_controller->prependFolders();
    QCOMPARE(names(m_controller->getSearchedLabelFilesList()), QStringList({ "sub", "good_label.kxld" }));
    m_controller->setSearchString("label");
    m_controller->searchLabelFileList();
    const auto found = m_controller->getSearchedLabelFilesList();
    QCOMPARE(names(found), QStringList({ "good_label.kxam", "good_label.kxld" }));
    m_controller->setSortType(DashboardGlobal::NEWEST);
    m_controller->sortLabelFilesList();
    auto sorted = names(m_controller->getSearchedLabelFilesList());
    sorted.sort();
    QCOMPARE(sorted, QStringList({ "good_label.kxam", "good_label.kxld" }));
    // The records found open their own files.
    QSignalSpy launch(m_controller.get(), &DashboardCommonFileController::launchLabelInModule);
    for (const auto &r : found)
        m_controller->openLabel(r.id);
    QCOMPARE(launch.count(), 2);
    QStringList opened = { launch.at(0).at(1).toString(), launch.at(1).at(1).toString() };
    opened.sort();
    QCOMPARE(opened, QStringList({ m_root + "/good_label.kxld", m_root + "/sub/good_label.kxam" }));

    // The folder that does not decode cannot be named again: entering it lists nothing new.
    m_controller->setSearchString(QString());
    m_controller->searchLabelFileList();
    m_controller->enterFolder(QFile::decodeName(QByteArray("dir\x80")));
    QCOMPARE(m_controller->getCurrentFolder(), m_root + "/" + QFile::decodeName(QByteArray("dir\x80")));
    QCOMPARE(names(m_controller->getSearchedLabelFilesList()), QStringList({ "good_label.kxld" }));
    QCOMPARE(m_controller->exitFolder(QFile::decodeName(QByteArray("dir\x80"))), QString());
    QCOMPARE(m_controller->getCurrentFolder(), m_root);
}

void tst_MyLabelsController::filesVanishingDuringWalks()
{
    for (int d = 0; d < 4; ++d)
        QVERIFY(makeFile(m_root + QString("/d%1/stable_label.kxld").arg(d)));
    std::atomic<bool> stop(false);
    const QByteArray root = QFile::encodeName(m_root);
    // Another program keeps creating and deleting label files and folders in the tree.
    std::thread churn([&stop, root] {
        int n = 0;
        while (!stop.load()) {
            const QByteArray dir = root + "/d" + QByteArray::number(n % 4) + "/churn" + QByteArray::number(n % 7);
            const QByteArray file = root + "/d" + QByteArray::number(n % 4) + "/a_label" + QByteArray::number(n % 13) + ".kxld";
            ::mkdir(dir.constData(), 0755);
            makeNativeFile(dir + "/x_label.kxld");
            makeNativeFile(file);
            ::unlink(file.constData());
            ::unlink((dir + "/x_label.kxld").constData());
            ::rmdir(dir.constData());
            ++n;
        }
    });
    auto join = qScopeGuard([&] { stop = true; churn.join(); });
    for (int round = 0; round < 40; ++round) {
        m_controller->setSearchString(QString());
        m_controller->updateFileLists();
        m_controller->setSearchString("stable");
        m_controller->searchLabelFileList();
        QCOMPARE(m_controller->getSearchedLabelFilesList().size(), 4);
        m_controller->setSearchString("label");
        m_controller->searchLabelFileList();
        m_controller->prependFolders();
        m_controller->setSortType(DashboardGlobal::SortByType(round % 6));
        m_controller->sortLabelFilesList();
    }
}

void tst_MyLabelsController::treeTwoHundredLevelsDeep()
{
    QString path = m_root;
    for (int level = 1; level <= 200; ++level) {
        path += "/d";
        if (level == 100 || level == 200)
            QVERIFY(makeFile(path + "/deep_label.kxld"));
    }
    QVERIFY(QDir().mkpath(path));
    m_controller->updateFileLists();
    m_controller->setSearchString("deep_label");
    m_controller->searchLabelFileList();
    QCOMPARE(m_controller->getSearchedLabelFilesList().size(), 2);
    m_controller->setSearchString(QString());
    for (int level = 1; level <= 200; ++level)
        m_controller->enterFolder("d");
    QCOMPARE(m_controller->getCurrentFolder(), path);
    QCOMPARE(names(m_controller->getSearchedLabelFilesList()), QStringList({ "deep_label.kxld" }));
    QString arg = QStringList(200, "d").join('/');
    for (int level = 200; level > 1; --level) {
        arg = m_controller->exitFolder(arg);
        QCOMPARE(arg.count('d'), level - 1);
    }
    QCOMPARE(m_controller->exitFolder(arg), QString());
    QCOMPARE(m_controller->getCurrentFolder(), m_root);
}

QTEST_GUILESS_MAIN(tst_MyLabelsController)
#include "tst_mylabelscontroller.moc"
