// The message record, its byte format and request invocation.
#include "Controllers/qvipc_message.h"

#include "golden_vectors.h"

#include <QtTest>

#include <cstring>

namespace {

// A stand-in for a converter the printing library could register.
struct LegacySupply
{
    QString id;
    float width = 0;
};

} // namespace

Q_DECLARE_METATYPE(LegacySupply)

// A request target that records what reached it.
class RequestTarget : public QObject
{
    Q_OBJECT
public:
    QStringList calls;
    QVariantList received;

    // Typed return slots only reach methods of the same return type, so the overloads that
    // check arity return bool.
    Q_INVOKABLE bool name() { return hit(QStringLiteral("name()"), {}); }
    Q_INVOKABLE bool name(const QString &a) { return hit(QStringLiteral("name(QString)"), { a }); }
    Q_INVOKABLE bool name(const QString &a, const QString &b)
    {
        return hit(QStringLiteral("name(QString,QString)"), { a, b });
    }
    Q_INVOKABLE bool name(const QString &a, const QString &b, const QString &c)
    {
        return hit(QStringLiteral("name(QString,QString,QString)"), { a, b, c });
    }
    Q_INVOKABLE bool name(const QString &a, const QString &b, const QString &c, const QString &d)
    {
        return hit(QStringLiteral("name(4)"), { a, b, c, d });
    }
    Q_INVOKABLE void plain() { calls << QStringLiteral("plain()"); }
    Q_INVOKABLE void plain(const QString &a) { hit(QStringLiteral("plain(QString)"), { a }); }

    Q_INVOKABLE bool takes(int v) { return hit(QStringLiteral("takes(int)"), { v }); }
    Q_INVOKABLE bool takes(quint32 v) { return hit(QStringLiteral("takes(quint32)"), { v }); }
    Q_INVOKABLE bool takes(quint64 v) { return hit(QStringLiteral("takes(quint64)"), { v }); }
    Q_INVOKABLE bool takes(bool v) { return hit(QStringLiteral("takes(bool)"), { v }); }
    Q_INVOKABLE bool takes(double v) { return hit(QStringLiteral("takes(double)"), { v }); }
    Q_INVOKABLE bool takes(const QString &v) { return hit(QStringLiteral("takes(QString)"), { v }); }
    Q_INVOKABLE bool takes(const QStringList &v)
    {
        return hit(QStringLiteral("takes(QStringList)"), { v });
    }
    Q_INVOKABLE bool takes(float v) { return hit(QStringLiteral("takes(float)"), { v }); }
    Q_INVOKABLE bool takes(qlonglong v) { return hit(QStringLiteral("takes(qlonglong)"), { v }); }
    Q_INVOKABLE bool takes(const QByteArray &v)
    {
        return hit(QStringLiteral("takes(QByteArray)"), { v });
    }

    Q_INVOKABLE int answer() { calls << QStringLiteral("answer"); return 42; }
    Q_INVOKABLE quint32 seven() { calls << QStringLiteral("seven"); return 7; }
    Q_INVOKABLE quint64 big() { calls << QStringLiteral("big"); return Q_UINT64_C(1) << 40; }
    Q_INVOKABLE bool yes() { calls << QStringLiteral("yes"); return true; }
    Q_INVOKABLE QString text() { calls << QStringLiteral("text"); return QStringLiteral("hello"); }
    Q_INVOKABLE QStringList list() { calls << QStringLiteral("list"); return { "a", "b" }; }
    Q_INVOKABLE QVariantMap map() { calls << QStringLiteral("map"); return { { "k", 1 } }; }
    Q_INVOKABLE QVariantHash hash() { calls << QStringLiteral("hash"); return { { "h", 2 } }; }
    Q_INVOKABLE QVariantList variants() { calls << QStringLiteral("variants"); return { 1, "x" }; }
    Q_INVOKABLE float half() { calls << QStringLiteral("half"); return 0.5f; }
    Q_INVOKABLE double pi() { calls << QStringLiteral("pi"); return 3.25; }
    Q_INVOKABLE QByteArray bytes() { calls << QStringLiteral("bytes"); return "raw"; }
    Q_INVOKABLE SupplyInformation supply()
    {
        calls << QStringLiteral("supply");
        return golden::sampleSupply();
    }
    Q_INVOKABLE QString echo(const QString &a, int b, bool c)
    {
        calls << QStringLiteral("echo");
        return QStringLiteral("%1/%2/%3").arg(a).arg(b).arg(c);
    }

private:
    bool hit(const QString &call, const QVariantList &values)
    {
        calls << call;
        received << values;
        return true;
    }
};

