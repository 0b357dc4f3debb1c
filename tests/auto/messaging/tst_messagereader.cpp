// The guarded reader behind MessageStruct's >> operator, on hostile and broken blocks.
#include "Controllers/qvipc_message.h"
#include "Controllers/qvipc_message_reader_p.h"

#include "alloc_probe.h"
#include "golden_vectors.h"
#include "message_decode_check.h"

#include <QImage>
#include <QtTest>

namespace {

// Heap use allowed for decoding a block: a small multiple of its size, plus a fixed part:
// the stream and its buffer, and the reader's allowance for non-empty hashes (64 KB, each
// hash's first entry commits about 2.9 KB).
constexpr long long AllocationFactor = 16;
constexpr long long FixedAllowance = 16 * 1024 + 64 * 1024;

// Big-endian writers for building blocks by hand.
QByteArray u32(quint32 v)
{
    QByteArray b(4, '\0');
    qToBigEndian(v, b.data());
    return b;
}

QByteArray str(const QString &s)
{
    QByteArray b = u32(quint32(s.size() * 2));
    for (QChar c : s) {
        b.append(char(c.unicode() >> 8));
        b.append(char(c.unicode() & 0xff));
    }
    return b;
}

QByteArray variantHeader(quint32 typeId)
{
    return u32(typeId) + QByteArray(1, '\0');
}

// methodType 0, names "-", then the argument count: what every hostile block starts with.
QByteArray header(quint32 argumentCount)
{
    return QByteArray(1, '\0') + str("-") + str("-") + u32(argumentCount);
}

struct Shape
{
    qsizetype elements = 0;     // containers' elements and strings, all levels
    int depth = 0;              // containers around the deepest element present
};

void measure(const QVariant &v, int level, Shape *shape);

void measureList(const QVariantList &list, int level, Shape *shape)
{
    if (!list.isEmpty())
        shape->depth = qMax(shape->depth, level);
    for (const QVariant &v : list) {
        ++shape->elements;
        measure(v, level, shape);
    }
}

void measure(const QVariant &v, int level, Shape *shape)
{
    switch (v.metaType().id()) {
    case QMetaType::QVariantList:
        measureList(v.toList(), level + 1, shape);
        break;
    case QMetaType::QVariantMap:
    case QMetaType::QVariantHash: {
        const QVariantMap map = v.toMap();
        if (!map.isEmpty())
            shape->depth = qMax(shape->depth, level + 1);
        for (auto it = map.cbegin(); it != map.cend(); ++it) {
            ++shape->elements;
            measure(it.value(), level + 1, shape);
        }
        break;
    }
    case QMetaType::QStringList:
        if (!v.toStringList().isEmpty())
            shape->depth = qMax(shape->depth, level + 1);
        shape->elements += v.toStringList().size();
        break;
    default:
        if (v.metaType() == QMetaType::fromType<SupplyInformation>()) {
            const SupplyInformation s = v.value<SupplyInformation>();
            for (const QVariantList *l : { &s.layoutAreas, &s.printAreas, &s.cutPositions,
                                           &s.notchPositions, &s.extraProperties })
                measureList(*l, level + 2, shape);
            shape->elements += s.compatibleModels.size() + s.fontNames.size() + s.warnings.size();
        }
        break;
    }
}

Shape shapeOf(const MessageStruct &m)
{
    Shape shape;
    measureList(m.arguments, 1, &shape);
    measure(m.data, 0, &shape);
    return shape;
}

struct Decoded
{
    MessageStruct message;
    QDataStream::Status status = QDataStream::Ok;
    allocprobe::Usage usage;
};

Decoded decodeMeasured(const QByteArray &block)
{
    Decoded d;
    allocprobe::start();
    {
        QDataStream in(block);
        in.setVersion(QDataStream::Qt_6_0);
        in >> d.message;
        d.status = in.status();
    }
    d.usage = allocprobe::stop();
    return d;
}

QVariant nested(int levels, const QVariant &innermost)
{
    QVariant v = innermost;
    for (int i = 0; i < levels; ++i)
        v = QVariantList{ v };
    return v;
}

} // namespace

