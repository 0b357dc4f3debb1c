#include "file_list_model.h"
#include "files_test_util.h"
#include "folder_watch.h"

#include <Controllers/my_labels_controller.h>
#include <Controllers/favorites_controller.h>
#include <Controllers/recently_viewed_controller.h>

#include <QPersistentModelIndex>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QtTest>

#include <memory>

using namespace FilesTest;

namespace {

constexpr int kTimeout = 30000;
constexpr int kBigFolder = 20000;

// Every change the model tells its views, in order.
struct ChangeLog : QObject
{
    explicit ChangeLog(QAbstractItemModel *model)
    {
        connect(model, &QAbstractItemModel::rowsInserted, this,
                [this](const QModelIndex &, int first, int last) { inserted += last - first + 1; });
        connect(model, &QAbstractItemModel::rowsRemoved, this,
                [this](const QModelIndex &, int first, int last) { removed += last - first + 1; });
        connect(model, &QAbstractItemModel::dataChanged, this,
                [this](const QModelIndex &from, const QModelIndex &to) { changed += to.row() - from.row() + 1; });
        connect(model, &QAbstractItemModel::modelReset, this, [this] { ++resets; });
        connect(model, &QAbstractItemModel::rowsMoved, this, [this] { ++moves; });
    }
    int inserted = 0;
    int removed = 0;
    int changed = 0;
    int resets = 0;
    int moves = 0;
};

QStringList rowNames(const FileListModel &model)
{
    QStringList names;
    for (int row = 0; row < model.rowCount(); ++row)
        names << model.index(row).data(FileListModel::EntryRole).value<DashboardFileInfoStruct>().labelFileName;
    return names;
}

bool makeLabels(const QString &folder, const QString &pattern, int count)
{
    for (int i = 0; i < count; ++i) {
        QFile file(folder + u'/' + pattern.arg(i, 5, 10, QLatin1Char('0')));
        if (!file.open(QIODevice::WriteOnly) || file.write("label") != 5)
            return false;
    }
    return true;
}

// 20,000 labels and a folder of two.
bool makeBigFolder(const QString &folder)
{
    return QDir().mkpath(folder + QStringLiteral("/Archive"))
            && makeLabels(folder, QStringLiteral("label %1.kxld"), kBigFolder)
            && makeFile(folder + QStringLiteral("/Archive/Inside One.kxld"))
            && makeFile(folder + QStringLiteral("/Archive/Inside Two.kxld"));
}

} // namespace

class tst_FileListModel : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();

    void rowsFollowTheFolder_data();
    void rowsFollowTheFolder();
    void aNewOrderResetsTheRows();
    void rowOfFindsTheFileWhateverItsId();
    void bigFolderIsReadAwayFromTheGuiThread();
    void leavingTheFolderDuringAReadShowsWhereTheUserIs();
    void burstInABigFolderIsReadOnceRowByRow();
    void folderReplacedByAFile();
    void destroyedDuringARead();
    void otherListsReloadAtOnce();
    void locationShowsTheEntriesOfOneService();

private:
    // Reads the folder through the model, as the front end does, and waits for the rows.
    bool reloadAndWait();
    // Lists the big folder the tests that only read it share.
    void useBigFolder();

    QTemporaryDir m_big;
    std::unique_ptr<QTemporaryDir> m_dir;
    QString m_labels;
    std::unique_ptr<MyLabelsController> m_controller;
    std::unique_ptr<FileListModel> m_model;
};

void tst_FileListModel::initTestCase()
{
    QStandardPaths::setTestModeEnabled(true);
    QVERIFY(m_big.isValid());
    QVERIFY(makeBigFolder(m_big.filePath(QStringLiteral("labels"))));
}

void tst_FileListModel::init()
{
    QVERIFY(removeStores());
    m_dir = std::make_unique<QTemporaryDir>();
    QVERIFY(m_dir->isValid());
    m_labels = m_dir->filePath(QStringLiteral("labels"));
    QVERIFY(makeFile(m_labels + QStringLiteral("/Bravo.kxld")));
    QVERIFY(makeFile(m_labels + QStringLiteral("/Delta.kxld")));
    QVERIFY(makeFile(m_labels + QStringLiteral("/Foxtrot.kxld")));
    QVERIFY(QDir(m_labels).mkdir(QStringLiteral("Archive")));
    m_controller = std::make_unique<MyLabelsController>();
    m_controller->setRootFolder(m_labels);
    m_model = std::make_unique<FileListModel>();
    m_model->setController(m_controller.get());
    m_model->setFolderMode(true);
    // As the front end does: the rows follow the controller's sorted list.
    connect(m_controller.get(), &DashboardCommonFileController::listSorted, m_model.get(),
            &FileListModel::refresh);
}

void tst_FileListModel::cleanup()
{
    m_model.reset();
    m_controller.reset();
    m_dir.reset();
}

