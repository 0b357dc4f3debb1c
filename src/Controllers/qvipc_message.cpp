#include "Controllers/qvipc_message.h"
#include "Controllers/qvipc_message_reader_p.h"

#include <QCoreApplication>
#include <QIODevice>
#include <QMetaMethod>
#include <QMetaObject>
#include <QObject>
#include <QVarLengthArray>
#include <QVersionNumber>

#include <cstring>
#include <new>

bool SupplyInformation::operator==(const SupplyInformation &o) const
{
    return supplyId == o.supplyId && partNumber == o.partNumber
            && compatibleModels == o.compatibleModels && labelWidth == o.labelWidth
            && supplyType == o.supplyType && description == o.description
            && material == o.material && labelHeight == o.labelHeight
            && mediaKind == o.mediaKind && colorName == o.colorName
            && colorIndex == o.colorIndex && lotNumber == o.lotNumber
            && serialNumber == o.serialNumber && remainingLabels == o.remainingLabels
            && ribbonId == o.ribbonId && ribbonColor == o.ribbonColor
            && ribbonWidth == o.ribbonWidth && copies == o.copies && chipData == o.chipData
            && gapSize == o.gapSize && linerWidth == o.linerWidth
            && labelsPerRow == o.labelsPerRow && labelsPerColumn == o.labelsPerColumn
            && printDirection == o.printDirection && marginLeft == o.marginLeft
            && marginTop == o.marginTop && marginRight == o.marginRight
            && marginBottom == o.marginBottom && fontNames == o.fontNames
            && layoutAreas == o.layoutAreas && printAreas == o.printAreas
            && cutPositions == o.cutPositions && notchPositions == o.notchPositions
            && extraProperties == o.extraProperties && warnings == o.warnings
            && revision == o.revision && maximumLength == o.maximumLength;
}

namespace {

// A float field travels as the bits of a double whatever the stream's precision setting:
// the modules read eight bytes.
quint64 wide(float value)
{
    const double d = value;
    quint64 bits;
    std::memcpy(&bits, &d, sizeof bits);
    return bits;
}

} // namespace

QDataStream &operator<<(QDataStream &out, const SupplyInformation &i)
{
    out << i.supplyId << i.partNumber << i.compatibleModels << wide(i.labelWidth)
        << i.supplyType << i.description << i.material << wide(i.labelHeight)
        << i.mediaKind << i.colorName << i.colorIndex << i.lotNumber << i.serialNumber
        << i.remainingLabels << i.ribbonId << i.ribbonColor << wide(i.ribbonWidth)
        << i.copies << i.chipData << wide(i.gapSize) << wide(i.linerWidth)
        << i.labelsPerRow << i.labelsPerColumn << i.printDirection << wide(i.marginLeft)
        << wide(i.marginTop) << wide(i.marginRight) << wide(i.marginBottom)
        << i.fontNames << i.layoutAreas << i.printAreas << i.cutPositions
        << i.notchPositions << i.extraProperties << i.warnings << i.revision
        << wide(i.maximumLength);
    return out;
}

QDataStream &operator>>(QDataStream &in, SupplyInformation &info)
{
    SupplyInformation read;
    MessageReader(in).readSupplyInformation(&read, 1);
    info = std::move(read);
    return in;
}

bool MessageStruct::operator==(const MessageStruct &o) const
{
    return methodType == o.methodType && methodName == o.methodName && dataType == o.dataType
            && arguments == o.arguments && data == o.data;
}

namespace {

bool isSupplyInformationCode(const QString &dataType)
{
    return dataType == QLatin1String(QVIPCMessage::SupplyInformationCode);
}

SupplyInformation toSupplyInformation(const QVariant &data)
{
    const QMetaType target = QMetaType::fromType<SupplyInformation>();
    if (data.metaType() == target)
        return *static_cast<const SupplyInformation *>(data.constData());
    SupplyInformation info;
    if (data.isValid() && QMetaType::convert(data.metaType(), data.constData(), target, &info))
        return info;
    return SupplyInformation();     // a failed conversion may have left part of its work
}

} // namespace

QDataStream &operator<<(QDataStream &out, const MessageStruct &message)
{
    out << message.methodType << message.methodName << message.dataType << message.arguments;
    if (isSupplyInformationCode(message.dataType))
        out << toSupplyInformation(message.data);
    else
        out << message.data;
    return out;
}

QDataStream &operator>>(QDataStream &in, MessageStruct &message)
{
    MessageStruct read;
    MessageReader(in).readMessage(&read);
    message = std::move(read);
    return in;
}

