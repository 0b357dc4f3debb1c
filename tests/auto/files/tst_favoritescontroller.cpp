#include "Controllers/favorites_controller.h"
#include "files_test_util.h"
#include "log_capture.h"

#include <QProcess>
#include <QRandomGenerator>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QtTest>

#include <unistd.h>

using namespace FilesTest;

namespace {

const QDateTime NOW(QDate(2024, 3, 20), QTime(12, 0));

QString helperPath()
{
    return QCoreApplication::applicationDirPath() + "/../../helpers/favoritewriter";
}

bool openToAll(const QString &path)
{
    return QFile::setPermissions(path, QFileDevice::ReadOwner | QFileDevice::WriteOwner
                                         | QFileDevice::ExeOwner | QFileDevice::ReadGroup
                                         | QFileDevice::ExeGroup | QFileDevice::ReadOther
                                         | QFileDevice::ExeOther);
}

} // namespace

class tst_FavoritesController : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();

    void constructorDoesNotFill();
    void localFavoritesFromStore();
    void absolutePathFavoriteAddListOpenRemove();
    void deletedFileLeftOutButKept();
    void cloudFavorites_data();
    void cloudFavorites();
    void cloudFavoriteDatesAreTheFolders();
    void removeCloudFavorite();
    void searchAndSortOverFavorites();

    void garbageStoreKeepsFavorites();
    void truncatedStoreKeepsWhatItHolds();
    void largeStore();
    void readOnlySettingsFolder();
    void twoProcessesWritingFavorites();

private:
    std::unique_ptr<FavoritesController> m_controller;
    std::unique_ptr<QTemporaryDir> m_dir;
};

void tst_FavoritesController::initTestCase()
{
    QStandardPaths::setTestModeEnabled(true);
    QVERIFY2(QFileInfo(helperPath()).isExecutable(), qPrintable(helperPath()));
}

void tst_FavoritesController::init()
{
    QVERIFY(removeStores());
    m_dir = std::make_unique<QTemporaryDir>();
    QVERIFY(m_dir->isValid());
    m_controller = std::make_unique<FavoritesController>();
    m_controller->setClock([] { return NOW; });
}

void tst_FavoritesController::cleanup()
{
    m_controller.reset();
    m_dir.reset();
}

void tst_FavoritesController::constructorDoesNotFill()
{
    QVERIFY(makeFile(m_dir->filePath("a.kxld")));
    {
        auto store = DashboardSettings::openDashboardStore();
        store->setValue("favorites/" + m_dir->filePath("a.kxld"), true);
    }
    FavoritesController controller;
    QVERIFY(controller.getSearchedLabelFilesList().isEmpty());
    QCOMPARE(controller.getSortType(), DashboardGlobal::A_TO_Z);
    controller.updateFileLists();
    QCOMPARE(controller.getSearchedLabelFilesList().size(), 1);
}

void tst_FavoritesController::localFavoritesFromStore()
{
    const QDateTime modified(QDate(2024, 3, 13), QTime(9, 0));
    QVERIFY(makeFile(m_dir->filePath("b.kxpm"), "x", modified));
    QVERIFY(makeFile(m_dir->filePath("sub/a.kxld"), "x", modified));
    QVERIFY(QFile::setPermissions(m_dir->filePath("b.kxpm"), QFileDevice::ReadOwner));
    // A view history is not read here: dates come from the file system.
    recordView("QVLabelEditor", m_dir->filePath("b.kxpm"), NOW);
    {
        auto store = DashboardSettings::openDashboardStore();
        store->beginGroup("favorites");
        store->setValue(m_dir->filePath("b.kxpm"), true);
        store->setValue(m_dir->filePath("sub/a.kxld"), false); // values are never read
    }
    QSignalSpy sorted(m_controller.get(), &DashboardCommonFileController::listSorted);
    m_controller->updateFileLists();
    QCOMPARE(sorted.count(), 1);
    const auto list = m_controller->getSearchedLabelFilesList();
    QCOMPARE(names(list), QStringList({ "a.kxld", "b.kxpm" }));
    const DashboardFileInfoStruct b = *findByName(list, "b.kxpm");
    QCOMPARE(b.filePath, m_dir->path());
    QCOMPARE(b.isFavorite, true);
    QCOMPARE(b.isWritable, true); // not read from the file system
    QCOMPARE(b.cloudEnum, 1);
    QCOMPARE(b.type, false);
    QCOMPARE(b.accessDate, modified);
    QCOMPARE(b.createdDate, QFileInfo(m_dir->filePath("b.kxpm")).birthTime());
    QCOMPARE(b.timeSinceModified, QString("one week ago"));
    QCOMPARE(findByName(list, "a.kxld")->filePath, m_dir->filePath("sub"));
    // Ids follow the store's key order.
    QCOMPARE(findByName(list, "b.kxpm")->id, 0);
    QCOMPARE(findByName(list, "a.kxld")->id, 1);
}