class tst_QVIPCMessage : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();

    void defaults();
    void registration();
    void goldenEncode_data();
    void goldenEncode();
    void goldenDecode_data();
    void goldenDecode();
    void emptyBlock();
    void sizeMismatchDropsMessage();
    void decodeIgnoresTrailingBytes();
    void truncatedHeaderKeepsDefaults_data();
    void truncatedHeaderKeepsDefaults();
    void truncatedArgumentsReadAsEmpty();
    void truncatedSupplyFieldsKeepDefaults_data();
    void truncatedSupplyFieldsKeepDefaults();
    void streamOperatorResetsRecord();
    void streamOperatorsFollowByteOrder();
    void failedStreamReadsNothing();
    void streamPrecisionSettings_data();
    void streamPrecisionSettings();
    void floatWidenedOnWire();
    void floatFieldsAllWidened();
    void supplyCodeWithOtherDataConverts();
    void supplyCodeWithUnconvertibleDataWritesDefault();
    void supplyInVariantRoundTrip();

    void arity_data();
    void arity();
    void argumentConversion_data();
    void argumentConversion();
    void returnSlots_data();
    void returnSlots();
    void voidCallReachesNothing_data();
    void voidCallReachesNothing();
    void unknownCodeMakesNoCall();
    void nullTarget_data();
    void nullTarget();
    void returnTypeMismatchMakesNoCall();
    void threeMixedArguments();

private:
    RequestTarget *m_target = nullptr;
};

void tst_QVIPCMessage::initTestCase()
{
    QStandardPaths::setTestModeEnabled(true);
    QMetaType::registerConverter<LegacySupply, SupplyInformation>([](const LegacySupply &l) {
        SupplyInformation info;
        info.supplyId = l.id;
        info.labelWidth = l.width;
        return info;
    });
}

void tst_QVIPCMessage::init()
{
    m_target = new RequestTarget;
}

void tst_QVIPCMessage::cleanup()
{
    delete m_target;
    m_target = nullptr;
}

void tst_QVIPCMessage::defaults()
{
    const MessageStruct m;
    QCOMPARE(m.methodType, qint8(0));
    QVERIFY(m.methodName.isEmpty());
    QVERIFY(m.dataType.isEmpty());
    QVERIFY(m.arguments.isEmpty());
    QVERIFY(!m.data.isValid());

    const SupplyInformation s;
    QVERIFY(s.supplyId.isEmpty() && s.partNumber.isEmpty() && s.compatibleModels.isEmpty());
    for (float f : { s.labelWidth, s.labelHeight, s.ribbonWidth, s.gapSize, s.linerWidth,
                     s.marginLeft, s.marginTop, s.marginRight, s.marginBottom, s.maximumLength })
        QCOMPARE(f, -1.0f);
    for (qint32 i : { s.supplyType, s.mediaKind, s.colorIndex, s.remainingLabels, s.labelsPerRow,
                      s.labelsPerColumn, s.printDirection })
        QCOMPARE(i, -1);
    QCOMPARE(s.copies, 1);
    QCOMPARE(s.revision, 1);
    QVERIFY(s.chipData.isEmpty() && s.fontNames.isEmpty() && s.warnings.isEmpty());
    QVERIFY(s.layoutAreas.isEmpty() && s.printAreas.isEmpty() && s.cutPositions.isEmpty()
            && s.notchPositions.isEmpty() && s.extraProperties.isEmpty());
    SupplyInformation other;
    QVERIFY(s == other);
    other.maximumLength = 2;
    QVERIFY(s != other);
}

void tst_QVIPCMessage::registration()
{
    const QMetaType type = QMetaType::fromName("SupplyInformation");
    QVERIFY(type.isValid());
    QCOMPARE(type, QMetaType::fromType<SupplyInformation>());
    QVERIFY(type.hasRegisteredDataStreamOperators());
    QVERIFY(QMetaType::fromName("MessageStruct").isValid());

    // A variant holding the record streams through the meta-type system.
    QByteArray buffer;
    {
        QDataStream out(&buffer, QIODevice::WriteOnly);
        out << QVariant::fromValue(golden::sampleSupply());
    }
    QDataStream in(buffer);
    QVariant back;
    in >> back;
    QCOMPARE(in.status(), QDataStream::Ok);
    QCOMPARE(back.metaType(), type);
    QCOMPARE(back.value<SupplyInformation>(), golden::sampleSupply());
}

void tst_QVIPCMessage::goldenEncode_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<MessageStruct>("record");
    for (const golden::Vector &v : golden::all())
        QTest::newRow(v.name) << golden::bytes(v.hex) << v.record();
}

void tst_QVIPCMessage::goldenEncode()
{
    QFETCH(QByteArray, bytes);
    QFETCH(MessageStruct, record);
    QCOMPARE(QVIPCMessage::encode(record).toHex(' '), bytes.toHex(' '));
}

void tst_QVIPCMessage::goldenDecode_data()
{
    goldenEncode_data();
}

