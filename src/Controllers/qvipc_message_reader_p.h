#pragma once

#include "Controllers/qvipc_message.h"

#include <QDataStream>
#include <QVariantHash>
#include <QVariantMap>

// Reads the message format (Qt 6 stream forms, version 20 and later) from bytes another
// process wrote. Every value is read by hand and
// QDataStream only supplies the primitives: counts and lengths are checked against the bytes
// that remain before anything is allocated (nothing is ever reserved from a count), only the
// variant types the protocol carries are accepted, on their type id and before anything is
// constructed, and nesting is bounded. A block that breaks a rule ends there: what was read
// stands, a container cut short keeps the elements read before the cut, the rest keeps its
// defaults.
class MessageReader
{
public:
    // Containers (lists, maps, hashes, supply records) around a value, counting the
    // record's own argument list.
    static constexpr int MaxDepth = 32;

    // What a container reader managed: nothing (its header was cut or lied), part of it
    // (the elements before the cut stand), or all of it.
    enum class Read { Nothing, Partial, Complete };

    explicit MessageReader(QDataStream &in);

    // Fills a default-constructed record as far as the block allows.
    void readMessage(MessageStruct *message);
    // Fields of a default-constructed record, in wire order, until the block ends or breaks a
    // rule; fieldDepth is the number of containers around the fields. True when all were read.
    bool readSupplyInformation(SupplyInformation *info, int fieldDepth);

    // Ok, or the first failure: ReadPastEnd for a cut, ReadCorruptData for a broken rule.
    QDataStream::Status failure() const { return m_failure; }

private:
    Read readVariant(QVariant *value, int depth);
    Read readVariantList(QVariantList *list, int elementDepth);
    Read readVariantMap(QVariantMap *map, int elementDepth);
    Read readVariantHash(QVariantHash *hash, int elementDepth);
    Read readStringList(QStringList *list);
    bool readUserTypeName();
    bool readString(QString *string);
    bool readByteArray(QByteArray *bytes);
    bool readRaw(char *data, qint64 size);
    bool readCount(quint32 *count, qint64 minimumElementSize);
    bool depthAllowed(quint32 count, int elementDepth);
    bool readWideFloat(float *value);
    qint64 floatingPointSize() const;
    template<typename T>
    bool readScalar(T *value, qint64 wireSize);

    bool take(qint64 bytes);
    bool fail(QDataStream::Status status);

    QDataStream &m_in;
    qint64 m_remaining = 0;
    qint64 m_hashAllowance = 0;     // heap that non-empty hashes may still commit
    QDataStream::Status m_failure = QDataStream::Ok;
};
