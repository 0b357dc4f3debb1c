// The guarded reader behind MessageStruct's >> operator, on hostile and broken blocks.
#include "Controllers/qvipc_message.h"
#include "Controllers/qvipc_message_reader_p.h"

#include "alloc_probe.h"
#include "golden_vectors.h"
#include "message_decode_check.h"
#include "message_differential_check.h"

#include <QBitArray>
#include <QByteArrayList>
#include <QCborValue>
#include <QImage>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLine>
#include <QLocale>
#include <QRect>
#include <QUrl>
#include <QUuid>
#include <QVersionNumber>
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
    void allowedTypesRoundTrip_data();
    void allowedTypesRoundTrip();
    void readsAsQtReads_data();
    void readsAsQtReads();
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
    // Whatever lies inside the argument list, the list reads as empty, as Qt's reading leaves a
    // list one of whose elements failed.
    QTest::addColumn<QByteArray>("block");
    const QByteArray dashVariant = variantHeader(QMetaType::QString) + str("-");

    QTest::newRow("arguments count 0xffffffff") << header(0xffffffffu) + dashVariant;
    QTest::newRow("arguments count 0x7fffffff") << header(0x7fffffffu) + dashVariant;
    // A count the bytes could hold, elements missing: a list cut short.
    QTest::newRow("arguments count one too many") << header(2) + dashVariant;
    QTest::newRow("nested list count") << header(2) + dashVariant
                    + variantHeader(QMetaType::QVariantList) + u32(0x40000000u) + dashVariant;
    QTest::newRow("string list count") << header(2) + dashVariant
                    + variantHeader(QMetaType::QStringList) + u32(0xfffffff0u) + str("a");
    QTest::newRow("map count") << header(2) + dashVariant
                    + variantHeader(QMetaType::QVariantMap) + u32(0x10000000u) + str("k")
                                  + dashVariant;
    QTest::newRow("hash count") << header(2) + dashVariant
                    + variantHeader(QMetaType::QVariantHash) + u32(0x10000000u);
    QTest::newRow("string length") << header(2) + dashVariant
                    + variantHeader(QMetaType::QString) + u32(0xfffffffeu) + "abcd";
    QTest::newRow("odd string length") << header(2) + dashVariant
                    + variantHeader(QMetaType::QString) + u32(3) + "abcd";
    QTest::newRow("byte array length") << header(2) + dashVariant
                    + variantHeader(QMetaType::QByteArray) + u32(0xfffffff0u) + "abcd";
    QTest::newRow("type name length") << header(2) + dashVariant
                    + variantHeader(QMetaType::User) + u32(0xfffffff0u) + "Supply";
    QTest::newRow("method name length") << QByteArray(1, '\0') + u32(0x7ffffffe) + "ab";
    QByteArray supply = header(1) + variantHeader(QMetaType::User) + u32(18)
            + QByteArray("SupplyInformation", 18) + str("S1") + str("P") + u32(0xfffffff0u);
    QTest::newRow("supply string list count") << supply;
}