void tst_QVIPCMessage::goldenDecode()
{
    QFETCH(QByteArray, bytes);
    QFETCH(MessageStruct, record);
    MessageStruct decoded;
    decoded.methodName = QStringLiteral("stale");
    QVERIFY(QVIPCMessage::decode(bytes.constData(), quint32(bytes.size()), &decoded));
    QCOMPARE(decoded.methodType, record.methodType);
    QCOMPARE(decoded.methodName, record.methodName);
    QCOMPARE(decoded.dataType, record.dataType);
    QCOMPARE(decoded.arguments, record.arguments);
    QCOMPARE(decoded.data, record.data);
    QCOMPARE(decoded.data.metaType(), record.data.metaType());
    QVERIFY(decoded == record);

    // The whole block is consumed and nothing is flagged.
    QDataStream in(bytes);
    in.setVersion(QDataStream::Qt_6_0);
    MessageStruct streamed;
    in >> streamed;
    QCOMPARE(in.status(), QDataStream::Ok);
    QVERIFY(in.atEnd());
}

void tst_QVIPCMessage::emptyBlock()
{
    MessageStruct m;
    m.methodType = 5;
    m.methodName = QStringLiteral("x");
    QVERIFY(QVIPCMessage::decode("", 0, &m));
    QCOMPARE(m.methodType, qint8(0));
    QVERIFY(m.methodName.isEmpty());
    QVERIFY(m == MessageStruct());
    QVERIFY(QVIPCMessage::decode(nullptr, 0, &m));
    QVERIFY(m == MessageStruct());
}

void tst_QVIPCMessage::sizeMismatchDropsMessage()
{
    MessageStruct m = golden::statusBroadcast();
    QVERIFY(!QVIPCMessage::decode(nullptr, 12, &m));
    QVERIFY(m == golden::statusBroadcast());
    QVERIFY(!QVIPCMessage::decode("abc", 3, nullptr));
}

void tst_QVIPCMessage::decodeIgnoresTrailingBytes()
{
    const QByteArray bytes = golden::bytes(golden::statusBroadcastHex) + QByteArray(7, '\xAB');
    MessageStruct m;
    QVERIFY(QVIPCMessage::decode(bytes.constData(), quint32(bytes.size()), &m));
    QVERIFY(m == golden::statusBroadcast());
}

void tst_QVIPCMessage::truncatedHeaderKeepsDefaults_data()
{
    QTest::addColumn<int>("length");
    QTest::addColumn<qint8>("methodType");
    QTest::addColumn<QString>("methodName");
    QTest::addColumn<QString>("dataType");
    // The j reply: 1 + (4 + 20) + (4 + 2) bytes of header.
    QTest::newRow("nothing") << 0 << qint8(0) << QString() << QString();
    QTest::newRow("type only") << 1 << qint8(1) << QString() << QString();
    QTest::newRow("name cut") << 20 << qint8(1) << QString() << QString();
    QTest::newRow("name whole") << 25 << qint8(1) << QStringLiteral("labelsLeft") << QString();
    QTest::newRow("data type cut") << 30 << qint8(1) << QStringLiteral("labelsLeft") << QString();
    QTest::newRow("data type whole") << 31 << qint8(1) << QStringLiteral("labelsLeft")
                                     << QStringLiteral("j");
}

void tst_QVIPCMessage::truncatedHeaderKeepsDefaults()
{
    QFETCH(int, length);
    QFETCH(qint8, methodType);
    QFETCH(QString, methodName);
    QFETCH(QString, dataType);
    const QByteArray bytes = golden::bytes(golden::uintReplyHex).left(length);
    MessageStruct m;
    QVERIFY(QVIPCMessage::decode(bytes.constData(), quint32(bytes.size()), &m));
    QCOMPARE(m.methodType, methodType);
    QCOMPARE(m.methodName, methodName);
    QCOMPARE(m.dataType, dataType);
    QVERIFY(m.arguments.isEmpty());
    QVERIFY(!m.data.isValid());
}

void tst_QVIPCMessage::truncatedArgumentsReadAsEmpty()
{
    const QByteArray full = golden::bytes(golden::statusBroadcastHex);
    // header: 1 + 6 + 6, count 4, int 9 bytes, "P1" 13 bytes.
    const int afterCount = 1 + 6 + 6 + 4;
    const int dataSize = 4 + 1 + 4 + 2;     // the string "-"
    const int afterList = full.size() - dataSize;
    for (int length = afterCount; length < full.size(); ++length) {
        const QByteArray bytes = full.left(length);
        MessageStruct m;
        QVERIFY(QVIPCMessage::decode(bytes.constData(), quint32(bytes.size()), &m));
        QCOMPARE(m.methodName, QStringLiteral("-"));
        // A list cut short reads as empty, as Qt's own reading empties it; once it is whole,
        // only the data field is cut.
        if (length < afterList) {
            QCOMPARE(m.arguments, QVariantList());
            QVERIFY(!m.data.isValid());
        } else {
            QCOMPARE(m.arguments, golden::statusBroadcast().arguments);
            QVERIFY(m.data != golden::statusBroadcast().data);
        }
    }
}