namespace QVIPCMessage {

QByteArray encode(const MessageStruct &message)
{
    QByteArray bytes;
    QDataStream out(&bytes, QIODevice::WriteOnly);
    out.setVersion(QDataStream::Qt_6_0);
    out.setByteOrder(QDataStream::BigEndian);
    out << message;
    return bytes;
}

bool decode(const void *data, quint32 size, MessageStruct *message)
{
    if (!message)
        return false;
    QByteArray bytes;
    try {
        bytes = QByteArray(static_cast<const char *>(data), qsizetype(size));
    } catch (const std::bad_alloc &) {
        return false;
    }
    if (bytes.size() != qsizetype(size))
        return false;
    QDataStream in(bytes);
    in.setVersion(QDataStream::Qt_6_0);
    in.setByteOrder(QDataStream::BigEndian);
    in >> *message;
    return true;
}

namespace {

// One typed call argument. An empty one has no type name and matches no parameter.
struct CallArgument
{
    const char *typeName = nullptr;
    QVariant value;
};

// The signed conversions for the unsigned types are part of the protocol's behaviour.
CallArgument toCallArgument(const QVariant &v)
{
    const QByteArrayView type(v.typeName());
    if (type == "QString")
        return { "QString", QVariant(v.toString()) };
    if (type == "int")
        return { "int", QVariant(v.toInt()) };
    if (type == "uint")
        return { "quint32", QVariant(v.toInt()) };
    if (type == "qulonglong")
        return { "quint64", QVariant(v.toLongLong()) };
    if (type == "bool")
        return { "bool", QVariant(v.toBool()) };
    if (type == "double")
        return { "double", QVariant(v.toDouble()) };
    if (type == "QStringList")
        return { "QStringList", QVariant(v.toStringList()) };
    return {};
}

struct ReturnSlot
{
    bool known = false;
    bool isVoid = false;
    const char *name = nullptr;
    QMetaType type;
};

ReturnSlot returnSlotFor(const QString &code)
{
    struct Entry
    {
        const char *code;
        const char *name;
        QMetaType type;
    };
    static const Entry table[] = {
        { "i", "int", QMetaType::fromType<qint32>() },
        { "j", "quint32", QMetaType::fromType<quint32>() },
        { "y", "quint64", QMetaType::fromType<quint64>() },
        { "b", "bool", QMetaType::fromType<bool>() },
        { "7QString", "QString", QMetaType::fromType<QString>() },
        { "11QStringList", "QStringList", QMetaType::fromType<QStringList>() },
        { "5QListI7QStringE", "QStringList", QMetaType::fromType<QStringList>() },
        { "4QMapI7QString8QVariantE", "QVariantMap", QMetaType::fromType<QVariantMap>() },
        { "5QHashI7QString8QVariantE", "QVariantHash", QMetaType::fromType<QVariantHash>() },
        { "5QListI8QVariantE", "QVariantList", QMetaType::fromType<QVariantList>() },
        { "f", "float", QMetaType::fromType<float>() },
        { "d", "double", QMetaType::fromType<double>() },
        { "10QByteArray", "QByteArray", QMetaType::fromType<QByteArray>() },
        { SupplyInformationCode, "SupplyInformation", QMetaType::fromType<SupplyInformation>() },
    };
    ReturnSlot slot;
    if (code == QLatin1String("v")) {
        slot.known = true;
        slot.isVoid = true;
        return slot;
    }
    for (const Entry &e : table) {
        if (code == QLatin1String(e.code)) {
            slot.known = true;
            slot.name = e.name;
            slot.type = e.type;
            break;
        }
    }
    return slot;
}

// The meta-object system's rule for a typed return slot: same name, same normalised name, or
// the same meta-type.
bool returnTypeMatches(const QMetaMethod &method, const char *slotName)
{
    if (qstrcmp(method.typeName(), slotName) == 0)
        return true;
    const QByteArray normalized = QMetaObject::normalizedType(slotName);
    if (qstrcmp(method.typeName(), normalized.constData()) == 0)
        return true;
    const int id = method.returnType();
    return id != QMetaType::UnknownType && id == QMetaType::fromName(normalized).id();
}

// Finds the method that takes exactly these arguments. An empty argument matches no
// parameter type, so a call carrying one reaches nothing, whatever the method's arity.
int findMethod(const QMetaObject *meta, const QByteArray &name,
               const QList<CallArgument> &arguments)
{
    QByteArray signature = name + '(';
    for (qsizetype i = 0; i < arguments.size(); ++i) {
        if (!arguments.at(i).typeName)
            return -1;
        if (i > 0)
            signature += ',';
        signature += arguments.at(i).typeName;
    }
    signature += ')';
    return meta->indexOfMethod(QMetaObject::normalizedSignature(signature.constData()));
}

} // namespace

QVariant invokeRequest(QObject *target, const MessageStruct &request)
{
    QList<CallArgument> arguments;
    for (qsizetype i = 0; i < 3; ++i) {
        const QVariant element = i < request.arguments.size() ? request.arguments.at(i) : QVariant();
        if (element.metaType() == QMetaType::fromType<QString>()
            && element.toString() == QLatin1String("-"))
            break;
        arguments.append(toCallArgument(element));
    }

    const ReturnSlot slot = returnSlotFor(request.dataType);
    if (!slot.known)
        return QVariant();
    if (slot.isVoid)
        arguments.prepend(CallArgument());     // the extra leading empty argument of "v"

    QVariant result = slot.isVoid ? QVariant() : QVariant(slot.type);
    // A missing target is answered like a target without the method: the empty value.
    const QMetaObject *meta = target ? target->metaObject() : nullptr;
    const int index = meta ? findMethod(meta, request.methodName.toUtf8(), arguments) : -1;
    if (index >= 0) {
        const QMetaMethod method = meta->method(index);
        if (slot.isVoid || returnTypeMatches(method, slot.name)) {
            void *argv[1 + 4] = { slot.isVoid ? nullptr : result.data() };
            for (qsizetype i = 0; i < arguments.size(); ++i)
                argv[i + 1] = arguments[i].value.data();
            QMetaObject::metacall(target, QMetaObject::InvokeMetaMethod, index, argv);
        }
    }
    if (slot.isVoid)
        return QVariant();
    // A fresh variant of the slot's type, so the reply does not travel flagged as null.
    return QVariant(slot.type, result.constData());
}

void registerTypes()
{
    qRegisterMetaType<SupplyInformation>("SupplyInformation");
    qRegisterMetaType<MessageStruct>("MessageStruct");
    // A Core value type modules may send by name: Qt reads it only once it is registered.
    qRegisterMetaType<QVersionNumber>("QVersionNumber");
}

} // namespace QVIPCMessage

namespace {

void registerMessageTypes()
{
    QVIPCMessage::registerTypes();
}

} // namespace

Q_COREAPP_STARTUP_FUNCTION(registerMessageTypes)