void tst_FavoritesController::absolutePathFavoriteAddListOpenRemove()
{
    const QString path = m_dir->filePath("Plan.KXAM");
    QVERIFY(path.startsWith('/'));
    QVERIFY(makeFile(path));
    TestableMyLabels labels(m_dir->path() + "/");
    labels.setRootFolder(m_dir->path());
    labels.updateFileLists();
    QVERIFY(labels.setFavorite(false, labels.getSearchedLabelFilesList().first().id));

    m_controller->updateFileLists();
    const auto list = m_controller->getSearchedLabelFilesList();
    QCOMPARE(list.size(), 1);
    QCOMPARE(list.first().filePath + "/" + list.first().labelFileName, path);

    QSignalSpy launch(m_controller.get(), &DashboardCommonFileController::launchLabelInModule);
    m_controller->openLabel(list.first().id);
    QCOMPARE(launch.count(), 1);
    QCOMPARE(launch.at(0).at(0).value<DashboardGlobal::ApplicationType>(), DashboardGlobal::APP_PIPEMARKING);
    QCOMPARE(launch.at(0).at(1).toString(), path);

    m_controller->removeFavorite(true, path, DashboardGlobal::LABEL_LOCAL);
    QVERIFY(m_controller->getSearchedLabelFilesList().isEmpty());
    QVERIFY(favoriteKeysOnDisk().isEmpty());
    labels.updateFileLists();
    QVERIFY(!labels.getSearchedLabelFilesList().first().isFavorite);
}

void tst_FavoritesController::deletedFileLeftOutButKept()
{
    QVERIFY(makeFile(m_dir->filePath("gone.kxld")));
    QVERIFY(makeFile(m_dir->filePath("kept.kxld")));
    {
        auto store = DashboardSettings::openDashboardStore();
        store->setValue("favorites/" + m_dir->filePath("gone.kxld"), true);
        store->setValue("favorites/" + m_dir->filePath("kept.kxld"), true);
    }
    QVERIFY(QFile::remove(m_dir->filePath("gone.kxld")));
    m_controller->updateFileLists();
    QCOMPARE(names(m_controller->getSearchedLabelFilesList()), QStringList({ "kept.kxld" }));
    QCOMPARE(m_controller->getSearchedLabelFilesList().first().id, 0);
    QCOMPARE(favoriteKeysOnDisk().size(), 2);
    // The user can still remove it.
    m_controller->removeFavorite(true, m_dir->filePath("gone.kxld"), DashboardGlobal::LABEL_LOCAL);
    QCOMPARE(favoriteKeysOnDisk().size(), 1);
}

void tst_FavoritesController::cloudFavorites_data()
{
    QTest::addColumn<QString>("key");
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("folder");
    QTest::addColumn<int>("cloudEnum");
    const QString tmp = QDir::tempPath();
    QTest::newRow("dropbox") << "3plan.kxld" << "plan.kxld" << tmp + "/Dropbox" << 3;
    QTest::newRow("google drive") << "4plan.kxld" << "plan.kxld" << tmp + "/GoogleDrive" << 4;
    QTest::newRow("onedrive") << "5report.kxld" << "report.kxld" << tmp + "/OneDrive" << 5;
    QTest::newRow("repeated digit") << "33a3.kxld" << "a.kxld" << tmp + "/Dropbox" << 3;
    QTest::newRow("digit everywhere") << "5v5_2025_5.kxld" << "v_202_.kxld" << tmp + "/OneDrive" << 5;
    QTest::newRow("other digit digits kept") << "4x44y3.kxld" << "xy3.kxld" << tmp + "/GoogleDrive" << 4;
    QTest::newRow("unknown location") << "7x.kxld" << "x.kxld" << QString() << 7;
    QTest::newRow("local digit") << "1x.kxld" << "x.kxld" << QString() << 1;
    QTest::newRow("not a digit") << "abca.kxld" << "bc.kxld" << QString() << 0;
}