void tst_MessageReader::lyingCounts()
{
    QFETCH(QByteArray, block);
    const Decoded d = decodeMeasured(block);
    QCOMPARE(d.message.arguments, QVariantList());
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
    // The Core value types that cost most heap for their bytes.
    const auto many = [&](const QByteArray &value) {
        const quint32 n = quint32((mib - 17) / value.size());
        return build(n, [&](QDataStream &out) {
            for (quint32 i = 0; i < n; ++i)
                out.writeRawData(value.constData(), int(value.size()));
        });
    };
    QTest::newRow("one-letter URLs") << many(variantHeader(QMetaType::QUrl) + u32(1) + "a") << true;
    QTest::newRow("one-element JSON arrays")
            << many(variantHeader(QMetaType::QJsonArray) + u32(3) + "[0]") << true;
    QTest::newRow("nested JSON arrays") << many(variantHeader(QMetaType::QJsonArray) + u32(31)
                                                + "[[[[[[[[[[[[[[[0]]]]]]]]]]]]]]]") << true;
    QTest::newRow("one-bit arrays") << many(variantHeader(QMetaType::QBitArray)
                                            + QByteArray::fromHex("000000000000000101")) << true;
    QTest::newRow("offset date-times") << many(variantHeader(QMetaType::QDateTime)
            + QByteArray::fromHex("0000000000258a98" "0038cef8" "02" "00000e10")) << true;
    QTest::newRow("locales") << many(variantHeader(QMetaType::QLocale) + str("de")) << true;
    QTest::newRow("version numbers") << many(variantHeader(QMetaType::User) + u32(15)
            + QByteArray("QVersionNumber", 15) + u32(9) + QByteArray(36, '\1')) << true;
    QTest::newRow("byte array lists") << many(variantHeader(QMetaType::QByteArrayList) + u32(1)
                                              + u32(0)) << true;
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
        QVERIFY(d.status != QDataStream::Ok);   // no data field after the list, or refused
        QVERIFY(shape.elements > 9000 || d.status == QDataStream::ReadCorruptData);
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

    // A megabyte of them ends where the allowance does, and the list with it.
    const QByteArray many = block((1024 * 1024 - 17) / 18);
    const Decoded d = decodeMeasured(many);
    QCOMPARE(d.status, QDataStream::ReadCorruptData);
    QVERIFY(d.message.arguments.isEmpty());
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
    // the core sits 32 containers deep. One level more is refused, and every list around it
    // reads as empty, as when an element fails in Qt's reading.
    QTest::newRow("30") << 30 << 31 << true;
    QTest::newRow("31") << 31 << 32 << true;
    QTest::newRow("32") << 32 << 0 << false;
    QTest::newRow("200") << 200 << 0 << false;
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
    QCOMPARE(d.message.arguments.size(), complete ? 1 : 0);
    QCOMPARE(shapeOf(d.message).depth, expectedLevels);
    bool refused = false;
    messagecheck::guardedRead(block, &refused);
    QCOMPARE(refused, !complete);
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
    QVERIFY(d.message.arguments.isEmpty());

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
    QVERIFY(s.message.arguments.isEmpty());
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
    // A date-time in a time zone: Qt opens the zone's file, by a name the block gives.
    QTest::newRow("QDateTime in a time zone") << variantHeader(QMetaType::QDateTime)
            + QByteArray(13, '\3') + str("../../../etc/passwd");
    // Any other time spec: Qt makes a date-time in an invalid zone of it, and writes it back as
    // a zone by name.
    QTest::newRow("QDateTime time spec 7") << variantHeader(QMetaType::QDateTime)
            + QByteArray::fromHex("0000000000258a98" "0038cef8" "07");
    // A function pointer from the block.
    QTest::newRow("QEasingCurve") << variantHeader(QMetaType::QEasingCurve) + QByteArray(40, '\1');
    // Parsers whose inputs allocate from counts (CBOR) or compile later (patterns).
    QTest::newRow("QCborValue") << variantHeader(QMetaType::QCborValue) + u32(2) + "\x9a\xff";
    QTest::newRow("QRegularExpression") << variantHeader(QMetaType::QRegularExpression)
                                              + str("(a+)+") + u32(0);
    QTest::newRow("void") << variantHeader(QMetaType::Void);
    QTest::newRow("QVariantPair") << variantHeader(QMetaType::QVariantPair) + QByteArray(10, '\0');
    // Qt rounds a bit count from 2^63 - 7 on up unchecked and indexes before its buffer.
    QTest::newRow("QBitArray past the signed range") << variantHeader(QMetaType::QBitArray)
            + QByteArray::fromHex("7ffffffffffffffa") + QByteArray(8, '\0');
    QTest::newRow("QVersionNumber with a lying count") << variantHeader(QMetaType::User) + u32(15)
            + QByteArray("QVersionNumber", 15) + u32(0x40000000u) + u32(1);
    QTest::newRow("JSON past the allowance") << variantHeader(QMetaType::QJsonArray)
            + u32(200000) + QByteArray(100000, '[') + QByteArray(100000, ']');
    QTest::newRow("QVariant in QVariant") << variantHeader(QMetaType::QVariant)
                                                     + variantHeader(QMetaType::Int) + u32(1);
    QTest::newRow("QObject*") << variantHeader(QMetaType::QObjectStar) + QByteArray(8, '\1');
    QTest::newRow("void*") << variantHeader(QMetaType::VoidStar) + QByteArray(8, '\1');
    QTest::newRow("user QBitmap by name") << variantHeader(QMetaType::User) + u32(8)
                                                    + QByteArray("QBitmap", 8) + u32(0);
    QTest::newRow("user QImage by name") << variantHeader(QMetaType::User) + u32(7)
                                                   + QByteArray("QImage", 7) + u32(8) + png;
    QTest::newRow("user MessageStruct by name") << variantHeader(QMetaType::User) + u32(14)
                                                          + QByteArray("MessageStruct", 14);
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
    QCOMPARE(d.message.arguments, QVariantList());
    QVERIFY(!d.message.data.isValid());
    bool refused = false;
    messagecheck::guardedRead(block, &refused);
    QVERIFY(refused);
}

