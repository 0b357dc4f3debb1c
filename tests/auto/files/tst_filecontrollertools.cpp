#include "widgetutils/file_controller_tools.h"

#include "files_test_util.h"

#include <QTemporaryDir>
#include <QtTest>

using namespace FilesTest;
using Entries = QList<std::pair<QString, QString>>;

class tst_FileControllerTools : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();

    void roundTripKeepsOrderAndSlashes_data();
    void roundTripKeepsOrderAndSlashes();
    void iniLayout();
    void missingGroupIsEmpty();
    void recordFileViewMovesToFront();
    void recordFileViewCaps();
    void shorterHistoryLeavesNoTail();
    void currentGroupIsKept();
    void hostileArrays_data();
    void hostileArrays();
    void storeSafety_data();
    void storeSafety();
    void safeBoundStillDecodes();

private:
    std::unique_ptr<QSettings> open() { return DashboardSettings::openStore("GHS"); }
};

void tst_FileControllerTools::initTestCase()
{
    QStandardPaths::setTestModeEnabled(true);
}

void tst_FileControllerTools::init()
{
    QVERIFY(removeStores());
}

void tst_FileControllerTools::roundTripKeepsOrderAndSlashes_data()
{
    QTest::addColumn<Entries>("entries");
    QTest::newRow("linux absolute") << Entries({ { "/home/u/b.kxld", "2024:03:15:10:00:00:000" },
                                                 { "/home/u/a.kxld", "2024:03:15:11:00:00:000" } });
    QTest::newRow("windows") << Entries({ { "C:/Users/Public/Documents/x.kxpm", "2024:01:01:00:00:00:000" },
                                          { "D:\\labels\\y.kxld", "" } });
    QTest::newRow("odd characters") << Entries({ { "/l//double//slash/", "x" },
                                                 { "/l/comma, \"quote\" = eq;semi#hash.kxld", "2024" },
                                                 { "/l/ünïcødé €/ラベル.kxld", "@Variant(junk)" },
                                                 { "/l/back\\slash.kxld", "a,b,c" },
                                                 { "@at/start", "  spaces  " } });
    QTest::newRow("duplicates kept") << Entries({ { "/a.kxld", "1" }, { "/a.kxld", "2" } });
}

void tst_FileControllerTools::roundTripKeepsOrderAndSlashes()
{
    QFETCH(Entries, entries);
    {
        auto store = open();
        FileControllerTools::saveFileHistory(store.get(), "fileHistory", entries);
    }
    auto store = open();
    QCOMPARE(FileControllerTools::loadFileHistory(store.get(), "fileHistory"), entries);
}

void tst_FileControllerTools::iniLayout()
{
    writeHistory("GHS", { { "/home/u/a.kxld", "2024:03:15:10:00:00:000" } });
    QFile file(storeFile("GHS"));
    QVERIFY(file.open(QIODevice::ReadOnly));
    const QByteArray text = file.readAll();
    QVERIFY2(text.contains("[fileHistory]\n1\\date=2024:03:15:10:00:00:000\n1\\path=/home/u/a.kxld\nsize=1\n"),
             text.constData());
}

void tst_FileControllerTools::missingGroupIsEmpty()
{
    auto store = open();
    QVERIFY(FileControllerTools::loadFileHistory(store.get(), "fileHistory").isEmpty());
    QVERIFY(FileControllerTools::loadFileHistory(nullptr, "fileHistory").isEmpty());
}

void tst_FileControllerTools::recordFileViewMovesToFront()
{
    const QDateTime t(QDate(2024, 3, 15), QTime(10, 0));
    auto store = open();
    FileControllerTools::recordFileView(store.get(), "fileHistory", "/l/a.kxld", t);
    FileControllerTools::recordFileView(store.get(), "fileHistory", "/l/b.kxld", t.addSecs(60));
    FileControllerTools::recordFileView(store.get(), "fileHistory", "/l/a.kxld", t.addSecs(120));
    FileControllerTools::recordFileView(store.get(), "fileHistory", QString(), t);
    QCOMPARE(FileControllerTools::loadFileHistory(store.get(), "fileHistory"),
             Entries({ { "/l/a.kxld", "2024:03:15:10:02:00:000" }, { "/l/b.kxld", "2024:03:15:10:01:00:000" } }));
}

void tst_FileControllerTools::recordFileViewCaps()
{
    const QDateTime t(QDate(2024, 3, 15), QTime(10, 0));
    auto store = open();
    for (int i = 0; i < 5; ++i)
        FileControllerTools::recordFileView(store.get(), "fileHistory", QString("/l/%1.kxld").arg(i), t.addSecs(i), 3);
    const auto entries = FileControllerTools::loadFileHistory(store.get(), "fileHistory");
    QCOMPARE(entries.size(), 3);
    QCOMPARE(entries.first().first, QString("/l/4.kxld"));
    QCOMPARE(entries.last().first, QString("/l/2.kxld"));
}

void tst_FileControllerTools::shorterHistoryLeavesNoTail()
{
    writeHistory("GHS", { { "/1", "a" }, { "/2", "b" }, { "/3", "c" } });
    writeHistory("GHS", { { "/9", "z" } });
    auto store = open();
    QCOMPARE(FileControllerTools::loadFileHistory(store.get(), "fileHistory"), Entries({ { "/9", "z" } }));
    store->beginGroup("fileHistory");
    QCOMPARE(store->childGroups(), QStringList({ "1" }));
}

