#include "Controllers/qvipc_message_reader_p.h"

#include <QIODevice>
#include <QtEndian>

#include <climits>
#include <cstring>

namespace {

// Smallest wire size of one element, used to refuse counts the remaining bytes cannot hold.
constexpr qint64 MinStringSize = 4;                              // length only
constexpr qint64 MinVariantSize = 5;                             // type id + null flag
constexpr qint64 MinMapEntrySize = MinStringSize + MinVariantSize;

// The one user type the protocol carries, as QVariant writes its name (with the NUL).
constexpr char SupplyInformationName[] = "SupplyInformation";
constexpr quint32 MaxTypeNameLength = 64;

constexpr quint32 NullLength = 0xFFFFFFFFu;

// A hash commits far more heap than its bytes on the wire: its first entry brings one span
// of 128 buckets with room for 48 entries (about 2.9 KB for 18 bytes). Non-empty hashes are
// paid from an allowance that grows with the block, so a block of tiny hashes cannot
// multiply its size by a hundred.
constexpr qint64 HashFirstEntryCost = 128 + 48 * qint64(sizeof(QString) + sizeof(QVariant)) + 64;
constexpr qint64 HashAllowanceBase = 64 * 1024;
constexpr qint64 HashAllowancePerByte = 2;

} // namespace

MessageReader::MessageReader(QDataStream &in) : m_in(in)
{
    QIODevice *device = in.device();
    if (!device || in.status() != QDataStream::Ok)
        m_remaining = 0;
    else if (device->isSequential())
        m_remaining = device->bytesAvailable();     // only what has already arrived
    else
        m_remaining = qMax<qint64>(0, device->size() - device->pos());
    m_hashAllowance = HashAllowanceBase + HashAllowancePerByte * m_remaining;
}

bool MessageReader::fail(QDataStream::Status status)
{
    if (m_failure == QDataStream::Ok)
        m_failure = status;
    m_in.setStatus(status);     // keeps an earlier failure
    m_remaining = 0;            // nothing more is read from this block
    return false;
}

bool MessageReader::take(qint64 bytes)
{
    if (bytes > m_remaining)
        return fail(m_failure == QDataStream::Ok ? QDataStream::ReadPastEnd : m_failure);
    m_remaining -= bytes;
    return true;
}

template<typename T>
bool MessageReader::readScalar(T *value, qint64 wireSize)
{
    if (!take(wireSize))
        return false;
    T read{};
    m_in >> read;
    if (m_in.status() != QDataStream::Ok)
        return fail(QDataStream::ReadPastEnd);
    *value = read;
    return true;
}

bool MessageReader::readRaw(char *data, qint64 size)
{
    // readRawData takes an int in this Qt; a block can be larger.
    while (size > 0) {
        const int chunk = int(qMin<qint64>(size, INT_MAX / 2));
        if (m_in.readRawData(data, chunk) != chunk)
            return fail(QDataStream::ReadPastEnd);
        data += chunk;
        size -= chunk;
    }
    return true;
}

bool MessageReader::readCount(quint32 *count, qint64 minimumElementSize)
{
    quint32 n = 0;
    if (!readScalar(&n, 4))
        return false;
    if (qint64(n) > m_remaining / minimumElementSize)
        return fail(QDataStream::ReadCorruptData);
    *count = n;
    return true;
}

bool MessageReader::readString(QString *string)
{
    quint32 bytes = 0;
    if (!readScalar(&bytes, 4))
        return false;
    if (bytes == NullLength) {
        *string = QString();
        return true;
    }
    if (bytes & 1u)
        return fail(QDataStream::ReadCorruptData);
    if (!take(bytes))
        return false;
    const qsizetype units = qsizetype(bytes / 2);
    QString read(units, Qt::Uninitialized);     // empty, not null, for length 0
    if (!readRaw(reinterpret_cast<char *>(read.data()), bytes))
        return false;
    if (m_in.byteOrder() == QDataStream::BigEndian)
        qFromBigEndian<char16_t>(read.constData(), units, read.data());
    else
        qFromLittleEndian<char16_t>(read.constData(), units, read.data());
    *string = std::move(read);
    return true;
}

bool MessageReader::readByteArray(QByteArray *bytes)
{
    quint32 length = 0;
    if (!readScalar(&length, 4))
        return false;
    if (length == NullLength) {
        *bytes = QByteArray();
        return true;
    }
    if (!take(length))
        return false;
    QByteArray read(qsizetype(length), Qt::Uninitialized);     // empty, not null, for 0
    if (!readRaw(read.data(), length))
        return false;
    *bytes = std::move(read);
    return true;
}

bool MessageReader::readWideFloat(float *value)
{
    // The bits of a double, whatever precision the stream is set to.
    quint64 bits = 0;
    if (!readScalar(&bits, 8))
        return false;
    double wide = 0;
    std::memcpy(&wide, &bits, sizeof wide);
    *value = static_cast<float>(wide);
    return true;
}