void tst_QVIPCMessage::truncatedSupplyFieldsKeepDefaults_data()
{
    QTest::addColumn<int>("extra");
    QTest::addColumn<QString>("supplyId");
    QTest::addColumn<float>("labelWidth");
    // Offsets past the two arguments of the supply reply.
    QTest::newRow("no field") << 0 << QString() << -1.0f;
    QTest::newRow("first field cut") << 6 << QString() << -1.0f;
    QTest::newRow("first field") << 8 << QStringLiteral("S1") << -1.0f;
    QTest::newRow("width cut") << 8 + 4 + 4 + 7 << QStringLiteral("S1") << -1.0f;
    QTest::newRow("width whole") << 8 + 4 + 4 + 8 << QStringLiteral("S1") << 0.5f;
}

void tst_QVIPCMessage::truncatedSupplyFieldsKeepDefaults()
{
    QFETCH(int, extra);
    QFETCH(QString, supplyId);
    QFETCH(float, labelWidth);
    const QByteArray full = golden::bytes(golden::supplyReplyHex);
    const int header = 1 + 24 + 42 + 4 + 13 + 11;
    const QByteArray bytes = full.left(header + extra);
    MessageStruct m;
    QVERIFY(QVIPCMessage::decode(bytes.constData(), quint32(bytes.size()), &m));
    QCOMPARE(m.arguments.size(), 2);
    // The code always yields a record, read as far as the block goes.
    QCOMPARE(m.data.metaType(), QMetaType::fromType<SupplyInformation>());
    SupplyInformation expected;
    expected.supplyId = supplyId;
    expected.labelWidth = labelWidth;
    QCOMPARE(m.data.value<SupplyInformation>(), expected);
}

void tst_QVIPCMessage::streamOperatorResetsRecord()
{
    QByteArray empty;
    QDataStream in(empty);
    MessageStruct m = golden::uintReply();
    in >> m;
    QVERIFY(m == MessageStruct());
    QCOMPARE(in.status(), QDataStream::ReadPastEnd);
}

void tst_QVIPCMessage::streamOperatorsFollowByteOrder()
{
    const MessageStruct m = golden::supplyArgument();
    QByteArray bytes;
    {
        QDataStream out(&bytes, QIODevice::WriteOnly);
        out.setByteOrder(QDataStream::LittleEndian);
        out << m << golden::ribbonBroadcast();
    }
    QVERIFY(bytes.startsWith(QByteArray::fromHex("0002000000" "2d00")));
    QDataStream in(bytes);
    in.setByteOrder(QDataStream::LittleEndian);
    MessageStruct first, second;
    in >> first >> second;
    QCOMPARE(in.status(), QDataStream::Ok);
    QVERIFY(in.atEnd());
    QVERIFY(first == m);
    QVERIFY(second == golden::ribbonBroadcast());
}

void tst_QVIPCMessage::failedStreamReadsNothing()
{
    const QByteArray bytes = golden::bytes(golden::statusBroadcastHex);
    QDataStream in(bytes);
    in.setStatus(QDataStream::ReadCorruptData);
    MessageStruct m = golden::uintReply();
    in >> m;
    QVERIFY(m == MessageStruct());
    QCOMPARE(in.status(), QDataStream::ReadCorruptData);
}

void tst_QVIPCMessage::streamPrecisionSettings_data()
{
    QTest::addColumn<int>("version");
    QTest::addColumn<bool>("single");
    QTest::newRow("6.0 double") << int(QDataStream::Qt_6_0) << false;
    QTest::newRow("6.0 single") << int(QDataStream::Qt_6_0) << true;
    QTest::newRow("6.4 single") << int(QDataStream::Qt_6_4) << true;
}

void tst_QVIPCMessage::streamPrecisionSettings()
{
    QFETCH(int, version);
    QFETCH(bool, single);
    MessageStruct m = golden::broadcast({ 0.25, 1.5f, QVariant::fromValue(golden::sampleSupply()) });
    m.data = 2.75;
    QByteArray bytes;
    {
        QDataStream out(&bytes, QIODevice::WriteOnly);
        out.setVersion(version);
        if (single)
            out.setFloatingPointPrecision(QDataStream::SinglePrecision);
        out << m << golden::statusBroadcast();
    }
    QDataStream in(bytes);
    in.setVersion(version);
    if (single)
        in.setFloatingPointPrecision(QDataStream::SinglePrecision);
    MessageStruct first, second;
    in >> first >> second;
    QCOMPARE(in.status(), QDataStream::Ok);
    QVERIFY(in.atEnd());
    QVERIFY(first == m);
    QVERIFY(second == golden::statusBroadcast());
}

