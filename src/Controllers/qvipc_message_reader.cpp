#include "Controllers/qvipc_message_reader_p.h"

#include <QBuffer>
#include <QByteArrayList>
#include <QIODevice>
#include <QVersionNumber>
#include <QtEndian>

#include <cstring>
#include <limits>

namespace {

// Smallest wire size of one element, used to refuse counts the remaining bytes cannot hold.
constexpr qint64 MinStringSize = 4;                              // length only
constexpr qint64 MinVariantSize = 5;                             // type id + null flag
constexpr qint64 MinMapEntrySize = MinStringSize + MinVariantSize;
constexpr qint64 IntSize = 4;

constexpr quint32 NullLength = 0xFFFFFFFFu;

// A hash commits far more heap than its bytes on the wire: its first entry brings one span
// of 128 buckets with room for 48 entries (about 2.9 KB for 18 bytes). Non-empty hashes are
// paid from an allowance that grows with the block, so a block of tiny hashes cannot
// multiply its size by a hundred.
constexpr qint64 HashFirstEntryCost = 128 + 48 * qint64(sizeof(QString) + sizeof(QVariant)) + 64;
constexpr qint64 HashAllowanceBase = 64 * 1024;
constexpr qint64 HashAllowancePerByte = 2;

// Parsed JSON costs far more heap per container than its bytes on the wire ("[0]" is three
// bytes); its containers are paid from the same allowance as the hashes.
constexpr qint64 JsonContainerCost = 256;
// So does a URL: its parsed parts (about 260 bytes for "a", ten bytes on the wire).
constexpr qint64 UrlCost = 256;

// QDateTime's time-spec bytes read: local time, UTC, an offset. A time zone (3) makes Qt open the
// file the block names; other values make Qt 6.4 build a date-time in an invalid zone, which
// it writes back as a time zone.
constexpr char LastPlainSpec = 2;

// As QDataStream's own containers treat the stream's status: a container starts from Ok (so
// it is read even after an earlier corrupt value), and an earlier failure wins at its end.
class ContainerStatus
{
public:
    explicit ContainerStatus(QDataStream &in) : m_in(in), m_old(in.status())
    {
        if (!m_in.isDeviceTransactionStarted())
            m_in.resetStatus();
    }
    ~ContainerStatus()
    {
        if (m_old != QDataStream::Ok) {
            m_in.resetStatus();
            m_in.setStatus(m_old);
        }
    }
    ContainerStatus(const ContainerStatus &) = delete;
    ContainerStatus &operator=(const ContainerStatus &) = delete;

private:
    QDataStream &m_in;
    const QDataStream::Status m_old;
};

// A variant of type, holding its default value, and where to read the value into. A value
// that travelled flagged as null keeps the flag, as Qt's reading keeps it.
void *slotOf(QVariant *variant, QMetaType type, bool isNull)
{
    *variant = QVariant(type);      // flagged null until written through data()
    return isNull ? const_cast<void *>(variant->constData()) : variant->data();
}

} // namespace

MessageReader::MessageReader(QDataStream &in) : m_in(in)
{
    const QBuffer *buffer = qobject_cast<const QBuffer *>(in.device());
    if (buffer && !in.isDeviceTransactionStarted() && buffer->isReadable())
        m_bytes = &buffer->data();
    m_heapAllowance = HashAllowanceBase + HashAllowancePerByte * available();
}

const char *MessageReader::inPlace(qint64 *size) const
{
    if (!m_bytes)
        return nullptr;
    const qint64 pos = m_in.device()->pos();
    if (pos != m_anchor) {
        Q_ASSERT(m_pending == 0);
        m_anchor = pos;
        m_pending = 0;
    }
    const qint64 cursor = m_anchor + m_pending;
    if (cursor < 0 || cursor > m_bytes->size())
        return nullptr;
    *size = m_bytes->size() - cursor;
    return m_bytes->constData() + cursor;
}

void MessageReader::sync()
{
    if (m_pending == 0)
        return;
    m_in.device()->skip(m_pending);
    m_pending = 0;
    m_anchor = m_in.device()->pos();
}

