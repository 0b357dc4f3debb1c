#include "widgetutils/file_controller_tools.h"

#include "files_test_util.h"
#include "ini_scan_check.h"

#include <QDataStream>
#include <QRect>
#include <QSize>
#include <QTemporaryDir>
#include <QUuid>
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
    void replayScanCorpus_data();
    void replayScanCorpus();

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
    QTest::newRow("indexes from 3 up to the size")
            << QByteArray("[fileHistory]\nsize=10\n3\\path=/3\n4\\path=/4\n5\\path=/5\n6\\path=/6\n"
                          "7\\path=/7\n8\\path=/8\n9\\path=/9\n10\\path=/10\n10\\date=d\n")
            << Entries({ { "/3", "" }, { "/4", "" }, { "/5", "" }, { "/6", "" }, { "/7", "" },
                         { "/8", "" }, { "/9", "" }, { "/10", "d" } });
    QTest::newRow("far apart, in index order")
            << QByteArray("[fileHistory]\nsize=1000\n1000\\path=/c\n1\\path=/a\n1001\\path=/d\n"
                          "500\\path=/b\n500\\date=x\n")
            << Entries({ { "/a", "" }, { "/b", "x" }, { "/c", "" } });
    QTest::newRow("only the spelling of an array index")
            << QByteArray("[fileHistory]\nsize=100\n1\\path=/a\n07\\path=/b\n+8\\path=/c\n"
                          "099\\path=/d\n99\\path=/e\n200\\path=/f\n0\\path=/g\n-1\\path=/h\n")
            << Entries({ { "/a", "" }, { "/e", "" } });
}

void tst_FileControllerTools::hostileArrays()
{
    QFETCH(QByteArray, ini);
    QFETCH(Entries, expected);
    QVERIFY(makeFile(storeFile("GHS"), ini));
    auto store = open();
    QCOMPARE(FileControllerTools::loadFileHistory(store.get(), "fileHistory"), expected);
}

namespace {

// A QDataStream payload of a variant as the INI file spells it: every byte escaped.
QByteArray escaped(const QByteArray &bytes)
{
    QByteArray out;
    for (char c : bytes)
        out += "\\x" + QByteArray::number(uchar(c), 16);
    return out;
}

QByteArray streamed(const QVariant &value, QDataStream::Version version)
{
    QByteArray bytes;
    QDataStream out(&bytes, QIODevice::WriteOnly);
    out.setVersion(version);
    out << value;
    return bytes;
}

// Lists nested `levels` deep around an int, through Qt's own writer.
QVariant nestedLists(int levels)
{
    QVariant value(1);
    for (int i = 0; i < levels; ++i)
        value = QVariantList{ value };
    return value;
}

QVariant nestedMaps(int levels)
{
    QVariant value(1);
    for (int i = 0; i < levels; ++i)
        value = QVariantMap{ { "k", value } };
    return value;
}

// Variants inside variants: the Qt 4 id of QVariant, four bytes a level.
QByteArray variantChain(int levels)
{
    return "@Variant(" + QByteArray("\\0\\0\\0\\x8a").repeated(levels) + "\\0\\0\\0\\x2\\0\\0\\0\\x1)";
}

// Lists named by type name ("QVariantList" as a user type).
QByteArray namedListChain(int levels)
{
    const QByteArray level = "\\0\\0\\0\\x7f\\0\\0\\0\\xdQVariantList\\0\\0\\0\\0\\x1";
    return "@Variant(" + level.repeated(levels) + "\\0\\0\\0\\x2\\0\\0\\0\\x1)";
}

} // namespace