qint64 MessageReader::floatingPointSize() const
{
    // As QDataStream writes them: the precision setting decides, for both types.
    return m_in.floatingPointPrecision() == QDataStream::DoublePrecision ? 8 : 4;
}

bool MessageReader::depthAllowed(quint32 count, int elementDepth)
{
    // Only elements count: an empty container is read at any depth, so whatever this reader
    // yields can be written and read back.
    return count == 0 || elementDepth <= MaxDepth || fail(QDataStream::ReadCorruptData);
}

MessageReader::Read MessageReader::readStringList(QStringList *list)
{
    quint32 count = 0;
    if (!readCount(&count, MinStringSize))
        return Read::Nothing;
    for (quint32 i = 0; i < count; ++i) {
        QString s;
        if (!readString(&s))
            return Read::Partial;
        list->append(std::move(s));
    }
    return Read::Complete;
}

MessageReader::Read MessageReader::readVariantList(QVariantList *list, int elementDepth)
{
    quint32 count = 0;
    if (!readCount(&count, MinVariantSize) || !depthAllowed(count, elementDepth))
        return Read::Nothing;
    for (quint32 i = 0; i < count; ++i) {
        QVariant v;
        const Read r = readVariant(&v, elementDepth);
        if (r == Read::Nothing)
            return Read::Partial;
        list->append(std::move(v));
        if (r == Read::Partial)
            return Read::Partial;
    }
    return Read::Complete;
}

MessageReader::Read MessageReader::readVariantMap(QVariantMap *map, int elementDepth)
{
    quint32 count = 0;
    if (!readCount(&count, MinMapEntrySize) || !depthAllowed(count, elementDepth))
        return Read::Nothing;
    for (quint32 i = 0; i < count; ++i) {
        QString key;
        if (!readString(&key))
            return Read::Partial;
        QVariant v;
        const Read r = readVariant(&v, elementDepth);
        if (r == Read::Nothing)
            return Read::Partial;
        map->insert(key, std::move(v));
        if (r == Read::Partial)
            return Read::Partial;
    }
    return Read::Complete;
}

MessageReader::Read MessageReader::readVariantHash(QVariantHash *hash, int elementDepth)
{
    quint32 count = 0;
    if (!readCount(&count, MinMapEntrySize) || !depthAllowed(count, elementDepth))
        return Read::Nothing;
    if (count > 0) {
        if (m_hashAllowance < HashFirstEntryCost) {
            fail(QDataStream::ReadCorruptData);
            return Read::Nothing;
        }
        m_hashAllowance -= HashFirstEntryCost;
    }
    for (quint32 i = 0; i < count; ++i) {
        QString key;
        if (!readString(&key))
            return Read::Partial;
        QVariant v;
        const Read r = readVariant(&v, elementDepth);
        if (r == Read::Nothing)
            return Read::Partial;
        hash->insert(key, std::move(v));
        if (r == Read::Partial)
            return Read::Partial;
    }
    return Read::Complete;
}

bool MessageReader::readUserTypeName()
{
    quint32 length = 0;
    if (!readScalar(&length, 4))
        return false;
    if (length == NullLength || length == 0 || length > MaxTypeNameLength)
        return fail(QDataStream::ReadCorruptData);
    if (!take(length))
        return false;
    char name[MaxTypeNameLength];
    if (!readRaw(name, length))
        return false;
    // QVariant writes the name with its terminating NUL; accept it without one as well.
    constexpr quint32 bare = sizeof(SupplyInformationName) - 1;
    const bool match = (length == bare || (length == bare + 1 && name[bare] == '\0'))
            && std::memcmp(name, SupplyInformationName, bare) == 0;
    return match || fail(QDataStream::ReadCorruptData);
}