qint64 MessageReader::peekAt(qint64 offset, char *data, qint64 size) const
{
    qint64 left = 0;
    if (const char *p = inPlace(&left)) {
        const qint64 n = qBound(qint64(0), left - offset, size);
        if (n > 0)
            std::memcpy(data, p + offset, size_t(n));
        return n;
    }
    char head[16];
    Q_ASSERT(offset + size <= qint64(sizeof head));
    const qint64 n = m_in.device()->peek(head, offset + size) - offset;
    if (n <= 0)
        return 0;
    std::memcpy(data, head + offset, size_t(n));
    return n;
}

template<typename T>
T MessageReader::readNumber()
{
    T value = 0;
    qint64 left = 0;
    if (const char *p = inPlace(&left); p && left >= qint64(sizeof(T))) {
        value = m_in.byteOrder() == QDataStream::BigEndian ? qFromBigEndian<T>(p)
                                                           : qFromLittleEndian<T>(p);
        advance(qint64(sizeof(T)));
    } else {
        sync();
        m_in >> value;
    }
    return value;
}

qint64 MessageReader::available() const
{
    const QIODevice *device = m_in.device();
    if (!device || m_refused)
        return 0;
    qint64 left = 0;
    return inPlace(&left) ? left : device->bytesAvailable();
}

void MessageReader::cutToEnd()
{
    sync();
    // Where Qt's own reader runs out of bytes: it consumes what is left and fails.
    if (QIODevice *device = m_in.device())
        device->skip(device->bytesAvailable());
    m_in.setStatus(QDataStream::ReadPastEnd);
}

void MessageReader::refuse()
{
    sync();
    m_refused = true;
    m_in.setStatus(QDataStream::ReadCorruptData);   // keeps an earlier failure
    if (QIODevice *device = m_in.device())
        device->skip(device->bytesAvailable());     // nothing more is read from this block
}

bool MessageReader::countFits(quint32 count, qint64 minimumElementSize)
{
    if (qint64(count) <= available() / minimumElementSize)
        return true;
    refuse();
    return false;
}

qint64 MessageReader::lengthOverrun(qint64 offset, int lengthSize, qint64 unitsPerLength) const
{
    char p[8];
    if (peekAt(offset, p, lengthSize) < lengthSize)
        return -1;      // the length itself is cut: Qt reads 0 and allocates nothing
    const bool big = m_in.byteOrder() == QDataStream::BigEndian;
    quint64 length = 0;
    if (lengthSize == 4) {
        length = big ? qFromBigEndian<quint32>(p) : qFromLittleEndian<quint32>(p);
        if (length == NullLength || (unitsPerLength == 2 && length % 2 != 0))
            return -1;  // null, or a string Qt refuses as corrupt before reading it
    } else {
        length = big ? qFromBigEndian<quint64>(p) : qFromLittleEndian<quint64>(p);
    }
    const quint64 bytes = unitsPerLength == 8 ? length / 8 + (length % 8 != 0) : length;
    return bytes > quint64(available() - offset - lengthSize) ? offset : -1;
}

void MessageReader::readThroughQt(QMetaType type, void *data, qint64 fitsBefore)
{
    sync();
    if (fitsBefore < 0) {
        if (!type.load(m_in, data))
            m_in.setStatus(QDataStream::ReadCorruptData);
        return;
    }
    // The bytes before the length that runs past the block, read by Qt on their own: a value
    // whose length field reads as nothing. Then the stream ends, as Qt's read would end it.
    QByteArray before(qsizetype(fitsBefore), Qt::Uninitialized);
    if (m_in.readRawData(before.data(), int(fitsBefore)) != int(fitsBefore))
        before.clear();
    QDataStream part(before);
    part.setVersion(m_in.version());
    part.setByteOrder(m_in.byteOrder());
    part.setFloatingPointPrecision(m_in.floatingPointPrecision());
    type.load(part, data);
    cutToEnd();
}