void tst_FileControllerTools::currentGroupIsKept()
{
    writeHistory("GHS", { { "/1", "a" } });
    auto store = open();
    store->beginGroup("other");
    store->setValue("k", 1);
    // Relative to the current group, as every QSettings call is.
    QVERIFY(FileControllerTools::loadFileHistory(store.get(), "fileHistory").isEmpty());
    QCOMPARE(store->group(), QString("other"));
    store->endGroup();
    QCOMPARE(FileControllerTools::loadFileHistory(store.get(), "fileHistory").size(), 1);
}

void tst_FileControllerTools::hostileArrays_data()
{
    QTest::addColumn<QByteArray>("ini");
    QTest::addColumn<Entries>("expected");
    QTest::newRow("huge size") << QByteArray("[fileHistory]\nsize=2147483647\n1\\path=/a\n1\\date=d\n")
                               << Entries({ { "/a", "d" } });
    QTest::newRow("negative size") << QByteArray("[fileHistory]\nsize=-5\n1\\path=/a\n") << Entries();
    QTest::newRow("size not a number") << QByteArray("[fileHistory]\nsize=lots\n1\\path=/a\n") << Entries();
    QTest::newRow("no size") << QByteArray("[fileHistory]\n1\\path=/a\n") << Entries();
    QTest::newRow("gaps and missing paths")
            << QByteArray("[fileHistory]\nsize=4\n1\\date=x\n2\\path=/b\n2\\date=y\n7\\path=/z\n")
            << Entries({ { "/b", "y" } });
    QTest::newRow("list and variant values")
            << QByteArray("[fileHistory]\nsize=3\n1\\path=/a, /b\n2\\path=@Rect(1 2 3 4)\n3\\path=/c\n3\\date=a, b\n")
            << Entries({ { "/c", "" } });
    QTest::newRow("only a size key") << QByteArray("[fileHistory]\nsize=100000000\n") << Entries();
}

void tst_FileControllerTools::hostileArrays()
{
    QFETCH(QByteArray, ini);
    QFETCH(Entries, expected);
    QVERIFY(makeFile(storeFile("GHS"), ini));
    auto store = open();
    QCOMPARE(FileControllerTools::loadFileHistory(store.get(), "fileHistory"), expected);
}

void tst_FileControllerTools::storeSafety_data()
{
    QTest::addColumn<QByteArray>("ini");
    QTest::addColumn<bool>("safe");
    const QByteArray longText(10000, 'x');
    const QByteArray half(3000, 'y');
    QTest::newRow("empty") << QByteArray() << true;
    QTest::newRow("ordinary store") << QByteArray("[fileHistory]\nsize=1\n1\\path=/a\n1\\date=2024\n") << true;
    QTest::newRow("long plain value") << "[a]\nk=" + longText + "\n" << true;
    QTest::newRow("long key") << "[a]\n" + longText + "\\@=1\n" << true;
    QTest::newRow("long value with @") << "[a]\nk=@" + longText + "\n" << false;
    QTest::newRow("long value with escapes") << "[a]\nk=\\x40" + longText + "\n" << false;
    QTest::newRow("nested variant") << "[other]\nk=" + nestedVariantValue(20000) + "\n" << false;
    QTest::newRow("split by continuations") << "[a]\nk=@" + half + "\\\n" + half + "\\\n" + half + "\n" << false;
    QTest::newRow("split by CRLF continuations") << "[a]\r\nk=@" + half + "\\\r\n" + half + "\\\r\n" + half + "\r\n" << false;
    QTest::newRow("escaped backslash ends the line")
            << "[a]\nk=@" + half + "\\\\\nj=@" + half + "\\\\\nl=@" + half + "\n" << true;
    QTest::newRow("many short risky values") << QByteArray("[a]\n") + QByteArray("k=@Rect(1 2 3 4)\n").repeated(10000) << true;
    QTest::newRow("binary garbage") << QByteArray(100000, '\xff') << true;
}

void tst_FileControllerTools::storeSafety()
{
    QFETCH(QByteArray, ini);
    QFETCH(bool, safe);
    const QString file = storeFile("GHS");
    QVERIFY(makeFile(file, ini));
    QCOMPARE(FileControllerTools::isStoreSafe(file), safe);
    QVERIFY(FileControllerTools::isStoreSafe(file + ".missing"));
}

void tst_FileControllerTools::safeBoundStillDecodes()
{
    // The largest nesting that passes the check decodes without harm.
    const QByteArray value = nestedVariantValue(4096 / 19 - 1);
    QVERIFY(value.size() - 1 <= 4096);
    QVERIFY(makeFile(storeFile("GHS"), "[fileHistory]\nsize=1\n1\\path=/a\n[other]\nk=" + value + "\n"));
    QVERIFY(FileControllerTools::isStoreSafe(storeFile("GHS")));
    auto store = open();
    QCOMPARE(store->childGroups(), QStringList({ "fileHistory", "other" }));
    QCOMPARE(store->value("other/k").toList().size(), 1);
    QCOMPARE(FileControllerTools::loadFileHistory(store.get(), "fileHistory"), Entries({ { "/a", "" } }));
}

QTEST_GUILESS_MAIN(tst_FileControllerTools)
#include "tst_filecontrollertools.moc"
