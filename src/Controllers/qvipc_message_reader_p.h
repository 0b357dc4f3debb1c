#pragma once

#include "Controllers/qvipc_message.h"

#include <QDataStream>
#include <QMetaType>
#include <QVariantHash>
#include <QVariantMap>

// Reads the message format (Qt 6 stream forms, version 20 and later) from bytes another
// process wrote, giving the record Qt's own QDataStream reading would give, wherever that
// reading is safe. It reads what Qt reads the way Qt reads it (a container whose element
// fails is emptied, a cut value leaves the stream at its end, a corrupt string lets the
// reading go on after its length), and refuses, before anything is constructed, what Qt would
// turn into harm: a type outside the allow-list (docs/message_format.md), nesting deeper than
// MaxDepth, a count the bytes left cannot hold (Qt reserves from it), a length Qt would
// allocate from beyond what is present. A refusal ends the block: the containers around it
// are emptied as Qt empties them when an element fails, the rest keeps its defaults.
// Exported for the tests and the fuzzers, which compare it with Qt's own reading.
class KORVEXDASHBOARD_EXPORT MessageReader
{
public:
    // Containers (lists, maps, hashes, supply records) around a value, counting the
    // record's own argument list.
    static constexpr int MaxDepth = 32;

    explicit MessageReader(QDataStream &in);

    // Fills a default-constructed record as far as the block allows.
    void readMessage(MessageStruct *message);
    // Fields of a default-constructed record, in wire order, until one fails to read; those
    // after it keep their defaults. fieldDepth: the containers around the fields.
    void readSupplyInformation(SupplyInformation *info, int fieldDepth);

    // True when the block held something this reader will not read (see above); plain
    // QDataStream is only safe on blocks for which this stays false.
    bool refused() const { return m_refused; }

private:
    void readVariant(QVariant *value, int depth);
    // Reads the value of a type on the allow-list into a variant of that type.
    void readAllowedValue(QMetaType type, QVariant *value, bool isNull, int depth);
    // Qt's own reading of a value whose lengths were checked: fits is false where a length in
    // it runs past the block; Qt would then allocate before failing, so the value is read as
    // Qt leaves it: from the bytes before that length, the stream at its end.
    void readThroughQt(QMetaType type, void *data, qint64 fitsBefore);
    // Where a length-prefixed field at offset stops fitting in the block: offset when its
    // length runs past the block, -1 when it fits. lengthSize: 4, or 8 for a bit array;
    // unitsPerLength: 1 for bytes, 2 for a string's bytes (an odd count is no string), 8 for
    // a bit array's bits.
    qint64 lengthOverrun(qint64 offset, int lengthSize, qint64 unitsPerLength) const;

    template<typename List, typename ReadElement>
    void readList(List *list, qint64 minimumElementSize, int elementDepth, ReadElement read);
    template<typename Container>
    void readStringKeyed(Container *container, int elementDepth, bool hash);
    void readString(QString *string);
    void readByteArray(QByteArray *bytes);
    bool readUserTypeName(QByteArray *name);
    // Pays for the containers of the JSON text whose length is at offset; false (refused)
    // when the allowance is spent.
    bool payForJson(qint64 offset);
    void readWideFloat(float *value);

    // The block's bytes from the reading position on, where the stream reads a QBuffer: then
    // lengths are looked at and the common values read in place, instead of through
    // QIODevice's reads and peeks (which copy into a new byte array each time). Null
    // otherwise, or while the caller runs a device transaction.
    const char *inPlace(qint64 *size) const;
    // Consumes bytes read in place; the device follows at the next sync().
    void advance(qint64 bytes) { m_pending += bytes; }
    // Moves the device to the reading position: before anything reads through the stream,
    // and before the reader returns.
    void sync();
    // Copies up to size bytes at offset from the stream's position, without consuming them.
    qint64 peekAt(qint64 offset, char *data, qint64 size) const;

    // A fixed-size integer, as QDataStream's >> reads it.
    template<typename T>
    T readNumber();

    qint64 available() const;
    bool countFits(quint32 count, qint64 minimumElementSize);
    void cutToEnd();
    void refuse();

    QDataStream &m_in;
    const QByteArray *m_bytes = nullptr;    // what the stream's QBuffer reads, if it is one
    // The reading position is m_pending bytes after m_anchor, the device's position when
    // last seen; a device found elsewhere has been read through the stream (never with bytes
    // pending: sync() comes first).
    mutable qint64 m_anchor = -1;
    mutable qint64 m_pending = 0;
    bool m_refused = false;
    qint64 m_heapAllowance = 0;     // heap that hashes and JSON containers may still commit
};
