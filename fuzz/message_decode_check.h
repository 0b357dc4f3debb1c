#pragma once

// The properties every byte block must keep through the message decoder, shared by the
// fuzzer and the regression test that replays its corpus. Returns null when they hold, else
// what broke.

#include "Controllers/qvipc_message.h"

#include <QByteArray>
#include <QDataStream>

#include <cstddef>

namespace messagecheck {

inline const char *check(const char *data, std::size_t size)
{
    if (size > 0xFFFFFFFFu)
        return nullptr;
    MessageStruct decoded;
    if (!QVIPCMessage::decode(data, quint32(size), &decoded))
        return "decode refused a block of the size it was given";

    // Whatever was read is a record the writer can send, and the reader reads all of it
    // back: the sizes of the two encodings agree (hash order may differ, sizes cannot).
    const QByteArray once = QVIPCMessage::encode(decoded);
    if (once.isEmpty())
        return "a decoded record encoded to nothing";
    QDataStream in(once);
    in.setVersion(QDataStream::Qt_6_0);
    MessageStruct again;
    in >> again;
    if (in.status() != QDataStream::Ok)
        return "re-reading an encoded record failed";
    if (!in.atEnd())
        return "re-reading an encoded record left bytes behind";
    if (QVIPCMessage::encode(again).size() != once.size())
        return "a second encoding changed size";

    // The supply record's own reader, through the meta-type system's entry point.
    const QByteArray raw = QByteArray::fromRawData(data, qsizetype(size));
    QDataStream supply(raw);
    SupplyInformation info;
    supply >> info;
    return nullptr;
}

} // namespace messagecheck