void tst_FileControllerTools::storeSafety_data()
{
    QTest::addColumn<QByteArray>("ini");
    QTest::addColumn<bool>("safe");
    const int limit = FileControllerTools::MAX_VARIANT_NESTING;
    const QByteArray longText(10000, 'x');
    const QByteArray deep = nestedVariantValue(limit); // limit lists around an int
    const QByteArray atLimit = nestedVariantValue(limit - 1);
    QByteArray windowState(64 * 1024, '\0');
    for (int i = 0; i < windowState.size(); ++i)
        windowState[i] = char((i * 7919) >> 3);
    QVariantList flat;
    for (int i = 0; i < 20000; ++i)
        flat << i << QString("entry %1").arg(i);
    QVariantMap shallow;
    for (int i = 0; i < 2000; ++i)
        shallow.insert(QString("key%1").arg(i), QVariantList{ i, QSize(i, i), QRect(0, 0, i, i), QUuid(), QByteArray(20, 'b') });

    QTest::newRow("empty") << QByteArray() << true;
    QTest::newRow("ordinary store") << QByteArray("[fileHistory]\nsize=1\n1\\path=/a\n1\\date=2024\n") << true;
    QTest::newRow("long plain value") << "[a]\nk=" + longText + "\n" << true;
    QTest::newRow("long key") << "[a]\n" + longText + "\\@=1\n" << true;
    QTest::newRow("long value with @") << "[a]\nk=@" + longText + "\n" << true;
    QTest::newRow("long value with escapes") << "[a]\nk=\\x40" + longText + "\n" << true;
    QTest::newRow("64 KiB window state") << "[window]\nstate=@ByteArray(" + escaped(windowState) + ")\n" << true;
    QTest::newRow("64 KiB window state, raw bytes") << "[window]\nstate=@ByteArray(" + windowState + ")\n" << true;
    QTest::newRow("long flat variant list")
            << "[a]\nk=@Variant(" + escaped(streamed(flat, QDataStream::Qt_4_0)) + ")\n" << true;
    QTest::newRow("large shallow variant map")
            << "[a]\nk=@Variant(" + escaped(streamed(shallow, QDataStream::Qt_4_0)) + ")\n" << true;
    QTest::newRow("many short variants") << QByteArray("[a]\n") + QByteArray("k=@Variant(\\0\\0\\0\\x2\\0\\0\\0\\x1)\n").repeated(10000) << true;
    QTest::newRow("binary garbage") << QByteArray(100000, '\xff') << true;

    QTest::newRow("lists at the limit") << "[other]\nk=" + atLimit + "\n" << true;
    QTest::newRow("lists over the limit") << "[other]\nk=" + deep + "\n" << false;
    QTest::newRow("lists far over the limit") << "[other]\nk=" + nestedVariantValue(20000) + "\n" << false;
    QTest::newRow("lists from Qt's writer")
            << "[a]\nk=@Variant(" + escaped(streamed(nestedLists(limit), QDataStream::Qt_4_0)) + ")\n" << false;
    QTest::newRow("maps from Qt's writer")
            << "[a]\nk=@Variant(" + escaped(streamed(nestedMaps(limit), QDataStream::Qt_4_0)) + ")\n" << false;
    QTest::newRow("maps at the limit")
            << "[a]\nk=@Variant(" + escaped(streamed(nestedMaps(limit - 1), QDataStream::Qt_4_0)) + ")\n" << true;
    QTest::newRow("variants in variants at the limit") << "[a]\nk=" + variantChain(limit - 1) + "\n" << true;
    QTest::newRow("variants in variants over the limit") << "[a]\nk=" + variantChain(limit) + "\n" << false;
    QTest::newRow("lists by type name") << "[a]\nk=" + namedListChain(limit) + "\n" << false;
    QTest::newRow("date-time form")
            << "[a]\nk=@DateTime(" + escaped(streamed(nestedLists(limit), QDataStream::Qt_5_6)) + ")\n" << false;
    QTest::newRow("in the general section") << "k=" + deep + "\n" << false;
    QTest::newRow("element of a list value") << "[a]\nk=plain, " + deep + ", x\n" << false;
    QTest::newRow("quoted") << "[a]\nk=\"" + deep + "\"\n" << false;
    QTest::newRow("spaces around") << "[a]\nk=   " + deep + "   \n" << false;
    QTest::newRow("@ spelled as an escape") << "[a]\nk=\\x40" + deep.mid(1) + "\n" << false;
    QTest::newRow("@ spelled in octal") << "[a]\nk=\\100" + deep.mid(1) + "\n" << false;
    QTest::newRow("split by a continuation") << "[a]\nk=" + deep.left(3000) + "\\\n" + deep.mid(3000) + "\n" << false;
    QTest::newRow("split by a CRLF continuation") << "[a]\r\nk=" + deep.left(3000) + "\\\r\n" + deep.mid(3000) + "\r\n" << false;
    QTest::newRow("after a byte order mark") << "\xef\xbb\xbf[a]\nk=" + deep + "\n" << false;
    QTest::newRow("after a bad string in a map")
            << "[a]\nk=@Variant(\\0\\0\\0\\b\\0\\0\\0\\x1\\0\\0\\0\\x3" + deep.mid(9) + "\n" << false;
    QTest::newRow("commented out") << "[a]\n;k=" + deep + "\n" << true;
    QTest::newRow("escaped at") << "[a]\nk=@" + deep + "\n" << true;
    QTest::newRow("no closing parenthesis") << "[a]\nk=" + deep.chopped(1) + "\n" << true;
    QTest::newRow("text after the parenthesis") << "[a]\nk=" + deep + "x\n" << true;
    QTest::newRow("a section header") << "[" + deep + "]\nk=1\n" << true;
    QTest::newRow("a key") << "[a]\n" + deep + "x=1\n" << true;
    // An image (Qt 4 id 70): its encoding is not followed, and it cannot hold variants.
    QTest::newRow("image at the top") << "[a]\nk=@Variant(\\0\\0\\0\\x46" + QByteArray("\\0\\0\\0\\t").repeated(limit * 2) + ")\n" << true;
    // Inside a list the next element starts where the image ends, which is not known here.
    QTest::newRow("image in a list")
            << "[a]\nk=@Variant(\\0\\0\\0\\t\\0\\0\\0\\x2\\0\\0\\0\\x46" + QByteArray("\\0\\0\\0\\t").repeated(limit * 2) + ")\n" << false;
}