void MessageReader::readString(QString *string)
{
    qint64 left = 0;
    if (const char *p = inPlace(&left); p && left >= 4) {
        // The common string, whole in the block, read in place as Qt would read it; anything
        // else (cut, odd, empty) takes Qt's own reading below.
        const bool big = m_in.byteOrder() == QDataStream::BigEndian;
        const quint32 bytes = big ? qFromBigEndian<quint32>(p) : qFromLittleEndian<quint32>(p);
        if (bytes == NullLength) {
            string->clear();
            advance(4);
            return;
        }
        if (bytes != 0 && bytes % 2 == 0 && qint64(bytes) <= left - 4) {
            const qsizetype length = qsizetype(bytes / 2);
            string->resize(length);
            char16_t *out = reinterpret_cast<char16_t *>(string->data());
            if (big)
                qFromBigEndian<char16_t>(p + 4, length, out);
            else
                qFromLittleEndian<char16_t>(p + 4, length, out);
            advance(4 + qint64(bytes));
            return;
        }
    }
    sync();
    if (lengthOverrun(0, 4, 2) < 0) {
        m_in >> *string;
        return;
    }
    quint32 ignored;
    m_in >> ignored;
    string->clear();
    cutToEnd();
}

void MessageReader::readByteArray(QByteArray *bytes)
{
    sync();
    if (lengthOverrun(0, 4, 1) < 0) {
        m_in >> *bytes;
        return;
    }
    quint32 ignored;
    m_in >> ignored;
    bytes->clear();
    cutToEnd();
}

void MessageReader::readWideFloat(float *value)
{
    // The bits of a double, whatever precision the stream is set to.
    const quint64 bits = readNumber<quint64>();
    double wide = 0;
    std::memcpy(&wide, &bits, sizeof wide);
    *value = static_cast<float>(wide);
}

template<typename List, typename ReadElement>
void MessageReader::readList(List *list, qint64 minimumElementSize, int elementDepth,
                             ReadElement read)
{
    list->clear();
    if (m_refused)
        return;
    ContainerStatus status(m_in);
    const quint32 count = readNumber<quint32>();
    if (!countFits(count, minimumElementSize))
        return;
    if (count > 0 && elementDepth > MaxDepth) {
        refuse();
        return;
    }
    // Never reserved from the count: memory follows the elements actually read.
    for (quint32 i = 0; i < count; ++i) {
        typename List::value_type element;
        read(&element);
        if (m_in.status() != QDataStream::Ok) {
            list->clear();
            break;
        }
        list->append(std::move(element));
    }
}

template<typename Container>
void MessageReader::readStringKeyed(Container *container, int elementDepth, bool hash)
{
    container->clear();
    if (m_refused)
        return;
    ContainerStatus status(m_in);
    const quint32 count = readNumber<quint32>();
    if (!countFits(count, MinMapEntrySize))
        return;
    if (count > 0 && (elementDepth > MaxDepth || (hash && m_heapAllowance < HashFirstEntryCost))) {
        refuse();
        return;
    }
    if (count > 0 && hash)
        m_heapAllowance -= HashFirstEntryCost;
    for (quint32 i = 0; i < count; ++i) {
        QString key;
        QVariant value;
        readString(&key);
        readVariant(&value, elementDepth);
        if (m_in.status() != QDataStream::Ok) {
            container->clear();
            break;
        }
        container->insert(key, std::move(value));
    }
}

bool MessageReader::payForJson(qint64 offset)
{
    char p[4];
    if (peekAt(offset, p, 4) < 4)
        return true;
    const quint32 length = m_in.byteOrder() == QDataStream::BigEndian
            ? qFromBigEndian<quint32>(p) : qFromLittleEndian<quint32>(p);
    if (length == NullLength)
        return true;
    sync();
    const QByteArray json = m_in.device()->peek(offset + 4 + qint64(length)).mid(offset + 4);
    qint64 containers = 0;
    bool inString = false;
    for (qsizetype i = 0; i < json.size(); ++i) {
        const char c = json.at(i);
        if (inString) {
            if (c == '\\')
                ++i;
            else if (c == '"')
                inString = false;
        } else if (c == '"') {
            inString = true;
        } else if (c == '[' || c == '{') {
            ++containers;
        }
    }
    const qint64 cost = containers * JsonContainerCost;
    if (cost > m_heapAllowance) {
        refuse();
        return false;
    }
    m_heapAllowance -= cost;
    return true;
}

