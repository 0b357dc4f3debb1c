// Encoding and decoding of the typical message records. The guarded reader (the record's >>
// operator) is compared with plain QDataStream reading the same bytes into the same Qt types
// without any check, in the same run: BM_Decode_Guarded against BM_Decode_PlainQDataStream.
// A hostile 1 MiB block must be decoded or refused well inside 20 ms.
#include "Controllers/qvipc_message.h"

#include "golden_vectors.h"

#include <QCoreApplication>
#include <QIODevice>
#include <QRandomGenerator>

#include <benchmark/benchmark.h>

#include <cstring>

namespace {

QList<MessageStruct> typicalRecords()
{
    QList<MessageStruct> records;
    for (const golden::Vector &v : golden::all())
        records << v.record();
    return records;
}

QList<QByteArray> typicalBlocks()
{
    QList<QByteArray> blocks;
    for (const MessageStruct &m : typicalRecords())
        blocks << QVIPCMessage::encode(m);
    return blocks;
}

qint64 totalSize(const QList<QByteArray> &blocks)
{
    qint64 n = 0;
    for (const QByteArray &b : blocks)
        n += b.size();
    return n;
}

// The unchecked reading of the same layout, straight through QDataStream's own operators.
void plainRead(QDataStream &in, MessageStruct *m)
{
    in >> m->methodType >> m->methodName >> m->dataType >> m->arguments;
    if (m->dataType == QLatin1String("17SupplyInformation")) {
        SupplyInformation i;
        double d[10];
        in >> i.supplyId >> i.partNumber >> i.compatibleModels >> d[0] >> i.supplyType
           >> i.description >> i.material >> d[1] >> i.mediaKind >> i.colorName >> i.colorIndex
           >> i.lotNumber >> i.serialNumber >> i.remainingLabels >> i.ribbonId >> i.ribbonColor
           >> d[2] >> i.copies >> i.chipData >> d[3] >> d[4] >> i.labelsPerRow
           >> i.labelsPerColumn >> i.printDirection >> d[5] >> d[6] >> d[7] >> d[8]
           >> i.fontNames >> i.layoutAreas >> i.printAreas >> i.cutPositions >> i.notchPositions
           >> i.extraProperties >> i.warnings >> i.revision >> d[9];
        float *floats[] = { &i.labelWidth, &i.labelHeight, &i.ribbonWidth, &i.gapSize,
                            &i.linerWidth, &i.marginLeft, &i.marginTop, &i.marginRight,
                            &i.marginBottom, &i.maximumLength };
        for (int k = 0; k < 10; ++k)
            *floats[k] = float(d[k]);
        m->data = QVariant::fromValue(i);
    } else {
        in >> m->data;
    }
}

void BM_Encode(benchmark::State &state)
{
    const QList<MessageStruct> records = typicalRecords();
    const qint64 bytes = totalSize(typicalBlocks());
    for (auto _ : state) {
        for (const MessageStruct &m : records)
            benchmark::DoNotOptimize(QVIPCMessage::encode(m));
    }
    state.SetItemsProcessed(state.iterations() * records.size());
    state.SetBytesProcessed(state.iterations() * bytes);
}
BENCHMARK(BM_Encode);

void BM_Decode_Guarded(benchmark::State &state)
{
    const QList<QByteArray> blocks = typicalBlocks();
    for (auto _ : state) {
        for (const QByteArray &b : blocks) {
            QDataStream in(b);
            in.setVersion(QDataStream::Qt_6_0);
            MessageStruct m;
            in >> m;
            benchmark::DoNotOptimize(m);
        }
    }
    state.SetItemsProcessed(state.iterations() * blocks.size());
    state.SetBytesProcessed(state.iterations() * totalSize(blocks));
}
BENCHMARK(BM_Decode_Guarded);

void BM_Decode_PlainQDataStream(benchmark::State &state)
{
    const QList<QByteArray> blocks = typicalBlocks();
    for (auto _ : state) {
        for (const QByteArray &b : blocks) {
            QDataStream in(b);
            in.setVersion(QDataStream::Qt_6_0);
            MessageStruct m;
            plainRead(in, &m);
            benchmark::DoNotOptimize(m);
        }
    }
    state.SetItemsProcessed(state.iterations() * blocks.size());
    state.SetBytesProcessed(state.iterations() * totalSize(blocks));
}
BENCHMARK(BM_Decode_PlainQDataStream);

// What a received message costs end to end: the copy of the block and the guarded read.
void BM_Decode_FromRawBlock(benchmark::State &state)
{
    const QList<QByteArray> blocks = typicalBlocks();
    for (auto _ : state) {
        for (const QByteArray &b : blocks) {
            MessageStruct m;
            QVIPCMessage::decode(b.constData(), quint32(b.size()), &m);
            benchmark::DoNotOptimize(m);
        }
    }
    state.SetItemsProcessed(state.iterations() * blocks.size());
    state.SetBytesProcessed(state.iterations() * totalSize(blocks));
}
BENCHMARK(BM_Decode_FromRawBlock);

// A larger, still valid block: a reply carrying a list of 2000 mixed values.
QByteArray bigValidBlock()
{
    MessageStruct m = golden::uintReply();
    QVariantList values;
    for (int i = 0; i < 2000; ++i) {
        values << i << QStringLiteral("printer %1").arg(i) << (i % 2 == 0)
               << QStringList{ QStringLiteral("a"), QStringLiteral("b") } << double(i) / 3;
    }
    m.dataType = QStringLiteral("5QListI8QVariantE");
    m.data = values;
    return QVIPCMessage::encode(m);
}

void BM_DecodeLarge_Guarded(benchmark::State &state)
{
    const QByteArray block = bigValidBlock();
    for (auto _ : state) {
        QDataStream in(block);
        in.setVersion(QDataStream::Qt_6_0);
        MessageStruct m;
        in >> m;
        benchmark::DoNotOptimize(m);
    }
    state.SetItemsProcessed(state.iterations());
    state.SetBytesProcessed(state.iterations() * block.size());
}
BENCHMARK(BM_DecodeLarge_Guarded);

void BM_DecodeLarge_PlainQDataStream(benchmark::State &state)
{
    const QByteArray block = bigValidBlock();
    for (auto _ : state) {
        QDataStream in(block);
        in.setVersion(QDataStream::Qt_6_0);
        MessageStruct m;
        plainRead(in, &m);
        benchmark::DoNotOptimize(m);
    }
    state.SetItemsProcessed(state.iterations());
    state.SetBytesProcessed(state.iterations() * block.size());
}
BENCHMARK(BM_DecodeLarge_PlainQDataStream);

// Hostile blocks of 1 MiB. Plain QDataStream is not run on them: it reserves from the lying
// count, or overflows the stack on the nesting.
QByteArray hostileBlock(int kind)
{
    const int mib = 1024 * 1024;
    QByteArray block;
    QDataStream out(&block, QIODevice::WriteOnly);
    out << qint8(0) << QStringLiteral("-") << QStringLiteral("-");
    switch (kind) {
    case 0:     // a list of null variants whose count matches: everything is read
        out << quint32((mib - 17) / 5);
        while (block.size() + 5 <= mib)
            out << quint32(0) << qint8(1);
        break;
    case 1:     // lists nested in lists down to the end of the block
        out << quint32(1);
        while (block.size() + 9 <= mib)
            out << quint32(QMetaType::QVariantList) << qint8(0) << quint32(1);
        break;
    case 2:     // a count no block could hold, then a megabyte
        out << quint32(0xfffffffeu);
        block.append(QByteArray(mib - block.size(), '\0'));
        break;
    default: {  // random bytes after the header
        QRandomGenerator rng(42);
        while (block.size() < mib) {
            const quint32 v = rng.generate();
            block.append(reinterpret_cast<const char *>(&v), 4);
        }
        break;
    }
    }
    return block;
}

void BM_Hostile1MiB(benchmark::State &state)
{
    const QByteArray block = hostileBlock(int(state.range(0)));
    for (auto _ : state) {
        MessageStruct m;
        QVIPCMessage::decode(block.constData(), quint32(block.size()), &m);
        benchmark::DoNotOptimize(m);
    }
    state.SetItemsProcessed(state.iterations());
    state.SetBytesProcessed(state.iterations() * block.size());
    static const char *const names[] = { "null variants, true count", "nested lists",
                                         "lying count", "random" };
    state.SetLabel(names[state.range(0)]);
}
BENCHMARK(BM_Hostile1MiB)->DenseRange(0, 3)->Unit(benchmark::kMillisecond);

// The one hostile block plain QDataStream survives (its count is true): the peer figure.
void BM_Hostile1MiB_PlainQDataStream(benchmark::State &state)
{
    const QByteArray block = hostileBlock(0);
    for (auto _ : state) {
        QDataStream in(block);
        in.setVersion(QDataStream::Qt_6_0);
        MessageStruct m;
        plainRead(in, &m);
        benchmark::DoNotOptimize(m);
    }
    state.SetItemsProcessed(state.iterations());
    state.SetBytesProcessed(state.iterations() * block.size());
    state.SetLabel("null variants, true count");
}
BENCHMARK(BM_Hostile1MiB_PlainQDataStream)->Unit(benchmark::kMillisecond);

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    QVIPCMessage::registerTypes();
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