class tst_MessageReader : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();

    void allocationProbeSeesAllocations();
    void lyingCounts_data();
    void lyingCounts();
    void largeBlocksStayProportional_data();
    void largeBlocksStayProportional();
    void tinyHashesArePaidFor();
    void depthIsBounded_data();
    void depthIsBounded();
    void deepNestingDoesNotExhaustTheStack();
    void whatIsReadCanBeReadAgain();
    void typeWhitelist_data();
    void typeWhitelist();
    void everyPrefixOfEveryVector();
    void byteSweepKeepsProperties();
    void supplyOperatorIsGuarded();
    void replayCorpus_data();
    void replayCorpus();
};

void tst_MessageReader::initTestCase()
{
    QStandardPaths::setTestModeEnabled(true);
    // Loads QtGui, as the dashboard's process has it: its types become constructible by id.
    const QImage gui(1, 1, QImage::Format_RGB32);
    QVERIFY(!gui.isNull());
    QVERIFY(QMetaType::fromName("SupplyInformation").isValid());
}

void tst_MessageReader::allocationProbeSeesAllocations()
{
    if (!allocprobe::available())
        QSKIP("The sanitizers own the allocator: heap use is measured in the normal build.");
    allocprobe::start();
    {
        QByteArray big(3 * 1024 * 1024, 'x');
        QVERIFY(big.size() > 0);
    }
    const allocprobe::Usage u = allocprobe::stop();
    QVERIFY(u.largest >= 3u * 1024 * 1024);
    QVERIFY(u.peakGrowth >= 3LL * 1024 * 1024);
}

void tst_MessageReader::lyingCounts_data()
{
    QTest::addColumn<QByteArray>("block");
    QTest::addColumn<int>("arguments");      // elements of `arguments` that stand
    const QByteArray dashVariant = variantHeader(QMetaType::QString) + str("-");

    QTest::newRow("arguments count 0xffffffff") << header(0xffffffffu) + dashVariant << 0;
    QTest::newRow("arguments count 0x7fffffff") << header(0x7fffffffu) + dashVariant << 0;
    // A count the bytes could hold: the elements present stand.
    QTest::newRow("arguments count one too many") << header(2) + dashVariant << 1;
    QTest::newRow("nested list count") << header(2) + dashVariant
                    + variantHeader(QMetaType::QVariantList) + u32(0x40000000u) + dashVariant
                                       << 1;
    QTest::newRow("string list count") << header(2) + dashVariant
                    + variantHeader(QMetaType::QStringList) + u32(0xfffffff0u) + str("a")
                                       << 1;
    QTest::newRow("map count") << header(2) + dashVariant
                    + variantHeader(QMetaType::QVariantMap) + u32(0x10000000u) + str("k")
                                  + dashVariant << 1;
    QTest::newRow("hash count") << header(2) + dashVariant
                    + variantHeader(QMetaType::QVariantHash) + u32(0x10000000u) << 1;
    QTest::newRow("string length") << header(2) + dashVariant
                    + variantHeader(QMetaType::QString) + u32(0xfffffffeu) + "abcd" << 1;
    QTest::newRow("odd string length") << header(2) + dashVariant
                    + variantHeader(QMetaType::QString) + u32(3) + "abcd" << 1;
    QTest::newRow("byte array length") << header(2) + dashVariant
                    + variantHeader(QMetaType::QByteArray) + u32(0xfffffff0u) + "abcd" << 1;
    QTest::newRow("type name length") << header(2) + dashVariant
                    + variantHeader(QMetaType::User) + u32(0xfffffff0u) + "Supply" << 1;
    QTest::newRow("method name length") << QByteArray(1, '\0') + u32(0x7ffffffe) + "ab" << 0;
    QByteArray supply = header(1) + variantHeader(QMetaType::User) + u32(18)
            + QByteArray("SupplyInformation", 18) + str("S1") + str("P") + u32(0xfffffff0u);
    QTest::newRow("supply string list count") << supply << 1;
}

void tst_MessageReader::lyingCounts()
{
    QFETCH(QByteArray, block);
    QFETCH(int, arguments);
    const Decoded d = decodeMeasured(block);
    QCOMPARE(d.message.arguments.size(), arguments);
    QVERIFY(d.status != QDataStream::Ok);
    QVERIFY(!d.message.data.isValid());
    QVERIFY(shapeOf(d.message).elements <= block.size());
    if (allocprobe::available()) {
        const long long bound = AllocationFactor * block.size() + FixedAllowance;
        QVERIFY2(d.usage.peakGrowth <= bound, qPrintable(QString::number(d.usage.peakGrowth)));
        QVERIFY2(qint64(d.usage.largest) <= bound, qPrintable(QString::number(d.usage.largest)));
    }
}