bool MessageReader::readUserTypeName(QByteArray *name)
{
    readByteArray(name);
    return !m_refused;
}

void MessageReader::readVariant(QVariant *value, int depth)
{
    *value = QVariant();
    if (m_refused)
        return;
    quint32 typeId = 0;
    qint8 isNull = 0;
    qint64 left = 0;
    if (const char *p = inPlace(&left); p && left >= 5) {
        typeId = m_in.byteOrder() == QDataStream::BigEndian ? qFromBigEndian<quint32>(p)
                                                            : qFromLittleEndian<quint32>(p);
        isNull = qint8(p[4]);
        advance(5);
    } else {
        sync();
        m_in >> typeId >> isNull;
    }

    QMetaType type;
    if (typeId == QMetaType::User) {
        QByteArray name;
        if (!readUserTypeName(&name))
            return;
        type = QMetaType::fromName(name);
        if (!type.isValid()) {
            m_in.setStatus(QDataStream::ReadCorruptData);
            return;
        }
    } else if (typeId != QMetaType::UnknownType && QMetaType::isRegistered(int(typeId))) {
        type = QMetaType(int(typeId));
    }
    // A type this process does not know is read as a null variant, as Qt reads it.
    if (!type.isValid())
        return;
    // Qt keeps the flag in a one-bit field: only the lowest bit counts.
    readAllowedValue(type, value, (isNull & 1) != 0, depth);
}