bool tst_FileListModel::reloadAndWait()
{
    QSignalSpy reloaded(m_model.get(), &FileListModel::reloaded);
    m_model->reload();
    return QTest::qWaitFor([&] { return reloaded.count() > 0; }, kTimeout) && !m_model->isReading();
}

void tst_FileListModel::useBigFolder()
{
    m_labels = m_big.filePath(QStringLiteral("labels"));
    m_controller->setRootFolder(m_labels);
}

void tst_FileListModel::rowsFollowTheFolder_data()
{
    QTest::addColumn<QString>("change");
    QTest::addColumn<QStringList>("expected");
    QTest::addColumn<int>("inserted");
    QTest::addColumn<int>("removed");

    QTest::newRow("added") << QStringLiteral("added")
                           << QStringList { "Archive", "Bravo.kxld", "Charlie.kxld", "Delta.kxld", "Foxtrot.kxld" } << 1 << 0;
    QTest::newRow("removed") << QStringLiteral("removed")
                             << QStringList { "Archive", "Bravo.kxld", "Foxtrot.kxld" } << 0 << 1;
    QTest::newRow("renamed") << QStringLiteral("renamed")
                             << QStringList { "Archive", "Bravo.kxld", "Echo.kxld", "Foxtrot.kxld" } << 1 << 1;
    QTest::newRow("folder added") << QStringLiteral("folder")
                                  << QStringList { "Zulu", "Archive", "Bravo.kxld", "Delta.kxld", "Foxtrot.kxld" } << 1 << 0;
    QTest::newRow("not a label") << QStringLiteral("other")
                                 << QStringList { "Archive", "Bravo.kxld", "Delta.kxld", "Foxtrot.kxld" } << 0 << 0;
}

// A change on disk reaches the views as the rows that changed, never as a new list.
void tst_FileListModel::rowsFollowTheFolder()
{
    QFETCH(QString, change);
    QFETCH(QStringList, expected);
    QFETCH(int, inserted);
    QFETCH(int, removed);

    QVERIFY(reloadAndWait());
    QCOMPARE(rowNames(*m_model), (QStringList { "Archive", "Bravo.kxld", "Delta.kxld", "Foxtrot.kxld" }));
    const QPersistentModelIndex foxtrot = m_model->index(3);

    if (change == QLatin1String("added"))
        QVERIFY(makeFile(m_labels + QStringLiteral("/Charlie.kxld")));
    else if (change == QLatin1String("removed"))
        QVERIFY(QFile::remove(m_labels + QStringLiteral("/Delta.kxld")));
    else if (change == QLatin1String("renamed"))
        QVERIFY(QFile::rename(m_labels + QStringLiteral("/Delta.kxld"), m_labels + QStringLiteral("/Echo.kxld")));
    else if (change == QLatin1String("folder"))
        QVERIFY(QDir(m_labels).mkdir(QStringLiteral("Zulu")));
    else
        QVERIFY(makeFile(m_labels + QStringLiteral("/notes.txt")));

    ChangeLog log(m_model.get());
    QSignalSpy count(m_model.get(), &FileListModel::countChanged);
    QVERIFY(reloadAndWait());
    QCOMPARE(rowNames(*m_model), expected);
    QCOMPARE(log.inserted, inserted);
    QCOMPARE(log.removed, removed);
    QCOMPARE(log.resets, 0);
    QCOMPARE(count.count(), inserted == removed ? 0 : 1);
    // The view's hold on an untouched row follows it to its new place.
    QVERIFY(foxtrot.isValid());
    QCOMPARE(foxtrot.data(FileListModel::EntryRole).value<DashboardFileInfoStruct>().labelFileName,
             QStringLiteral("Foxtrot.kxld"));
    QCOMPARE(foxtrot.row(), expected.indexOf(QStringLiteral("Foxtrot.kxld")));
}

void tst_FileListModel::aNewOrderResetsTheRows()
{
    QVERIFY(reloadAndWait());
    ChangeLog log(m_model.get());
    m_controller->setSortType(DashboardGlobal::Z_TO_A);
    m_controller->searchLabelFileList();
    QCOMPARE(rowNames(*m_model), (QStringList { "Archive", "Foxtrot.kxld", "Delta.kxld", "Bravo.kxld" }));
    QCOMPARE(log.resets, 1);
    QCOMPARE(log.inserted + log.removed, 0);

    // A favourite changes its row in place.
    ChangeLog favourite(m_model.get());
    const int id = m_model->get(2).value<DashboardFileInfoStruct>().id;
    QVERIFY(m_controller->setFavorite(false, id));
    m_model->refresh();
    QVERIFY(m_model->get(2).value<DashboardFileInfoStruct>().isFavorite);
    QCOMPARE(favourite.changed, 1);
    QCOMPARE(favourite.resets + favourite.inserted + favourite.removed, 0);
}