MessageReader::Read MessageReader::readVariant(QVariant *value, int depth)
{
    // Type id and null flag in one read: this header dominates blocks of small values.
    char head[MinVariantSize];
    if (!take(MinVariantSize) || !readRaw(head, MinVariantSize))
        return Read::Nothing;
    const quint32 typeId = m_in.byteOrder() == QDataStream::BigEndian
            ? qFromBigEndian<quint32>(head)
            : qFromLittleEndian<quint32>(head);

    // The null flag of a typed value is not kept: the value that follows is what counts.
    // Takes the value by address: it is read before it is wrapped.
    const auto scalar = [value](bool ok, const auto *v) {
        if (ok)
            *value = QVariant::fromValue(*v);
        return ok ? Read::Complete : Read::Nothing;
    };
    switch (typeId) {
    case QMetaType::UnknownType:
        *value = QVariant();
        return Read::Complete;
    case QMetaType::Bool: {
        bool v = false;
        return scalar(readScalar(&v, 1), &v);
    }
    case QMetaType::Int: {
        qint32 v = 0;
        return scalar(readScalar(&v, 4), &v);
    }
    case QMetaType::UInt: {
        quint32 v = 0;
        return scalar(readScalar(&v, 4), &v);
    }
    case QMetaType::LongLong: {
        qint64 v = 0;
        return scalar(readScalar(&v, 8), &v);
    }
    case QMetaType::ULongLong: {
        quint64 v = 0;
        return scalar(readScalar(&v, 8), &v);
    }
    case QMetaType::Double: {
        double v = 0;
        return scalar(readScalar(&v, floatingPointSize()), &v);
    }
    case QMetaType::Float: {
        float v = 0;
        return scalar(readScalar(&v, floatingPointSize()), &v);
    }
    case QMetaType::QString: {
        QString v;
        return scalar(readString(&v), &v);
    }
    case QMetaType::QByteArray: {
        QByteArray v;
        return scalar(readByteArray(&v), &v);
    }
    case QMetaType::QStringList: {
        QStringList v;
        const Read r = readStringList(&v);
        if (r != Read::Nothing)
            *value = QVariant(v);
        return r;
    }
    case QMetaType::QVariantList: {
        QVariantList v;
        const Read r = readVariantList(&v, depth + 1);
        if (r != Read::Nothing)
            *value = QVariant(v);
        return r;
    }
    case QMetaType::QVariantMap: {
        QVariantMap v;
        const Read r = readVariantMap(&v, depth + 1);
        if (r != Read::Nothing)
            *value = QVariant(v);
        return r;
    }
    case QMetaType::QVariantHash: {
        QVariantHash v;
        const Read r = readVariantHash(&v, depth + 1);
        if (r != Read::Nothing)
            *value = QVariant(v);
        return r;
    }
    case QMetaType::User: {
        if (!readUserTypeName())
            return Read::Nothing;
        if (depth + 1 > MaxDepth) {
            fail(QDataStream::ReadCorruptData);
            return Read::Nothing;
        }
        SupplyInformation info;
        const bool complete = readSupplyInformation(&info, depth + 1);
        *value = QVariant::fromValue(info);
        return complete ? Read::Complete : Read::Partial;
    }
    default:
        // Any other type could be costly or dangerous to construct; it is never built.
        fail(QDataStream::ReadCorruptData);
        return Read::Nothing;
    }
}

bool MessageReader::readSupplyInformation(SupplyInformation *i, int fieldDepth)
{
    if (fieldDepth > MaxDepth)
        return fail(QDataStream::ReadCorruptData);
    const auto strings = [this](QStringList *list) { return readStringList(list) == Read::Complete; };
    const int inner = fieldDepth + 1;
    const auto variants = [this, inner](QVariantList *list) {
        return readVariantList(list, inner) == Read::Complete;
    };
    return readString(&i->supplyId) && readString(&i->partNumber)
            && strings(&i->compatibleModels) && readWideFloat(&i->labelWidth)
            && readScalar(&i->supplyType, 4) && readString(&i->description)
            && readString(&i->material) && readWideFloat(&i->labelHeight)
            && readScalar(&i->mediaKind, 4) && readString(&i->colorName)
            && readScalar(&i->colorIndex, 4) && readString(&i->lotNumber)
            && readString(&i->serialNumber) && readScalar(&i->remainingLabels, 4)
            && readString(&i->ribbonId) && readString(&i->ribbonColor)
            && readWideFloat(&i->ribbonWidth) && readScalar(&i->copies, 4)
            && readByteArray(&i->chipData) && readWideFloat(&i->gapSize)
            && readWideFloat(&i->linerWidth) && readScalar(&i->labelsPerRow, 4)
            && readScalar(&i->labelsPerColumn, 4) && readScalar(&i->printDirection, 4)
            && readWideFloat(&i->marginLeft) && readWideFloat(&i->marginTop)
            && readWideFloat(&i->marginRight) && readWideFloat(&i->marginBottom)
            && strings(&i->fontNames) && variants(&i->layoutAreas)
            && variants(&i->printAreas) && variants(&i->cutPositions)
            && variants(&i->notchPositions) && variants(&i->extraProperties)
            && strings(&i->warnings) && readScalar(&i->revision, 4)
            && readWideFloat(&i->maximumLength);
}

void MessageReader::readMessage(MessageStruct *message)
{
    const bool header = readScalar(&message->methodType, 1) && readString(&message->methodName)
            && readString(&message->dataType);
    const bool arguments = header
            && readVariantList(&message->arguments, 1) == Read::Complete;

    if (message->dataType == QLatin1String(QVIPCMessage::SupplyInformationCode)) {
        // This code always yields a record in data, default where the block fell short.
        SupplyInformation info;
        if (arguments)
            readSupplyInformation(&info, 1);
        message->data = QVariant::fromValue(info);
    } else if (arguments) {
        QVariant data;
        if (readVariant(&data, 0) != Read::Nothing)
            message->data = std::move(data);
    }
}