void tst_FavoritesController::cloudFavorites()
{
    QFETCH(QString, key);
    QFETCH(QString, name);
    QFETCH(QString, folder);
    QFETCH(int, cloudEnum);
    writeCloudFavorites({ key });
    m_controller->updateFileLists();
    const auto list = m_controller->getSearchedLabelFilesList();
    QCOMPARE(list.size(), 1);
    QCOMPARE(list.first().labelFileName, name);
    QCOMPARE(list.first().filePath, folder);
    QCOMPARE(list.first().cloudEnum, cloudEnum);
    QCOMPARE(list.first().isFavorite, true);
    QCOMPARE(list.first().id, 0);
}

void tst_FavoritesController::cloudFavoriteDatesAreTheFolders()
{
    const QString folder = QDir::tempPath() + "/GoogleDrive";
    const bool existed = QFileInfo::exists(folder);
    if (!existed)
        QVERIFY(QDir().mkpath(folder));
    auto removeFolder = qScopeGuard([&] { if (!existed) QDir().rmdir(folder); });
    QVERIFY(makeFile(m_dir->filePath("local.kxld")));
    {
        auto store = DashboardSettings::openDashboardStore();
        store->setValue("favorites/" + m_dir->filePath("local.kxld"), true);
    }
    writeCloudFavorites({ "4plan.kxld", "9never.kxld" });
    m_controller->updateFileLists();
    const auto list = m_controller->getSearchedLabelFilesList();
    QCOMPARE(list.size(), 3);
    const DashboardFileInfoStruct plan = *findByName(list, "plan.kxld");
    QCOMPARE(plan.accessDate, QFileInfo(folder).lastModified());
    QCOMPARE(plan.createdDate, QFileInfo(folder).birthTime());
    // Local entries first, then cloud ones, ids in that order.
    QCOMPARE(findByName(list, "local.kxld")->id, 0);
    QCOMPARE(plan.id, 1);
    const DashboardFileInfoStruct never = *findByName(list, "never.kxld");
    QCOMPARE(never.id, 2);
    QVERIFY(!never.accessDate.isValid());
    QCOMPARE(never.timeSinceModified, QString());
}

void tst_FavoritesController::removeCloudFavorite()
{
    writeCloudFavorites({ "3plan.kxld", "5plan.kxld" });
    m_controller->updateFileLists();
    QCOMPARE(m_controller->getSearchedLabelFilesList().size(), 2);
    const auto onedrive = *std::find_if(m_controller->getSearchedLabelFilesList().cbegin(),
                                        m_controller->getSearchedLabelFilesList().cend(),
                                        [](const auto &r) { return r.cloudEnum == 5; });
    m_controller->removeFavorite(true, onedrive.filePath + "/" + onedrive.labelFileName, onedrive.cloudEnum);
    QCOMPARE(cloudKeysOnDisk(), QStringList({ "3plan.kxld" }));
    QCOMPARE(m_controller->getSearchedLabelFilesList().size(), 1);
    QCOMPARE(m_controller->getSearchedLabelFilesList().first().cloudEnum, 3);
}

void tst_FavoritesController::searchAndSortOverFavorites()
{
    QVERIFY(makeFile(m_dir->filePath("alpha_sign.kxld"), "x", NOW.addDays(-3)));
    QVERIFY(makeFile(m_dir->filePath("beta.kxld"), "x", NOW.addDays(-1)));
    {
        auto store = DashboardSettings::openDashboardStore();
        store->setValue("favorites/" + m_dir->filePath("alpha_sign.kxld"), true);
        store->setValue("favorites/" + m_dir->filePath("beta.kxld"), true);
    }
    writeCloudFavorites({ "3sign.kxld" });
    m_controller->setSearchString("SIGN");
    m_controller->setSortType(DashboardGlobal::LAST_VIEWED_DESCENDING);
    m_controller->updateFileLists();
    QCOMPARE(names(m_controller->getSearchedLabelFilesList()).size(), 2);
    QVERIFY(findByName(m_controller->getSearchedLabelFilesList(), "sign.kxld"));
    m_controller->setSearchString(QString());
    m_controller->searchLabelFileList();
    const auto list = m_controller->getSearchedLabelFilesList();
    QCOMPARE(list.size(), 3);
    // Earliest modification first.
    const int alpha = names(list).indexOf("alpha_sign.kxld");
    const int beta = names(list).indexOf("beta.kxld");
    QVERIFY(alpha < beta);
}