void tst_MessageReader::allowedTypesRoundTrip_data()
{
    QTest::addColumn<QVariant>("value");
    const auto row = [](const char *name, const QVariant &v) { QTest::newRow(name) << v; };
    row("bool", true);
    row("int", -7);
    row("uint", 7u);
    row("qlonglong", -(qlonglong(1) << 40));
    row("qulonglong", qulonglong(1) << 63);
    row("double", 2.5);
    row("float", 0.25f);
    row("short", QVariant::fromValue<short>(-2));
    row("ushort", QVariant::fromValue<ushort>(65535));
    row("long", QVariant::fromValue<long>(-3));
    row("ulong", QVariant::fromValue<ulong>(5678));
    row("char", QVariant::fromValue<char>('a'));
    row("signed char", QVariant::fromValue<signed char>(-5));
    row("uchar", QVariant::fromValue<uchar>(200));
    row("char16_t", QVariant::fromValue<char16_t>(u'\u263a'));
    row("char32_t", QVariant::fromValue<char32_t>(U'\U0001F600'));
    row("nullptr", QVariant::fromValue(nullptr));
    row("QCborSimpleType", QVariant::fromValue(QCborSimpleType(5)));
    row("QChar", QVariant(QChar(0x263a)));
    row("QString", QStringLiteral("Etikett \u00e9"));
    row("QByteArray", QByteArray("\0\1raw", 5));
    row("QStringList", QStringList{ "a", QString(), "" });
    row("QByteArrayList", QVariant::fromValue(QByteArrayList{ "a", QByteArray(), "bc" }));
    row("QDate", QDate(2024, 2, 29));
    row("QTime", QTime(23, 59, 58, 999));
    row("QDateTime local", QDateTime(QDate(2024, 1, 2), QTime(1, 2, 3), Qt::LocalTime));
    row("QDateTime UTC", QDateTime(QDate(2024, 1, 2), QTime(1, 2, 3), Qt::UTC));
    row("QDateTime offset", QDateTime(QDate(2024, 1, 2), QTime(1, 2, 3), Qt::OffsetFromUTC, -5400));
    row("QUrl", QUrl(QStringLiteral("https://example.org/a b?q=1#f")));
    row("QUrl local file", QUrl::fromLocalFile(QStringLiteral("/labels/a.kxld")));
    row("QUuid", QUuid(QStringLiteral("{12345678-1234-5678-9abc-def012345678}")));
    row("QSize", QSize(1, -2));
    row("QSizeF", QSizeF(1.5, 2));
    row("QPoint", QPoint(-1, 2));
    row("QPointF", QPointF(1, 2.5));
    row("QRect", QRect(1, 2, 3, 4));
    row("QRectF", QRectF(1, 2, 3.5, 4));
    row("QLine", QLine(1, 2, 3, 4));
    row("QLineF", QLineF(1, 2, 3, 4.5));
    row("QLocale", QLocale(QStringLiteral("de_DE")));
    row("QBitArray", QBitArray(13, true));
    row("QVersionNumber", QVariant::fromValue(QVersionNumber(6, 4, 2)));
    row("QJsonValue null", QJsonValue());
    row("QJsonValue bool", QJsonValue(true));
    row("QJsonValue double", QJsonValue(1.5));
    row("QJsonValue string", QJsonValue(QStringLiteral("s")));
    row("QJsonValue array", QJsonValue(QJsonArray{ 1, "x" }));
    row("QJsonValue object", QJsonValue(QJsonObject{ { "k", 2 } }));
    row("QJsonObject", QJsonObject{ { "a", 1 }, { "b", QJsonArray{ true, QJsonValue() } } });
    row("QJsonArray", QJsonArray{ 1, "x", QJsonObject{} });
    row("QJsonDocument", QJsonDocument(QJsonObject{ { "a", "b" } }));
    row("QVariantList", QVariantList{ 1, QStringLiteral("x"), QVariant() });
    row("QVariantMap", QVariantMap{ { "k", QDate(2020, 1, 1) } });
    row("QVariantHash", QVariantHash{ { "h", QUrl(QStringLiteral("file:///x")) } });
    row("SupplyInformation", QVariant::fromValue(golden::sampleSupply()));
}