void MessageReader::readAllowedValue(QMetaType type, QVariant *value, bool isNull, int depth)
{
    const int inner = depth + 1;
    switch (type.id()) {
    // Fixed sizes: Qt's own reading, which reads zero past the end of the block.
    case QMetaType::Bool:
    case QMetaType::Int:
    case QMetaType::UInt:
    case QMetaType::LongLong:
    case QMetaType::ULongLong:
    case QMetaType::Double:
    case QMetaType::Float:
    case QMetaType::Short:
    case QMetaType::UShort:
    case QMetaType::Long:
    case QMetaType::ULong:
    case QMetaType::Char:
    case QMetaType::SChar:
    case QMetaType::UChar:
    case QMetaType::Char16:
    case QMetaType::Char32:
    case QMetaType::Nullptr:
    case QMetaType::QCborSimpleType:
    case QMetaType::QChar:
    case QMetaType::QDate:
    case QMetaType::QTime:
    case QMetaType::QSize:
    case QMetaType::QSizeF:
    case QMetaType::QPoint:
    case QMetaType::QPointF:
    case QMetaType::QRect:
    case QMetaType::QRectF:
    case QMetaType::QLine:
    case QMetaType::QLineF:
    case QMetaType::QUuid:
        readThroughQt(type, slotOf(value, type, isNull), -1);
        return;
    case QMetaType::QDateTime: {
        // Date, time, time-spec byte.
        char spec = 0;
        if (peekAt(8 + 4, &spec, 1) == 1 && (spec < 0 || spec > LastPlainSpec)) {
            refuse();
            return;
        }
        readThroughQt(type, slotOf(value, type, isNull), -1);
        return;
    }
    case QMetaType::QString:
        readString(static_cast<QString *>(slotOf(value, type, isNull)));
        return;
    case QMetaType::QByteArray:
        readByteArray(static_cast<QByteArray *>(slotOf(value, type, isNull)));
        return;
    case QMetaType::QUrl: {      // encoded as a byte array
        const qint64 fitsBefore = lengthOverrun(0, 4, 1);
        char head[4] = {};
        const qint64 headSize = peekAt(0, head, 4);
        const bool empty = headSize == 4 && (std::memcmp(head, "\0\0\0\0", 4) == 0
                                             || std::memcmp(head, "\xff\xff\xff\xff", 4) == 0);
        if (fitsBefore < 0 && !empty) {
            if (m_heapAllowance < UrlCost) {
                refuse();
                return;
            }
            m_heapAllowance -= UrlCost;
        }
        readThroughQt(type, slotOf(value, type, isNull), fitsBefore);
        return;
    }
    case QMetaType::QLocale:     // its name, a string
        readThroughQt(type, slotOf(value, type, isNull), lengthOverrun(0, 4, 2));
        return;
    case QMetaType::QBitArray: { // 64-bit length in bits, then the bytes
        // Qt takes the count as signed and rounds it up to bytes unchecked: from 2^63 - 7 on,
        // it indexes before its buffer and crashes.
        char head[8];
        if (peekAt(0, head, 8) == 8) {
            const quint64 bits = m_in.byteOrder() == QDataStream::BigEndian
                    ? qFromBigEndian<quint64>(head) : qFromLittleEndian<quint64>(head);
            if (bits > quint64(std::numeric_limits<qsizetype>::max() - 7)) {
                refuse();
                return;
            }
        }
        readThroughQt(type, slotOf(value, type, isNull), lengthOverrun(0, 8, 8));
        return;
    }
    case QMetaType::QJsonObject:
    case QMetaType::QJsonArray:
    case QMetaType::QJsonDocument:
    case QMetaType::QJsonValue: {
        // A JSON value starts with its type byte; strings, arrays and objects follow it with
        // a length, arrays and objects as compact JSON text.
        qint64 offset = 0;
        bool text = true;
        if (type.id() == QMetaType::QJsonValue) {
            char head = 0;
            const int jsonType = peekAt(0, &head, 1) == 1 ? int(uchar(head)) : 0;
            offset = (jsonType >= 3 && jsonType <= 5) ? 1 : -1;
            text = jsonType == 4 || jsonType == 5;
        }
        const qint64 fitsBefore = offset < 0 ? -1 : lengthOverrun(offset, 4, text ? 1 : 2);
        if (text && fitsBefore < 0 && offset >= 0 && !payForJson(offset))
            return;
        readThroughQt(type, slotOf(value, type, isNull), fitsBefore);
        return;
    }
    case QMetaType::QStringList: {
        QStringList list;
        readList(&list, MinStringSize, 0, [this](QString *s) { readString(s); });
        *static_cast<QStringList *>(slotOf(value, type, isNull)) = std::move(list);
        return;
    }
    case QMetaType::QByteArrayList: {
        QByteArrayList list;
        readList(&list, MinStringSize, 0, [this](QByteArray *b) { readByteArray(b); });
        *static_cast<QByteArrayList *>(slotOf(value, type, isNull)) = std::move(list);
        return;
    }
    case QMetaType::QVariantList: {
        QVariantList list;
        readList(&list, MinVariantSize, inner,
                 [this, inner](QVariant *v) { readVariant(v, inner); });
        if (!m_refused)
            *static_cast<QVariantList *>(slotOf(value, type, isNull)) = std::move(list);
        return;
    }
    case QMetaType::QVariantMap: {
        QVariantMap map;
        readStringKeyed(&map, inner, false);
        if (!m_refused)
            *static_cast<QVariantMap *>(slotOf(value, type, isNull)) = std::move(map);
        return;
    }
    case QMetaType::QVariantHash: {
        QVariantHash hash;
        readStringKeyed(&hash, inner, true);
        if (!m_refused)
            *static_cast<QVariantHash *>(slotOf(value, type, isNull)) = std::move(hash);
        return;
    }
    default:
        break;
    }

    if (type == QMetaType::fromType<SupplyInformation>()) {
        if (inner > MaxDepth) {
            refuse();
            return;
        }
        SupplyInformation info;
        readSupplyInformation(&info, inner);
        *static_cast<SupplyInformation *>(slotOf(value, type, isNull)) = std::move(info);
    } else if (type == QMetaType::fromType<QVersionNumber>()) {
        // Its segments, a list of ints: Qt reserves from the count.
        char head[4];
        if (peekAt(0, head, 4) == 4) {
            const quint32 count = m_in.byteOrder() == QDataStream::BigEndian
                    ? qFromBigEndian<quint32>(head) : qFromLittleEndian<quint32>(head);
            if (qint64(count) > (available() - 4) / IntSize) {
                refuse();
                return;
            }
        }
        readThroughQt(type, slotOf(value, type, isNull), -1);
    } else {
        // Any other type could be costly or dangerous to construct; it is never built.
        refuse();
    }
}