void tst_FileListModel::rowOfFindsTheFileWhateverItsId()
{
    QVERIFY(reloadAndWait());
    const QVariant delta = m_model->get(2);
    QCOMPARE(delta.value<DashboardFileInfoStruct>().labelFileName, QStringLiteral("Delta.kxld"));
    QVERIFY(makeFile(m_labels + QStringLiteral("/Alpha.kxld")));
    QVERIFY(reloadAndWait());
    // Alpha took the first file id, so Delta's old id is now another file's.
    QCOMPARE(m_model->rowOf(delta), 3);
    QCOMPARE(m_model->get(3).value<DashboardFileInfoStruct>().labelFileName, QStringLiteral("Delta.kxld"));
    QCOMPARE(m_model->rowOf(QVariantMap { { "labelFileName", "Gone.kxld" }, { "filePath", m_labels } }), -1);
    QCOMPARE(m_model->rowOf(QVariant()), -1);
    QVERIFY(!m_model->get(-1).isValid());
    QVERIFY(!m_model->get(m_model->rowCount()).isValid());
}

// While a big folder is read the GUI thread goes on: a call posted after the reload began runs
// before the folder's rows arrive.
void tst_FileListModel::bigFolderIsReadAwayFromTheGuiThread()
{
    useBigFolder();
    QSignalSpy reloaded(m_model.get(), &FileListModel::reloaded);
    m_model->reload();
    QVERIFY(m_model->isReading());
    QCOMPARE(m_model->rowCount(), 0);
    bool ran = false;
    bool stillReading = false;
    int rowsWhenRun = -1;
    QMetaObject::invokeMethod(this, [&] {
        ran = true;
        stillReading = m_model->isReading();
        rowsWhenRun = m_model->rowCount();
    }, Qt::QueuedConnection);
    QTRY_VERIFY_WITH_TIMEOUT(ran, kTimeout);
    QVERIFY(stillReading);
    QCOMPARE(rowsWhenRun, 0);
    QTRY_COMPARE_WITH_TIMEOUT(reloaded.count(), 1, kTimeout);
    QCOMPARE(m_model->rowCount(), kBigFolder + 1);
    QCOMPARE(m_model->get(0).value<DashboardFileInfoStruct>().labelFileName, QStringLiteral("Archive"));
    QCOMPARE(m_model->get(kBigFolder).value<DashboardFileInfoStruct>().labelFileName,
             QStringLiteral("label 19999.kxld"));
}

// The user opens a folder while the one they left is still being read: the list shows the folder
// they are in.
void tst_FileListModel::leavingTheFolderDuringAReadShowsWhereTheUserIs()
{
    useBigFolder();
    QSignalSpy reloaded(m_model.get(), &FileListModel::reloaded);
    m_model->reload();
    QVERIFY(m_model->isReading());
    m_controller->enterFolder(QStringLiteral("Archive"));
    // A second reload asked meanwhile is folded into the read that follows.
    m_model->reload();
    QTRY_COMPARE_WITH_TIMEOUT(reloaded.count(), 1, kTimeout);
    QVERIFY(!m_model->isReading());
    QCOMPARE(rowNames(*m_model), (QStringList { "Inside One.kxld", "Inside Two.kxld" }));
    QCOMPARE(m_controller->getCurrentFolder(), m_labels + QStringLiteral("/Archive"));
}

// 20,000 labels and a burst of 1,000 changes (500 new, 500 renamed) while the list is shown:
// one read, and the views are told the rows that changed.
void tst_FileListModel::burstInABigFolderIsReadOnceRowByRow()
{
    // A folder of its own, as this one changes it.
    for (const char *name : { "Bravo.kxld", "Delta.kxld", "Foxtrot.kxld" })
        QVERIFY(QFile::remove(m_labels + u'/' + QLatin1String(name)));
    QVERIFY(makeBigFolder(m_labels));
    QVERIFY(reloadAndWait());
    QCOMPARE(m_model->rowCount(), kBigFolder + 1);
    const QPersistentModelIndex untouched = m_model->index(15001);
    QCOMPARE(untouched.data(FileListModel::EntryRole).value<DashboardFileInfoStruct>().labelFileName,
             QStringLiteral("label 15000.kxld"));

    FolderWatch watch;
    // Longer than the burst takes on a loaded machine; the settling itself is the watch's test.
    watch.setDelay(3000);
    watch.setPaths({ m_labels });
    connect(&watch, &FolderWatch::changed, m_model.get(), &FileListModel::reload);
    QSignalSpy reloaded(m_model.get(), &FileListModel::reloaded);
    ChangeLog log(m_model.get());

    QVERIFY(makeLabels(m_labels, QStringLiteral("new %1.kxld"), 500));
    for (int i = 0; i < 500; ++i) {
        const QString number = QStringLiteral("%1").arg(i, 5, 10, QLatin1Char('0'));
        QVERIFY(QFile::rename(m_labels + QStringLiteral("/label ") + number + QStringLiteral(".kxld"),
                              m_labels + QStringLiteral("/renamed ") + number + QStringLiteral(".kxld")));
    }

    QTRY_COMPARE_WITH_TIMEOUT(reloaded.count(), 1, kTimeout);
    // That one read has the whole burst.
    QCOMPARE(m_model->rowCount(), kBigFolder + 1 + 500);
    QCOMPARE(log.inserted, 1000);
    QCOMPARE(log.removed, 500);
    QCOMPARE(log.resets, 0);
    const QStringList names = rowNames(*m_model);
    QCOMPARE(names.at(1), QStringLiteral("label 00500.kxld"));
    QVERIFY(names.contains(QStringLiteral("new 00499.kxld")));
    QCOMPARE(names.constLast(), QStringLiteral("renamed 00499.kxld"));
    QVERIFY(untouched.isValid());
    QCOMPARE(untouched.data(FileListModel::EntryRole).value<DashboardFileInfoStruct>().labelFileName,
             QStringLiteral("label 15000.kxld"));
}