void tst_MessageReader::allowedTypesRoundTrip()
{
    QFETCH(QVariant, value);
    // As an argument and as data: read back with its type and value, nothing refused, and
    // exactly as Qt's own reading gives it.
    MessageStruct m = golden::broadcast({ QStringLiteral("before"), value, QStringLiteral("-") });
    m.data = value;
    const QByteArray block = QVIPCMessage::encode(m);
    const Decoded d = decodeMeasured(block);
    QCOMPARE(d.status, QDataStream::Ok);
    QCOMPARE(d.message.arguments.size(), 3);
    for (const QVariant &read : { d.message.arguments.at(1), d.message.data }) {
        QCOMPARE(read.metaType(), value.metaType());
        QCOMPARE(read, value);
    }
    QCOMPARE(d.message.arguments.at(2), QVariant(QStringLiteral("-")));
    bool refused = true;
    QVERIFY(messagecheck::guardedRead(block, &refused) == m);
    QVERIFY(!refused);
    const char *differs = messagecheck::differential(block.constData(), std::size_t(block.size()));
    QVERIFY2(!differs, differs);
}

void tst_MessageReader::readsAsQtReads_data()
{
    QTest::addColumn<QByteArray>("block");
    QTest::addColumn<QVariantList>("arguments");
    QTest::addColumn<QVariant>("data");
    const QByteArray dash = variantHeader(QMetaType::QString) + str("-");
    const QByteArray one = variantHeader(QMetaType::Int) + u32(1);

    // A list cut short is emptied, as Qt's own reading empties it.
    QTest::newRow("list cut short") << header(3) + dash + one << QVariantList() << QVariant();
    QTest::newRow("nested list cut short") << header(2) + dash
            + variantHeader(QMetaType::QVariantList) + u32(2) + one + u32(QMetaType::Int)
            << QVariantList() << QVariant();
    // A string with an odd length is corrupt: its list is emptied, and the reading goes on
    // right after the length, as Qt's does; here the data field follows.
    QTest::newRow("odd string length") << header(2) + dash + variantHeader(QMetaType::QString)
            + u32(3) + one << QVariantList() << QVariant(1);
    // A type id this process does not know reads as a null variant, and the reading goes on.
    QTest::newRow("unknown type id") << header(2) + variantHeader(0x7fff) + dash + one
            << QVariantList{ QVariant(), QStringLiteral("-") } << QVariant(1);
    // A built-in type named in the user form is that type.
    QTest::newRow("QString by name") << header(1) + variantHeader(QMetaType::User) + u32(8)
            + QByteArray("QString", 8) + str("x") + one << QVariantList{ QStringLiteral("x") }
            << QVariant(1);
    // An unknown name is corrupt, and the reading goes on after it.
    QTest::newRow("unknown name") << header(1) + variantHeader(QMetaType::User) + u32(5)
            + QByteArray("Nope", 5) + one << QVariantList() << QVariant(1);
    QTest::newRow("near name") << header(1) + variantHeader(QMetaType::User) + u32(18)
            + QByteArray("SupplyInformatiom", 18) + one << QVariantList() << QVariant(1);
    // Only the lowest bit of the null flag counts, as Qt keeps it in one bit.
    QTest::newRow("null flag 2") << header(1) + u32(QMetaType::Int) + QByteArray(1, '\2') + u32(5)
            + one << QVariantList{ 5 } << QVariant(1);
}