void tst_MessageReader::largeBlocksStayProportional_data()
{
    QTest::addColumn<QByteArray>("block");
    QTest::addColumn<bool>("truthfulCount");
    const int mib = 1024 * 1024;
    // Written straight through a stream: these blocks have hundreds of thousands of values.
    const auto build = [](quint32 arguments, auto &&body) {
        QByteArray block = header(arguments);
        block.reserve(1024 * 1024 + 64);
        QDataStream out(&block, QIODevice::WriteOnly | QIODevice::Append);
        body(out);
        return block;
    };

    // Counts that fit exactly in the bytes that follow: the worst ratio of memory to bytes.
    const quint32 nulls = (mib - 17) / 5;
    QTest::newRow("null variants") << build(nulls, [&](QDataStream &out) {
        for (quint32 i = 0; i < nulls; ++i)
            out << quint32(0) << qint8(1);
    }) << true;
    const quint32 lists = (mib - 17) / 9;
    QTest::newRow("empty lists") << build(lists, [&](QDataStream &out) {
        for (quint32 i = 0; i < lists; ++i)
            out << quint32(QMetaType::QVariantList) << qint8(0) << quint32(0);
    }) << true;
    const quint32 entries = (mib - 26) / 13;
    QTest::newRow("map entries") << build(1, [&](QDataStream &out) {
        out << quint32(QMetaType::QVariantMap) << qint8(0) << entries;
        for (quint32 i = 0; i < entries; ++i) {
            const char16_t key[] = { char16_t(0x100 + (i >> 16)), char16_t(i & 0xffff) };
            out << quint32(4) << quint16(key[0]) << quint16(key[1]) << quint32(0) << qint8(1);
        }
    }) << true;
    QTest::newRow("hash entries") << build(1, [&](QDataStream &out) {
        out << quint32(QMetaType::QVariantHash) << qint8(0) << entries;
        for (quint32 i = 0; i < entries; ++i) {
            const char16_t key[] = { char16_t(0x100 + (i >> 16)), char16_t(i & 0xffff) };
            out << quint32(4) << quint16(key[0]) << quint16(key[1]) << quint32(0) << qint8(1);
        }
    }) << true;
    const quint32 strings = (mib - 26) / 6;
    QTest::newRow("one-letter strings") << build(1, [&](QDataStream &out) {
        out << quint32(QMetaType::QStringList) << qint8(0) << strings;
        for (quint32 i = 0; i < strings; ++i)
            out << quint32(2) << quint16('x');
    }) << true;
    // A count that lies, ahead of a megabyte of data.
    QTest::newRow("lying count over 1 MiB") << header(0xfffffffeu) + QByteArray(mib, '\0') << false;
}

void tst_MessageReader::largeBlocksStayProportional()
{
    QFETCH(QByteArray, block);
    QFETCH(bool, truthfulCount);
    const Decoded d = decodeMeasured(block);
    const Shape shape = shapeOf(d.message);
    if (truthfulCount) {
        QCOMPARE(d.status, QDataStream::ReadPastEnd);     // no data field after the list
        QVERIFY(shape.elements > 50000);
    } else {
        QCOMPARE(d.status, QDataStream::ReadCorruptData);
        QCOMPARE(shape.elements, 0);
    }
    QVERIFY(shape.elements <= block.size() / 4);
    if (!allocprobe::available())
        QSKIP("Heap use is measured in the normal build only.");
    const long long bound = AllocationFactor * block.size() + FixedAllowance;
    qDebug("block %lld bytes: peak heap growth %lld (%.1fx), largest allocation %zu",
           (long long)block.size(), d.usage.peakGrowth,
           double(d.usage.peakGrowth) / block.size(), d.usage.largest);
    QVERIFY(d.usage.peakGrowth <= bound);
    QVERIFY(qint64(d.usage.largest) <= bound);
}