void tst_QVIPCMessage::floatWidenedOnWire()
{
    SupplyInformation info;
    info.labelWidth = 0.5f;
    QByteArray bytes;
    {
        QDataStream out(&bytes, QIODevice::WriteOnly);
        out.setVersion(QDataStream::Qt_6_0);
        out.setFloatingPointPrecision(QDataStream::SinglePrecision);  // no effect on the fields
        out << info;
    }
    // null, null, empty list, then the field.
    QCOMPARE(bytes.mid(12, 8).toHex(), QByteArray("3fe0000000000000"));
    QDataStream in(bytes);
    in.setVersion(QDataStream::Qt_6_0);
    SupplyInformation back;
    in >> back;
    QCOMPARE(in.status(), QDataStream::Ok);
    QVERIFY(in.atEnd());
    QCOMPARE(back.labelWidth, 0.5f);

    // A value with no exact double form of its own travels as the float's widening.
    info.labelWidth = 0.1f;
    MessageStruct m = golden::supplyReply();
    m.data = QVariant::fromValue(info);
    const QByteArray block = QVIPCMessage::encode(m);
    double wide = 0;
    QDataStream peek(block.mid(1 + 24 + 42 + 4 + 13 + 11 + 4 + 4 + 4));
    peek >> wide;
    QCOMPARE(wide, double(0.1f));
    MessageStruct decoded;
    QVERIFY(QVIPCMessage::decode(block.constData(), quint32(block.size()), &decoded));
    QCOMPARE(decoded.data.value<SupplyInformation>().labelWidth, 0.1f);
}

void tst_QVIPCMessage::floatFieldsAllWidened()
{
    // Every float field costs 8 bytes on the wire, whatever the stream's precision.
    QByteArray bytes;
    QDataStream out(&bytes, QIODevice::WriteOnly);
    out.setFloatingPointPrecision(QDataStream::SinglePrecision);
    out << SupplyInformation();
    const int strings = 9 * 4;         // 9 null strings
    const int lists = 3 * 4 + 5 * 4;   // 3 string lists, 5 variant lists
    const int ints = 9 * 4;            // 9 int32 fields
    const int byteArray = 4;
    const int floats = 10 * 8;
    QCOMPARE(bytes.size(), strings + lists + ints + byteArray + floats);
    QCOMPARE(bytes.right(8).toHex(), QByteArray("bff0000000000000"));
}

void tst_QVIPCMessage::supplyCodeWithOtherDataConverts()
{
    MessageStruct m = golden::supplyReply();
    m.data = QVariant::fromValue(LegacySupply{ QStringLiteral("S1"), 0.5f });
    QCOMPARE(QVIPCMessage::encode(m).toHex(), golden::bytes(golden::supplyReplyHex).toHex());
}

void tst_QVIPCMessage::supplyCodeWithUnconvertibleDataWritesDefault()
{
    MessageStruct expected = golden::supplyReply();
    expected.data = QVariant::fromValue(SupplyInformation());
    const QByteArray defaultBytes = QVIPCMessage::encode(expected);

    for (const QVariant &data : { QVariant(), QVariant(QStringLiteral("S1")), QVariant(12) }) {
        MessageStruct m = golden::supplyReply();
        m.data = data;
        QCOMPARE(QVIPCMessage::encode(m).toHex(), defaultBytes.toHex());
    }
    MessageStruct decoded;
    QVERIFY(QVIPCMessage::decode(defaultBytes.constData(), quint32(defaultBytes.size()), &decoded));
    QCOMPARE(decoded.data.value<SupplyInformation>(), SupplyInformation());
}

void tst_QVIPCMessage::supplyInVariantRoundTrip()
{
    SupplyInformation info = golden::sampleSupply();
    info.compatibleModels = QStringList{ QStringLiteral("M1"), QString() };
    info.chipData = QByteArray("\x00\x01\xff", 3);
    info.layoutAreas = { 1, QStringLiteral("a"), QVariantList{ 2.5, true } };
    info.extraProperties = { QVariantMap{ { QStringLiteral("k"), QVariant::fromValue(golden::sampleSupply()) } } };
    info.warnings = { QStringLiteral("w") };
    info.maximumLength = 1e30f;
    info.revision = 9;
    MessageStruct m = golden::broadcast({ QVariant::fromValue(info) });
    m.dataType = QStringLiteral("17SupplyInformation");
    m.data = QVariant::fromValue(info);
    const QByteArray block = QVIPCMessage::encode(m);
    MessageStruct back;
    QVERIFY(QVIPCMessage::decode(block.constData(), quint32(block.size()), &back));
    QVERIFY(back == m);
    QCOMPARE(back.arguments.at(0).value<SupplyInformation>(), info);
    QCOMPARE(back.data.value<SupplyInformation>(), info);
}