void tst_FavoritesController::garbageStoreKeepsFavorites()
{
    QVERIFY(makeFile(m_dir->filePath("one.kxld")));
    QVERIFY(makeFile(m_dir->filePath("two.kxld")));
    QByteArray garbage(64 * 1024, '\0');
    QRandomGenerator rng(7);
    for (char &c : garbage)
        c = char(rng.bounded(256));
    QByteArray ini = garbage;
    ini += "\n[favorites]\n" + QFile::encodeName(m_dir->filePath("one.kxld")).replace('/', '\\') + "=true\n";
    ini += garbage.mid(0, 1000);
    QVERIFY(makeFile(storeFile("KorvexPro"), ini));
    m_controller->updateFileLists();
    QCOMPARE(names(m_controller->getSearchedLabelFilesList()), QStringList({ "one.kxld" }));

    // Adding a favourite rewrites the store; the earlier one stays.
    TestableMyLabels labels(m_dir->path() + "/");
    labels.setRootFolder(m_dir->path());
    labels.updateFileLists();
    QVERIFY(labels.setFavorite(false, findByName(labels.getSearchedLabelFilesList(), "two.kxld")->id));
    m_controller->updateFileLists();
    QCOMPARE(names(m_controller->getSearchedLabelFilesList()), QStringList({ "one.kxld", "two.kxld" }));
}

void tst_FavoritesController::truncatedStoreKeepsWhatItHolds()
{
    QVERIFY(makeFile(m_dir->filePath("one.kxld")));
    QVERIFY(makeFile(m_dir->filePath("two.kxld")));
    const QByteArray one = QFile::encodeName(m_dir->filePath("one.kxld")).replace('/', '\\');
    const QByteArray two = QFile::encodeName(m_dir->filePath("two.kxld")).replace('/', '\\');
    const QByteArray ini = "[favorites]\n" + one + "=true\n" + two + "=true\n";
    // A key whose "=" survived the cut is a favourite, even with its value cut short.
    const QList<std::pair<int, QStringList>> cuts = {
        { int(ini.size()) - 3, { "one.kxld", "two.kxld" } },
        { int(ini.indexOf(two)) + 5, { "one.kxld" } },
        { int(ini.indexOf(one)) + int(one.size()), {} },
        { 14, {} },
        { 5, {} },
    };
    for (const auto &[cut, expected] : cuts) {
        QVERIFY(makeFile(storeFile("KorvexPro"), ini.left(cut)));
        m_controller->updateFileLists();
        QCOMPARE(names(m_controller->getSearchedLabelFilesList()), expected);
    }
}

void tst_FavoritesController::largeStore()
{
    QVERIFY(makeFile(m_dir->filePath("one.kxld")));
    QByteArray ini = "[favorites]\n" + QFile::encodeName(m_dir->filePath("one.kxld")).replace('/', '\\') + "=true\n";
    ini += "[padding]\n";
    const QByteArray line = "k" + QByteArray(1000, 'x') + "=" + QByteArray(1000, 'y') + "\n";
    ini.reserve(50 * 1024 * 1024 + line.size());
    for (int i = 0; ini.size() < 50 * 1024 * 1024; ++i)
        ini += QByteArray::number(i) + line;
    QVERIFY(makeFile(storeFile("KorvexPro"), ini));
    m_controller->updateFileLists();
    QCOMPARE(names(m_controller->getSearchedLabelFilesList()), QStringList({ "one.kxld" }));
}