void tst_FileListModel::folderReplacedByAFile()
{
    QVERIFY(reloadAndWait());
    QCOMPARE(m_model->rowCount(), 4);
    QVERIFY(QDir(m_labels).removeRecursively());
    QVERIFY(makeFile(m_labels));
    ChangeLog log(m_model.get());
    QVERIFY(reloadAndWait());
    QCOMPARE(m_model->rowCount(), 0);
    QCOMPARE(log.removed, 4);
    // And back again.
    QVERIFY(QFile::remove(m_labels));
    QVERIFY(makeFile(m_labels + QStringLiteral("/Back.kxld")));
    QVERIFY(reloadAndWait());
    QCOMPARE(rowNames(*m_model), QStringList { QStringLiteral("Back.kxld") });
}

// A list closed while its folder is read: the read's answer is dropped with it.
void tst_FileListModel::destroyedDuringARead()
{
    useBigFolder();
    m_model->reload();
    QVERIFY(m_model->isReading());
    m_model.reset();
    QCoreApplication::sendPostedEvents();
    QCoreApplication::processEvents();
    QVERIFY(m_controller->getSearchedLabelFilesList().isEmpty());
    // The controller still reads on its own.
    m_controller->updateFileLists();
    QCOMPARE(m_controller->getSearchedLabelFilesList().size(), kBigFolder);
}

// The view histories and favourites are short lists: read at once, on the spot.
void tst_FileListModel::otherListsReloadAtOnce()
{
    const QString label = m_labels + QStringLiteral("/Bravo.kxld");
    recordView(QStringLiteral("QVLabelEditor"), label, QDateTime::currentDateTime());
    RecentlyViewedController recent;
    FileListModel model;
    model.setController(&recent);
    connect(&recent, &DashboardCommonFileController::listSorted, &model, &FileListModel::refresh);
    QSignalSpy reloaded(&model, &FileListModel::reloaded);
    model.reload();
    QCOMPARE(reloaded.count(), 1);
    QVERIFY(!model.isReading());
    QCOMPARE(rowNames(model), QStringList { QStringLiteral("Bravo.kxld") });
}

// The Cloud page shows the favourites of one service at a time.
void tst_FileListModel::locationShowsTheEntriesOfOneService()
{
    const int dropbox = DashboardGlobal::LABEL_DROPBOX;
    const int drive = DashboardGlobal::LABEL_GOOGLEDRIVE;
    writeCloudFavorites({ QStringLiteral("%1plan.kxld").arg(dropbox), QStringLiteral("%1site.kxld").arg(dropbox),
                          QStringLiteral("%1yard.kxld").arg(drive) });
    FavoritesController favorites;
    FileListModel model;
    model.setController(&favorites);
    connect(&favorites, &DashboardCommonFileController::listSorted, &model, &FileListModel::refresh);
    model.reload();
    QCOMPARE(model.rowCount(), 3);
    QSignalSpy locationChanged(&model, &FileListModel::locationChanged);
    model.setLocation(dropbox);
    QCOMPARE(locationChanged.count(), 1);
    QCOMPARE(rowNames(model), (QStringList { "plan.kxld", "site.kxld" }));
    model.setLocation(drive);
    QCOMPARE(rowNames(model), QStringList { QStringLiteral("yard.kxld") });
    model.setLocation(DashboardGlobal::LABEL_ONEDRIVE);
    QCOMPARE(model.rowCount(), 0);
    model.setLocation(-1);
    QCOMPARE(model.rowCount(), 3);
}

QTEST_GUILESS_MAIN(tst_FileListModel)
#include "tst_filelistmodel.moc"