void tst_MessageReader::tinyHashesArePaidFor()
{
    // One-entry hashes: 18 bytes on the wire, about 2.9 KB of heap each.
    const QByteArray oneEntryHash = variantHeader(QMetaType::QVariantHash) + u32(1) + str("")
            + variantHeader(QMetaType::UnknownType);
    const auto block = [&](int hashes) {
        QByteArray b = header(quint32(hashes));
        for (int i = 0; i < hashes; ++i)
            b += oneEntryHash;
        return b;
    };

    // A few, as a reply could carry, are read in full.
    const Decoded few = decodeMeasured(block(8));
    QCOMPARE(few.status, QDataStream::ReadPastEnd);    // only the data field is missing
    QCOMPARE(few.message.arguments.size(), 8);
    QCOMPARE(few.message.arguments.at(7), QVariant(QVariantHash{ { QString(""), QVariant() } }));

    // A megabyte of them ends where the allowance does.
    const QByteArray many = block((1024 * 1024 - 17) / 18);
    const Decoded d = decodeMeasured(many);
    QCOMPARE(d.status, QDataStream::ReadCorruptData);
    QVERIFY(d.message.arguments.size() > 8);
    QVERIFY(d.message.arguments.size() < 1000);
    if (!allocprobe::available())
        QSKIP("Heap use is measured in the normal build only.");
    qDebug("%lld hashes read from %lld bytes: peak heap growth %lld (%.1fx)",
           (long long)d.message.arguments.size(), (long long)many.size(), d.usage.peakGrowth,
           double(d.usage.peakGrowth) / many.size());
    QVERIFY(d.usage.peakGrowth <= AllocationFactor * many.size() + FixedAllowance);
}

void tst_MessageReader::depthIsBounded_data()
{
    QTest::addColumn<int>("levels");
    QTest::addColumn<int>("expectedLevels");
    QTest::addColumn<bool>("complete");
    // The argument list is the first container; 31 lists fit inside it, so the string at
    // the core sits 32 containers deep. One level more and the 32nd list is dropped whole,
    // leaving the 31st empty: its deepest element is then 31 containers deep.
    QTest::newRow("30") << 30 << 31 << true;
    QTest::newRow("31") << 31 << 32 << true;
    QTest::newRow("32") << 32 << 31 << false;
    QTest::newRow("200") << 200 << 31 << false;
}

void tst_MessageReader::depthIsBounded()
{
    QFETCH(int, levels);
    QFETCH(int, expectedLevels);
    QFETCH(bool, complete);
    QCOMPARE(MessageReader::MaxDepth, 32);
    MessageStruct m = golden::broadcast({ nested(levels, QStringLiteral("core")) });
    const QByteArray block = QVIPCMessage::encode(m);
    const Decoded d = decodeMeasured(block);
    QCOMPARE(d.message.arguments.size(), 1);
    QCOMPARE(shapeOf(d.message).depth, expectedLevels);
    if (complete) {
        QCOMPARE(d.status, QDataStream::Ok);
        QVERIFY(d.message == m);
    } else {
        QCOMPARE(d.status, QDataStream::ReadCorruptData);
        QVERIFY(!d.message.data.isValid());   // the block ended at the 32nd level
    }
}

void tst_MessageReader::deepNestingDoesNotExhaustTheStack()
{
    // Plain QDataStream recurses once per level and overflows the stack on such a block.
    QByteArray block = header(1);
    const QByteArray level = variantHeader(QMetaType::QVariantList) + u32(1);
    while (block.size() < 1024 * 1024)
        block += level;
    const Decoded d = decodeMeasured(block);
    QCOMPARE(d.status, QDataStream::ReadCorruptData);
    QCOMPARE(shapeOf(d.message).depth, MessageReader::MaxDepth - 1);

    // The same through supply records nested in their own lists: each costs two levels.
    QVariant inner = QStringLiteral("core");
    for (int i = 0; i < 40; ++i) {
        SupplyInformation info;
        info.layoutAreas = { inner };
        inner = QVariant::fromValue(info);
    }
    const QByteArray supplies = QVIPCMessage::encode(golden::broadcast({ inner }));
    const Decoded s = decodeMeasured(supplies);
    QCOMPARE(s.status, QDataStream::ReadCorruptData);
    QCOMPARE(s.message.arguments.size(), 1);
    QVERIFY(shapeOf(s.message).depth <= MessageReader::MaxDepth);
    QVERIFY(shapeOf(s.message).depth >= MessageReader::MaxDepth - 1);
}