void tst_MessageReader::readsAsQtReads()
{
    QFETCH(QByteArray, block);
    QFETCH(QVariantList, arguments);
    QFETCH(QVariant, data);
    bool refused = true;
    const MessageStruct m = messagecheck::guardedRead(block, &refused);
    QVERIFY(!refused);
    QCOMPARE(m.arguments, arguments);
    QCOMPARE(m.data, data);
    const char *differs = messagecheck::differential(block.constData(), std::size_t(block.size()));
    QVERIFY2(!differs, differs);
    // The null flag travels on: a value flagged null keeps the flag.
    const QByteArray flagged = header(1) + u32(QMetaType::Int) + QByteArray(1, '\1') + u32(5);
    const MessageStruct f = messagecheck::guardedRead(flagged, &refused);
    QVERIFY(f.arguments.at(0).isNull());
    QCOMPARE(f.arguments.at(0).toInt(), 5);
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
            QVERIFY2(m.methodName == whole.methodName || m.methodName.isEmpty(), where);
            QVERIFY2(m.dataType == whole.dataType || m.dataType.isEmpty(), where);
            QVERIFY2(m.arguments.size() <= whole.arguments.size(), where);
            // Only the last element read can be a container cut short.
            for (qsizetype i = 0; i + 1 < m.arguments.size(); ++i)
                QVERIFY2(m.arguments.at(i) == whole.arguments.at(i), where);
            if (m.dataType == QLatin1String("17SupplyInformation"))
                QVERIFY2(m.data.metaType() == QMetaType::fromType<SupplyInformation>(), where);
            else
                QVERIFY2(!m.data.isValid() || m.data.metaType() == whole.data.metaType(), where);
            if (length == full.size())
                QVERIFY2(m == whole, where);
            QVERIFY2(!messagecheck::check(full.constData(), std::size_t(length)), where);
            const char *differs = messagecheck::differential(full.constData(), std::size_t(length));
            QVERIFY2(!differs, where + ": " + differs);
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
    for (const char *sub : { "corpus/message_decode", "regressions/message_decode",
                             "corpus/message_differential", "regressions/message_differential" }) {
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
    const char *differs = messagecheck::differential(block.constData(), std::size_t(block.size()));
    QVERIFY2(!differs, differs);
    if (allocprobe::available())
        QVERIFY2(d.usage.peakGrowth <= AllocationFactor * block.size() + FixedAllowance,
                 qPrintable(QStringLiteral("%1 bytes: peak heap growth %2, largest %3")
                                    .arg(block.size()).arg(d.usage.peakGrowth).arg(d.usage.largest)));
}

QTEST_GUILESS_MAIN(tst_MessageReader)
#include "tst_messagereader.moc"