void tst_FileControllerTools::storeSafety()
{
    QFETCH(QByteArray, ini);
    QFETCH(bool, safe);
    const QString file = storeFile("GHS");
    QVERIFY(makeFile(file, ini));
    QCOMPARE(FileControllerTools::isStoreSafe(file), safe);
    QVERIFY(FileControllerTools::isStoreSafe(file + ".missing"));
    if (!safe)
        return;
    // What passes is read by QSettings without harm, every section of it.
    auto store = open();
    QCOMPARE(store->status(), QSettings::NoError);
    for (const QString &key : store->allKeys())
        store->value(key);
}

void tst_FileControllerTools::safeBoundStillDecodes()
{
    // The deepest nesting that passes the check decodes, and is what Qt's own writer makes.
    const int limit = FileControllerTools::MAX_VARIANT_NESTING;
    QVERIFY(makeFile(storeFile("GHS"), "[fileHistory]\nsize=1\n1\\path=/a\n[other]\nk="
                                               + nestedVariantValue(limit - 1) + "\n"));
    QVERIFY(FileControllerTools::isStoreSafe(storeFile("GHS")));
    auto store = open();
    QCOMPARE(store->childGroups(), QStringList({ "fileHistory", "other" }));
    QVariant value = store->value("other/k");
    int depth = 0;
    while (value.typeId() == QMetaType::QVariantList) {
        QCOMPARE(value.toList().size(), 1);
        value = value.toList().first();
        ++depth;
    }
    QCOMPARE(depth, limit - 1);
    QCOMPARE(value, QVariant(1));
    QCOMPARE(FileControllerTools::loadFileHistory(store.get(), "fileHistory"), Entries({ { "/a", "" } }));
}

void tst_FileControllerTools::replayScanCorpus_data()
{
    QTest::addColumn<QString>("path");
    int files = 0;
    for (const char *sub : { "corpus/ini_variant_scan", "regressions/ini_variant_scan" }) {
        const QDir dir(QStringLiteral(KORVEX_FUZZ_DIR "/") + QLatin1String(sub));
        for (const QFileInfo &f : dir.entryInfoList(QDir::Files, QDir::Name)) {
            QTest::newRow(qPrintable(QLatin1String(sub) + '/' + f.fileName())) << f.filePath();
            ++files;
        }
    }
    QVERIFY2(files >= 6, "the seed corpus is missing");
}

void tst_FileControllerTools::replayScanCorpus()
{
    QFETCH(QString, path);
    QFile f(path);
    QVERIFY(f.open(QIODevice::ReadOnly));
    const QByteArray file = f.readAll();
    QTemporaryDir scratch;
    QVERIFY(scratch.isValid());
    // The sanitizers refuse the gigabytes a lying count makes QSettings reserve, before
    // QSettings could throw; there only the scanner's own properties are replayed.
#if defined(__SANITIZE_ADDRESS__)
    const bool withSettings = false;
#elif defined(__has_feature)
#  if __has_feature(address_sanitizer)
    const bool withSettings = false;
#  else
    const bool withSettings = true;
#  endif
#else
    const bool withSettings = true;
#endif
    const char *broken = iniscancheck::check(file.constData(), std::size_t(file.size()),
                                             scratch.path(), withSettings);
    QVERIFY2(!broken, broken);
}

// With a QGuiApplication, as in the dashboard: a store may hold a pixmap, which QSettings only
// decodes there.
QTEST_MAIN(tst_FileControllerTools)
#include "tst_filecontrollertools.moc"