// --- request invocation ---------------------------------------------------------------------

namespace {

MessageStruct request(const QString &name, const QString &code, const QVariantList &arguments)
{
    MessageStruct r;
    r.methodType = 1;
    r.methodName = name;
    r.dataType = code;
    r.arguments = arguments;
    return r;
}

} // namespace

void tst_QVIPCMessage::arity_data()
{
    QTest::addColumn<QVariantList>("arguments");
    QTest::addColumn<QString>("call");
    QTest::addColumn<QVariantList>("received");
    const QString x = QStringLiteral("x"), y = QStringLiteral("y"), z = QStringLiteral("z");
    const QString dash = QStringLiteral("-");
    QTest::newRow("[-]") << QVariantList{ dash } << "name()" << QVariantList{};
    QTest::newRow("[x,-]") << QVariantList{ x, dash } << "name(QString)" << QVariantList{ x };
    QTest::newRow("[x,y,-]") << QVariantList{ x, y, dash } << "name(QString,QString)"
                             << QVariantList{ x, y };
    QTest::newRow("[x,y,z]") << QVariantList{ x, y, z } << "name(QString,QString,QString)"
                             << QVariantList{ x, y, z };
    QTest::newRow("[x,y,z,-]") << QVariantList{ x, y, z, dash } << "name(QString,QString,QString)"
                               << QVariantList{ x, y, z };
    QTest::newRow("[x,y,z,w]: never more than three")
            << QVariantList{ x, y, z, QStringLiteral("w") } << "name(QString,QString,QString)"
            << QVariantList{ x, y, z };
    QTest::newRow("[x,-,y]: stops at the terminator") << QVariantList{ x, dash, y }
                                                      << "name(QString)" << QVariantList{ x };
    // Without the terminator the missing positions are empty arguments, which match nothing:
    // [x] reaches neither name(T) nor name(T,U).
    QTest::newRow("[x]") << QVariantList{ x } << QString() << QVariantList{};
    QTest::newRow("[x,y]") << QVariantList{ x, y } << QString() << QVariantList{};
    QTest::newRow("[]") << QVariantList{} << QString() << QVariantList{};
    QTest::newRow("[x,float,-]: unsupported type") << QVariantList{ x, QVariant(1.5f), dash }
                                                   << QString() << QVariantList{};
    QTest::newRow("[null,-]") << QVariantList{ QVariant(), dash } << QString() << QVariantList{};
    QTest::newRow("[-- ,-]: only \"-\" terminates")
            << QVariantList{ QStringLiteral("--"), dash } << "name(QString)"
            << QVariantList{ QStringLiteral("--") };
    QTest::newRow("[bytes -]: a byte array is no terminator")
            << QVariantList{ QByteArray("-") } << QString() << QVariantList{};
}

void tst_QVIPCMessage::arity()
{
    QFETCH(QVariantList, arguments);
    QFETCH(QString, call);
    QFETCH(QVariantList, received);
    const QVariant reply = QVIPCMessage::invokeRequest(m_target, request("name", "b", arguments));
    QCOMPARE(m_target->calls, call.isEmpty() ? QStringList() : QStringList{ call });
    QCOMPARE(m_target->received, received);
    QCOMPARE(reply.metaType(), QMetaType::fromType<bool>());
    QCOMPARE(reply.toBool(), !call.isEmpty());
}

void tst_QVIPCMessage::argumentConversion_data()
{
    QTest::addColumn<QVariant>("argument");
    QTest::addColumn<QString>("call");
    QTest::addColumn<QVariant>("received");
    QTest::newRow("QString") << QVariant(QStringLiteral("s")) << "takes(QString)"
                             << QVariant(QStringLiteral("s"));
    QTest::newRow("int") << QVariant(-5) << "takes(int)" << QVariant(-5);
    QTest::newRow("uint") << QVariant(7u) << "takes(quint32)" << QVariant(7u);
    // Taken through the signed conversion and passed under the unsigned name: the bits stay.
    QTest::newRow("uint above int range") << QVariant(4000000000u) << "takes(quint32)"
                                          << QVariant(4000000000u);
    QTest::newRow("qulonglong") << QVariant(Q_UINT64_C(18000000000000000000)) << "takes(quint64)"
                                << QVariant(Q_UINT64_C(18000000000000000000));
    QTest::newRow("bool") << QVariant(true) << "takes(bool)" << QVariant(true);
    QTest::newRow("double") << QVariant(2.5) << "takes(double)" << QVariant(2.5);
    QTest::newRow("QStringList") << QVariant(QStringList{ "a", "b" }) << "takes(QStringList)"
                                 << QVariant(QStringList{ "a", "b" });
    // Everything else is an empty argument, even where a method of that type exists.
    QTest::newRow("float") << QVariant(1.5f) << QString() << QVariant();
    QTest::newRow("qlonglong") << QVariant(qlonglong(3)) << QString() << QVariant();
    QTest::newRow("QByteArray") << QVariant(QByteArray("b")) << QString() << QVariant();
    QTest::newRow("QVariantList") << QVariant(QVariantList{ 1 }) << QString() << QVariant();
    QTest::newRow("SupplyInformation") << QVariant::fromValue(SupplyInformation()) << QString()
                                       << QVariant();
    QTest::newRow("null") << QVariant() << QString() << QVariant();
}