void tst_MessageReader::whatIsReadCanBeReadAgain()
{
    // A supply record near the depth bound keeps its (empty) lists one level deeper than
    // itself: the reader must take them back once written, whatever depth they sit at.
    for (int levels = 25; levels <= 34; ++levels) {
        SupplyInformation info;
        info.warnings = { QStringLiteral("w") };
        const QByteArray block = QVIPCMessage::encode(
                golden::broadcast({ nested(levels, QVariant::fromValue(info)) }));
        const char *broken = messagecheck::check(block.constData(), std::size_t(block.size()));
        QVERIFY2(!broken, qPrintable(QStringLiteral("%1 levels: %2").arg(levels).arg(QLatin1String(broken))));
    }
}

void tst_MessageReader::typeWhitelist_data()
{
    QTest::addColumn<QByteArray>("value");
    const QByteArray png = QByteArray::fromHex("89504e470d0a1a0a");
    // Types Qt would construct from these bytes; QtGui is loaded in this process, and a
    // QBitmap built without a GUI application aborts it.
    QTest::newRow("QBitmap") << variantHeader(QMetaType::QBitmap) + u32(0) ;
    QTest::newRow("QImage") << variantHeader(QMetaType::QImage) + u32(8) + png;
    QTest::newRow("QPixmap") << variantHeader(QMetaType::QPixmap) + u32(8) + png;
    QTest::newRow("QColor") << variantHeader(QMetaType::QColor) + QByteArray(10, '\1');
    QTest::newRow("QDateTime") << variantHeader(QMetaType::QDateTime) + QByteArray(13, '\3')
                                          + str("../../../etc/passwd");
    QTest::newRow("QUrl") << variantHeader(QMetaType::QUrl) + str("file:///");
    QTest::newRow("QVariant in QVariant") << variantHeader(QMetaType::QVariant)
                                                     + variantHeader(QMetaType::Int) + u32(1);
    QTest::newRow("QObject*") << variantHeader(QMetaType::QObjectStar) + QByteArray(8, '\1');
    QTest::newRow("void*") << variantHeader(QMetaType::VoidStar) + QByteArray(8, '\1');
    QTest::newRow("QChar") << variantHeader(QMetaType::QChar) + QByteArray(2, 'a');
    QTest::newRow("QDate") << variantHeader(QMetaType::QDate) + QByteArray(8, '\1');
    QTest::newRow("long") << variantHeader(QMetaType::Long) + QByteArray(8, '\1');
    QTest::newRow("unknown id") << variantHeader(0x7fff) + QByteArray(8, '\1');
    QTest::newRow("user QBitmap by name") << variantHeader(QMetaType::User) + u32(8)
                                                    + QByteArray("QBitmap", 8) + u32(0);
    QTest::newRow("user QImage by name") << variantHeader(QMetaType::User) + u32(7)
                                                   + QByteArray("QImage", 7) + u32(8) + png;
    QTest::newRow("user MessageStruct by name") << variantHeader(QMetaType::User) + u32(14)
                                                          + QByteArray("MessageStruct", 14);
    QTest::newRow("user near name") << variantHeader(QMetaType::User) + u32(18)
                                               + QByteArray("SupplyInformatiom", 18);
    QTest::newRow("user name without NUL, then junk")
            << variantHeader(QMetaType::User) + u32(18) + QByteArray("SupplyInformationX", 18);
}

void tst_MessageReader::typeWhitelist()
{
    QFETCH(QByteArray, value);
    // The danger is real here: QtGui's types are known to this process, and the test runs
    // without a GUI application, where constructing a QBitmap aborts.
    QVERIFY(QMetaType(QMetaType::QBitmap).isValid());
    QVERIFY(QMetaType::fromName("QImage").isValid());
    const QByteArray dash = variantHeader(QMetaType::QString) + str("-");
    const QByteArray block = header(3) + dash + value + dash + dash;
    const Decoded d = decodeMeasured(block);
    QCOMPARE(d.status, QDataStream::ReadCorruptData);
    QCOMPARE(d.message.arguments, QVariantList{ QStringLiteral("-") });
    QVERIFY(!d.message.data.isValid());
}