void MessageReader::readSupplyInformation(SupplyInformation *i, int fieldDepth)
{
    if (m_refused)
        return;
    if (fieldDepth > MaxDepth) {
        refuse();
        return;
    }
    // Read like a container: from an Ok status, stopping at the first field that fails; that
    // field and those after it keep their defaults.
    ContainerStatus status(m_in);
    const auto ok = [this] { return m_in.status() == QDataStream::Ok; };
    const auto string = [&](QString *s) {
        QString v;
        readString(&v);
        if (ok())
            *s = std::move(v);
        return ok();
    };
    const auto bytes = [&](QByteArray *b) {
        QByteArray v;
        readByteArray(&v);
        if (ok())
            *b = std::move(v);
        return ok();
    };
    const auto number = [&](qint32 *n) {
        const qint32 v = readNumber<qint32>();
        if (ok())
            *n = v;
        return ok();
    };
    const auto wide = [&](float *f) {
        float v = 0;
        readWideFloat(&v);
        if (ok())
            *f = v;
        return ok();
    };
    const auto strings = [&](QStringList *l) {
        QStringList v;
        readList(&v, MinStringSize, 0, [this](QString *s) { readString(s); });
        if (ok())
            *l = std::move(v);
        return ok();
    };
    const int inner = fieldDepth + 1;
    const auto variants = [&](QVariantList *l) {
        QVariantList v;
        readList(&v, MinVariantSize, inner, [this, inner](QVariant *e) { readVariant(e, inner); });
        if (ok())
            *l = std::move(v);
        return ok();
    };
    string(&i->supplyId) && string(&i->partNumber) && strings(&i->compatibleModels)
            && wide(&i->labelWidth) && number(&i->supplyType) && string(&i->description)
            && string(&i->material) && wide(&i->labelHeight) && number(&i->mediaKind)
            && string(&i->colorName) && number(&i->colorIndex) && string(&i->lotNumber)
            && string(&i->serialNumber) && number(&i->remainingLabels) && string(&i->ribbonId)
            && string(&i->ribbonColor) && wide(&i->ribbonWidth) && number(&i->copies)
            && bytes(&i->chipData) && wide(&i->gapSize) && wide(&i->linerWidth)
            && number(&i->labelsPerRow) && number(&i->labelsPerColumn)
            && number(&i->printDirection) && wide(&i->marginLeft) && wide(&i->marginTop)
            && wide(&i->marginRight) && wide(&i->marginBottom) && strings(&i->fontNames)
            && variants(&i->layoutAreas) && variants(&i->printAreas)
            && variants(&i->cutPositions) && variants(&i->notchPositions)
            && variants(&i->extraProperties) && strings(&i->warnings) && number(&i->revision)
            && wide(&i->maximumLength);
    sync();
}

void MessageReader::readMessage(MessageStruct *message)
{
    // A record is not read from a stream that has already failed. (A supply record is: Qt
    // reads a variant's value whatever the stream's status.)
    if (m_in.status() != QDataStream::Ok)
        return;
    // Field after field as Qt reads them: a failure does not stop the fields after it (a
    // corrupt string leaves the stream after its length; a cut leaves it at the end).
    message->methodType = readNumber<qint8>();
    readString(&message->methodName);
    readString(&message->dataType);
    readList(&message->arguments, MinVariantSize, 1,
             [this](QVariant *v) { readVariant(v, 1); });

    if (message->dataType == QLatin1String(QVIPCMessage::SupplyInformationCode)) {
        // This code always yields a record in data, default where the block fell short.
        SupplyInformation info;
        readSupplyInformation(&info, 1);
        message->data = QVariant::fromValue(info);
    } else {
        readVariant(&message->data, 0);
    }
    sync();
}