void tst_QVIPCMessage::argumentConversion()
{
    QFETCH(QVariant, argument);
    QFETCH(QString, call);
    QFETCH(QVariant, received);
    const QVariant reply = QVIPCMessage::invokeRequest(
            m_target, request("takes", "b", { argument, QStringLiteral("-") }));
    QCOMPARE(m_target->calls, call.isEmpty() ? QStringList() : QStringList{ call });
    QCOMPARE(reply, QVariant(!call.isEmpty()));
    if (!call.isEmpty()) {
        QCOMPARE(m_target->received.size(), 1);
        QCOMPARE(m_target->received.at(0), received);
        QCOMPARE(m_target->received.at(0).metaType(), received.metaType());
    }
}

void tst_QVIPCMessage::returnSlots_data()
{
    QTest::addColumn<QString>("code");
    QTest::addColumn<QString>("method");
    QTest::addColumn<QVariant>("reply");
    QTest::newRow("i") << "i" << "answer" << QVariant(42);
    QTest::newRow("j") << "j" << "seven" << QVariant::fromValue<quint32>(7);
    QTest::newRow("y") << "y" << "big" << QVariant::fromValue<quint64>(Q_UINT64_C(1) << 40);
    QTest::newRow("b") << "b" << "yes" << QVariant(true);
    QTest::newRow("7QString") << "7QString" << "text" << QVariant(QStringLiteral("hello"));
    QTest::newRow("11QStringList") << "11QStringList" << "list" << QVariant(QStringList{ "a", "b" });
    QTest::newRow("5QListI7QStringE") << "5QListI7QStringE" << "list"
                                      << QVariant(QStringList{ "a", "b" });
    QTest::newRow("4QMapI7QString8QVariantE") << "4QMapI7QString8QVariantE" << "map"
                                              << QVariant(QVariantMap{ { "k", 1 } });
    QTest::newRow("5QHashI7QString8QVariantE") << "5QHashI7QString8QVariantE" << "hash"
                                               << QVariant(QVariantHash{ { "h", 2 } });
    QTest::newRow("5QListI8QVariantE") << "5QListI8QVariantE" << "variants"
                                       << QVariant(QVariantList{ 1, "x" });
    QTest::newRow("f") << "f" << "half" << QVariant(0.5f);
    QTest::newRow("d") << "d" << "pi" << QVariant(3.25);
    QTest::newRow("10QByteArray") << "10QByteArray" << "bytes" << QVariant(QByteArray("raw"));
    QTest::newRow("17SupplyInformation") << "17SupplyInformation" << "supply"
                                         << QVariant::fromValue(golden::sampleSupply());
}

void tst_QVIPCMessage::returnSlots()
{
    QFETCH(QString, code);
    QFETCH(QString, method);
    QFETCH(QVariant, reply);
    const QVariant got = QVIPCMessage::invokeRequest(m_target, request(method, code, { "-" }));
    QCOMPARE(m_target->calls, QStringList{ method });
    QCOMPARE(got.metaType(), reply.metaType());
    QCOMPARE(got, reply);
    QVERIFY(!got.isNull());

    // A method that is not there leaves the slot's zero or empty starting value.
    const QVariant missing = QVIPCMessage::invokeRequest(m_target, request("absent", code, { "-" }));
    QCOMPARE(missing.metaType(), reply.metaType());
    QCOMPARE(missing, QVariant(reply.metaType()));
    QVERIFY(!missing.isNull());     // travels as a value, not flagged null
    if (code == QLatin1String("17SupplyInformation"))
        QCOMPARE(missing.value<SupplyInformation>(), SupplyInformation());
}

void tst_QVIPCMessage::voidCallReachesNothing_data()
{
    QTest::addColumn<QString>("method");
    QTest::addColumn<QVariantList>("arguments");
    const QString dash = QStringLiteral("-");
    QTest::newRow("plain() with [-]") << "plain" << QVariantList{ dash };
    QTest::newRow("plain() with []") << "plain" << QVariantList{};
    QTest::newRow("plain(QString) with [x,-]") << "plain" << QVariantList{ "x", dash };
    QTest::newRow("name() with [-]") << "name" << QVariantList{ dash };
    QTest::newRow("name(QString) with [x,-]") << "name" << QVariantList{ "x", dash };
    QTest::newRow("name(QString,QString,QString) with [x,y,-]")
            << "name" << QVariantList{ "x", "y", dash };
}

