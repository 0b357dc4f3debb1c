#pragma once

// The guarded reader against Qt's own reading of the same block: wherever plain QDataStream
// is safe (the guarded reader refused nothing), both must yield the same record, field by
// field. Shared by the differential fuzzer and the test that replays its corpus. Returns null
// when they agree or the block was refused, else which field differs.

#include "Controllers/qvipc_message.h"
#include "Controllers/qvipc_message_reader_p.h"

#include <QByteArray>
#include <QDataStream>
#include <QIODevice>
#include <QVariant>

#include <cstddef>

namespace messagecheck {

inline void prepare(QDataStream &stream)
{
    stream.setVersion(QDataStream::Qt_6_0);
    stream.setByteOrder(QDataStream::BigEndian);
}

// Qt's reading of the layout, with nothing checked: its own operators into the fields. The
// supply record has no reading of Qt's; its own operator is what Qt calls for it.
inline MessageStruct plainRead(const QByteArray &block)
{
    QDataStream in(block);
    prepare(in);
    MessageStruct m;
    in >> m.methodType >> m.methodName >> m.dataType >> m.arguments;
    if (m.dataType == QLatin1String(QVIPCMessage::SupplyInformationCode)) {
        SupplyInformation info;
        in >> info;
        m.data = QVariant::fromValue(info);
    } else {
        in >> m.data;
    }
    return m;
}

inline MessageStruct guardedRead(const QByteArray &block, bool *refused)
{
    QDataStream in(block);
    prepare(in);
    MessageStruct m;
    MessageReader reader(in);
    reader.readMessage(&m);
    *refused = reader.refused();
    return m;
}

// A value as it travels: the strictest equality there is (type, null flag, null or empty
// strings, NaN payloads), and one that QVariant's converting == cannot blur.
template<typename T>
QByteArray wire(const T &value)
{
    QByteArray bytes;
    QDataStream out(&bytes, QIODevice::WriteOnly);
    prepare(out);
    out << value;
    return bytes;
}

inline const char *differential(const char *data, std::size_t size)
{
    if (size > 0xFFFFFFFFu)
        return nullptr;
    const QByteArray block = QByteArray::fromRawData(data, qsizetype(size));
    bool refused = false;
    const MessageStruct guarded = guardedRead(block, &refused);
    if (refused)
        return nullptr;     // plain QDataStream would do harm on this block
    const MessageStruct plain = plainRead(block);

    if (guarded.methodType != plain.methodType)
        return "methodType differs from Qt's reading";
    if (wire(guarded.methodName) != wire(plain.methodName))
        return "methodName differs from Qt's reading";
    if (wire(guarded.dataType) != wire(plain.dataType))
        return "dataType differs from Qt's reading";
    if (guarded.arguments.size() != plain.arguments.size())
        return "the number of arguments differs from Qt's reading";
    for (qsizetype i = 0; i < guarded.arguments.size(); ++i) {
        if (wire(guarded.arguments.at(i)) != wire(plain.arguments.at(i)))
            return "an argument differs from Qt's reading";
    }
    if (guarded.data.metaType() != plain.data.metaType())
        return "the type of data differs from Qt's reading";
    if (wire(guarded.data) != wire(plain.data))
        return "data differs from Qt's reading";
    return nullptr;
}

} // namespace messagecheck
