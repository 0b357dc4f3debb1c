#pragma once

// The golden message blocks (golden_vectors_hex.h) with the records they encode. Shared by the
// tests, the fuzzer's seed corpus and the benchmark.

#include "golden_vectors_hex.h"

#include "Controllers/qvipc_message.h"

#include <QByteArray>
#include <QList>
#include <QString>

#include <iterator>

namespace golden {

inline QByteArray bytes(const char *hex)
{
    return QByteArray::fromHex(QByteArray(hex).replace(' ', ""));
}

inline SupplyInformation sampleSupply()
{
    SupplyInformation info;
    info.supplyId = QStringLiteral("S1");
    info.labelWidth = 0.5f;
    return info;
}

inline MessageStruct broadcast(const QVariantList &arguments)
{
    MessageStruct m;
    m.methodName = QStringLiteral("-");
    m.dataType = QStringLiteral("-");
    m.arguments = arguments;
    m.data = QStringLiteral("-");
    return m;
}

inline MessageStruct defaultRecord() { return MessageStruct(); }

inline MessageStruct statusBroadcast()
{
    return broadcast({ 3, QStringLiteral("P1"), QStringLiteral("-"), QStringLiteral("-") });
}

inline MessageStruct closeBroadcast()
{
    return broadcast({ QStringLiteral("-"), QStringLiteral("-"), QStringLiteral("-"),
                       QStringLiteral("-") });
}

inline MessageStruct ribbonBroadcast()
{
    return broadcast({ QStringList{ QStringLiteral("R-100"), QStringLiteral("R-200") },
                       QString::fromUtf8("B\xc3\xbcro-Drucker"), QStringLiteral("-"),
                       QStringLiteral("-") });
}

inline MessageStruct moduleReady()
{
    MessageStruct m;
    m.methodName = QStringLiteral("supplyModuleReady");
    m.dataType = QStringLiteral("v");
    m.arguments = { 1234, 5678, QStringLiteral("PipeMarking") };
    return m;
}

inline MessageStruct uintReply()
{
    MessageStruct m;
    m.methodType = 1;
    m.methodName = QStringLiteral("labelsLeft");
    m.dataType = QStringLiteral("j");
    m.arguments = { QStringLiteral("P1"), QStringLiteral("-") };
    m.data = QVariant::fromValue<quint32>(7);
    return m;
}

inline MessageStruct supplyReply()
{
    MessageStruct m;
    m.methodName = QStringLiteral("supplyInfo");
    m.dataType = QStringLiteral("17SupplyInformation");
    m.arguments = { QStringLiteral("P1"), QStringLiteral("-") };
    m.data = QVariant::fromValue(sampleSupply());
    return m;
}

inline MessageStruct supplyArgument()
{
    return broadcast({ QVariant::fromValue(sampleSupply()), QStringLiteral("-") });
}

struct Vector
{
    const char *name;
    const char *hex;
    MessageStruct (*record)();
};

inline QList<Vector> all()
{
    // Same order as hexVectors.
    static MessageStruct (*const records[])() = {
        &defaultRecord, &statusBroadcast, &closeBroadcast, &ribbonBroadcast,
        &moduleReady,   &uintReply,       &supplyReply,    &supplyArgument,
    };
    static_assert(std::size(records) == std::size(hexVectors), "one record per block");
    QList<Vector> vectors;
    for (std::size_t i = 0; i < std::size(hexVectors); ++i)
        vectors.append({ hexVectors[i].name, hexVectors[i].hex, records[i] });
    return vectors;
}

} // namespace golden