void tst_QVIPCMessage::voidCallReachesNothing()
{
    QFETCH(QString, method);
    QFETCH(QVariantList, arguments);
    // The leading empty argument of a "v" call matches no parameter.
    const QVariant reply = QVIPCMessage::invokeRequest(m_target, request(method, "v", arguments));
    QVERIFY(m_target->calls.isEmpty());
    QVERIFY(!reply.isValid());
}

void tst_QVIPCMessage::unknownCodeMakesNoCall()
{
    for (const QString &code : { QStringLiteral("x"), QString(), QStringLiteral("I"),
                                 QStringLiteral("17supplyinformation"), QStringLiteral("7QString ") }) {
        const QVariant reply = QVIPCMessage::invokeRequest(m_target, request("text", code, { "-" }));
        QVERIFY2(!reply.isValid(), qPrintable(code));
    }
    QVERIFY(m_target->calls.isEmpty());
}

void tst_QVIPCMessage::nullTarget_data()
{
    QTest::addColumn<QString>("code");
    QTest::addColumn<QVariant>("empty");
    QTest::newRow("i") << "i" << QVariant(0);
    QTest::newRow("j") << "j" << QVariant::fromValue<quint32>(0);
    QTest::newRow("y") << "y" << QVariant::fromValue<quint64>(0);
    QTest::newRow("b") << "b" << QVariant(false);
    QTest::newRow("7QString") << "7QString" << QVariant(QString());
    QTest::newRow("11QStringList") << "11QStringList" << QVariant(QStringList());
    QTest::newRow("5QListI7QStringE") << "5QListI7QStringE" << QVariant(QStringList());
    QTest::newRow("4QMapI7QString8QVariantE") << "4QMapI7QString8QVariantE"
                                              << QVariant(QVariantMap());
    QTest::newRow("5QHashI7QString8QVariantE") << "5QHashI7QString8QVariantE"
                                               << QVariant(QVariantHash());
    QTest::newRow("5QListI8QVariantE") << "5QListI8QVariantE" << QVariant(QVariantList());
    QTest::newRow("f") << "f" << QVariant(0.0f);
    QTest::newRow("d") << "d" << QVariant(0.0);
    QTest::newRow("10QByteArray") << "10QByteArray" << QVariant(QByteArray());
    QTest::newRow("17SupplyInformation") << "17SupplyInformation"
                                         << QVariant::fromValue(SupplyInformation());
    QTest::newRow("v") << "v" << QVariant();
    QTest::newRow("unknown code") << "zz" << QVariant();
}

void tst_QVIPCMessage::nullTarget()
{
    QFETCH(QString, code);
    QFETCH(QVariant, empty);
    // A typed request without a target is answered like one whose target lacks the method.
    MessageStruct reply = request("noSuchMethod", code, { "-" });
    reply.data = QVIPCMessage::invokeRequest(nullptr, reply);
    QCOMPARE(reply.data.metaType(), empty.metaType());
    QCOMPARE(reply.data, empty);
    QCOMPARE(reply.data.isNull(), !empty.isValid());

    MessageStruct missing = request("noSuchMethod", code, { "-" });
    missing.data = QVIPCMessage::invokeRequest(m_target, missing);
    QVERIFY(m_target->calls.isEmpty());
    QCOMPARE(QVIPCMessage::encode(reply), QVIPCMessage::encode(missing));
}

void tst_QVIPCMessage::returnTypeMismatchMakesNoCall()
{
    // answer() returns int: a "j" slot does not fit it.
    QVariant reply = QVIPCMessage::invokeRequest(m_target, request("answer", "j", { "-" }));
    QVERIFY(m_target->calls.isEmpty());
    QCOMPARE(reply, QVariant::fromValue<quint32>(0));
    // plain() returns nothing: a typed slot does not fit it either.
    reply = QVIPCMessage::invokeRequest(m_target, request("plain", "7QString", { "-" }));
    QVERIFY(m_target->calls.isEmpty());
    QCOMPARE(reply, QVariant(QString()));
}

void tst_QVIPCMessage::threeMixedArguments()
{
    const QVariant reply = QVIPCMessage::invokeRequest(
            m_target, request("echo", "7QString", { QStringLiteral("a"), 4, true, 99 }));
    QCOMPARE(m_target->calls, QStringList{ "echo" });
    QCOMPARE(reply, QVariant(QStringLiteral("a/4/1")));
}

QTEST_GUILESS_MAIN(tst_QVIPCMessage)
#include "tst_qvipcmessage.moc"