void tst_MessageReader::everyPrefixOfEveryVector()
{
    for (const golden::Vector &v : golden::all()) {
        const QByteArray full = golden::bytes(v.hex);
        const MessageStruct whole = v.record();
        for (int length = 0; length <= full.size(); ++length) {
            MessageStruct m;
            QVERIFY(QVIPCMessage::decode(full.constData(), quint32(length), &m));
            const QByteArray where = QByteArray(v.name) + " cut at " + QByteArray::number(length);
            QVERIFY2(m.methodType == whole.methodType || m.methodType == 0, where);
            QVERIFY2(m.methodName == whole.methodName || m.methodName.isNull(), where);
            QVERIFY2(m.dataType == whole.dataType || m.dataType.isNull(), where);
            QVERIFY2(m.arguments.size() <= whole.arguments.size(), where);
            // Only the last element read can be a container cut short.
            for (qsizetype i = 0; i + 1 < m.arguments.size(); ++i)
                QVERIFY2(m.arguments.at(i) == whole.arguments.at(i), where);
            if (m.dataType == QLatin1String("17SupplyInformation"))
                QVERIFY2(m.data.metaType() == QMetaType::fromType<SupplyInformation>(), where);
            else
                QVERIFY2(!m.data.isValid() || m.data == whole.data, where);
            if (length == full.size())
                QVERIFY2(m == whole, where);
            QVERIFY2(!messagecheck::check(full.constData(), std::size_t(length)), where);
        }
    }
}

void tst_MessageReader::byteSweepKeepsProperties()
{
    for (const golden::Vector &v : golden::all()) {
        const QByteArray full = golden::bytes(v.hex);
        for (int i = 0; i < full.size(); ++i) {
            for (char b : { '\x00', '\xff', '\x7f', '\x80', '\x09', '\x26' }) {
                QByteArray block = full;
                block[i] = b;
                const char *broken = messagecheck::check(block.constData(), std::size_t(block.size()));
                QVERIFY2(!broken, qPrintable(QStringLiteral("%1 byte %2 = %3: %4")
                                                     .arg(v.name).arg(i).arg(int(uchar(b)))
                                                     .arg(QLatin1String(broken))));
            }
        }
    }
}

void tst_MessageReader::supplyOperatorIsGuarded()
{
    // The meta-type system's entry point reads with the same rules.
    QByteArray block = str("S1") + str("P") + u32(0xfffffff0u);
    QDataStream in(block);
    SupplyInformation info;
    info.revision = 5;
    in >> info;
    QCOMPARE(in.status(), QDataStream::ReadCorruptData);
    SupplyInformation expected;
    expected.supplyId = QStringLiteral("S1");
    expected.partNumber = QStringLiteral("P");
    QCOMPARE(info, expected);

    // A plain QVariant read of a variant naming the record lands here too.
    QByteArray variant = variantHeader(QMetaType::User) + u32(18)
            + QByteArray("SupplyInformation", 18) + block;
    QDataStream vin(variant);
    QVariant v;
    vin >> v;
    QCOMPARE(v.value<SupplyInformation>(), expected);
}

void tst_MessageReader::replayCorpus_data()
{
    QTest::addColumn<QString>("path");
    int files = 0;
    for (const char *sub : { "corpus/message_decode", "regressions/message_decode" }) {
        QDir dir(QStringLiteral(KORVEX_FUZZ_DIR "/") + QLatin1String(sub));
        for (const QFileInfo &f : dir.entryInfoList(QDir::Files, QDir::Name)) {
            QTest::newRow(qPrintable(QLatin1String(sub) + '/' + f.fileName())) << f.filePath();
            ++files;
        }
    }
    QVERIFY2(files >= 8, "the seed corpus is missing");
}

void tst_MessageReader::replayCorpus()
{
    QFETCH(QString, path);
    QFile f(path);
    QVERIFY(f.open(QIODevice::ReadOnly));
    const QByteArray block = f.readAll();
    const Decoded d = decodeMeasured(block);
    QVERIFY(shapeOf(d.message).depth <= MessageReader::MaxDepth);
    const char *broken = messagecheck::check(block.constData(), std::size_t(block.size()));
    QVERIFY2(!broken, broken);
    if (allocprobe::available())
        QVERIFY2(d.usage.peakGrowth <= AllocationFactor * block.size() + FixedAllowance,
                 qPrintable(QStringLiteral("%1 bytes: peak heap growth %2, largest %3")
                                    .arg(block.size()).arg(d.usage.peakGrowth).arg(d.usage.largest)));
}

QTEST_GUILESS_MAIN(tst_MessageReader)
#include "tst_messagereader.moc"