void tst_FavoritesController::readOnlySettingsFolder()
{
    // The stores and labels live in folders another user can reach, so the writer can run as
    // that user when this test runs as root (root ignores permission bits).
    QTemporaryDir config;
    QTemporaryDir labelsDir;
    QVERIFY(openToAll(config.path()) && openToAll(labelsDir.path()));
    QSettings::setPath(QSettings::IniFormat, QSettings::UserScope, config.path());
    auto restorePath = qScopeGuard([] {
        QSettings::setPath(QSettings::IniFormat, QSettings::UserScope,
                           QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation));
    });
    for (const char *name : { "keep_a.kxld", "keep_b.kxld", "new_c.kxld" }) {
        QVERIFY(makeFile(labelsDir.filePath(name)));
        QVERIFY(QFile::setPermissions(labelsDir.filePath(name), QFileDevice::ReadOwner | QFileDevice::ReadOther));
    }
    TestableMyLabels labels(labelsDir.path() + "/");
    labels.setRootFolder(labelsDir.path());
    labels.updateFileLists();
    for (const char *name : { "keep_a.kxld", "keep_b.kxld" })
        QVERIFY(labels.setFavorite(false, findByName(labels.getSearchedLabelFilesList(), name)->id));

    const QString store = storeFile("KorvexPro");
    QVERIFY(store.startsWith(config.path()));
    const QString storeDir = QFileInfo(store).absolutePath();
    QVERIFY(QFile::setPermissions(store, QFileDevice::ReadOwner | QFileDevice::ReadOther));
    QVERIFY(QFile::setPermissions(storeDir, QFileDevice::ReadOwner | QFileDevice::ExeOwner
                                  | QFileDevice::ReadOther | QFileDevice::ExeOther));
    auto restorePermissions = qScopeGuard([&] { openToAll(storeDir); });
    const QByteArray before = [&] { QFile f(store); f.open(QIODevice::ReadOnly); return f.readAll(); }();

    QProcess writer;
    QStringList args = { config.path(), labelsDir.path(), "new_" };
    if (geteuid() == 0)
        args << "65534";
    writer.start(helperPath(), args);
    QVERIFY(writer.waitForStarted());
    writer.write("go\n");
    writer.closeWriteChannel();
    QVERIFY(writer.waitForFinished(60000));
    if (writer.exitCode() == 4)
        QSKIP("Could not drop to an unprivileged user, and root ignores the read-only folder.");
    QCOMPARE(writer.exitCode(), 0);
    const QString err = QString::fromLocal8Bit(writer.readAllStandardError());
    QVERIFY2(err.contains("Could not save favourites in " + store), qPrintable(err));
    // The favourite that could not be written is reported as refused.
    QCOMPARE(QString::fromLocal8Bit(writer.readAllStandardOutput()), QString("ready\nnew_c.kxld refused\n"));

    const QByteArray after = [&] { QFile f(store); f.open(QIODevice::ReadOnly); return f.readAll(); }();
    QCOMPARE(after, before);
    restorePermissions.dismiss();
    QVERIFY(openToAll(storeDir));
    FavoritesController favorites;
    favorites.updateFileLists();
    QCOMPARE(names(favorites.getSearchedLabelFilesList()), QStringList({ "keep_a.kxld", "keep_b.kxld" }));
}

void tst_FavoritesController::twoProcessesWritingFavorites()
{
    constexpr int perProcess = 60;
    for (int i = 0; i < perProcess; ++i) {
        QVERIFY(makeFile(m_dir->filePath(QString("mine_%1.kxld").arg(i, 2, 10, QChar('0')))));
        QVERIFY(makeFile(m_dir->filePath(QString("theirs_%1.kxld").arg(i, 2, 10, QChar('0')))));
    }
    const QString configDir = QFileInfo(storeFolder()).absolutePath();
    QProcess writer;
    writer.start(helperPath(), { configDir, m_dir->path(), "theirs_" });
    QVERIFY(writer.waitForStarted());
    QTRY_VERIFY_WITH_TIMEOUT(writer.canReadLine() || writer.waitForReadyRead(100), 30000);
    QCOMPARE(writer.readLine(), QByteArray("ready\n"));

    TestableMyLabels labels(m_dir->path() + "/");
    labels.setRootFolder(m_dir->path());
    labels.updateFileLists();
    const auto records = labels.getSearchedLabelFilesList();
    writer.write("go\n");
    writer.closeWriteChannel();
    for (const auto &r : records) {
        if (r.labelFileName.startsWith("mine_"))
            QVERIFY(labels.setFavorite(false, r.id));
    }
    QVERIFY(writer.waitForFinished(60000));
    QCOMPARE(writer.exitStatus(), QProcess::NormalExit);
    QCOMPARE(writer.exitCode(), 0);
    const QByteArray reported = writer.readAllStandardOutput();
    QCOMPARE(reported.count('\n'), perProcess);
    QCOMPARE(reported.count(" saved\n"), perProcess);

    m_controller->updateFileLists();
    const auto list = m_controller->getSearchedLabelFilesList();
    QCOMPARE(list.size(), 2 * perProcess);
    QCOMPARE(favoriteKeysOnDisk().size(), 2 * perProcess);
}

QTEST_GUILESS_MAIN(tst_FavoritesController)
#include "tst_favoritescontroller.moc"
