#pragma once

#include "korvexdashboard_export.h"

#include <QByteArray>
#include <QDataStream>
#include <QMetaType>
#include <QString>
#include <QStringList>
#include <QVariant>
#include <QVariantList>

class QObject;

// A printer's loaded supply, as the printing library describes it. The dashboard only
// carries it between the printing library and the modules; 37 fields in wire order.
// Floats are held as float but travel as double (widened on writing, narrowed on reading).
struct KORVEXDASHBOARD_EXPORT SupplyInformation
{
    QString supplyId;                 // 1
    QString partNumber;               // 2
    QStringList compatibleModels;     // 3
    float labelWidth = -1.0f;         // 4
    qint32 supplyType = -1;           // 5
    QString description;              // 6
    QString material;                 // 7
    float labelHeight = -1.0f;        // 8
    qint32 mediaKind = -1;            // 9
    QString colorName;                // 10
    qint32 colorIndex = -1;           // 11
    QString lotNumber;                // 12
    QString serialNumber;             // 13
    qint32 remainingLabels = -1;      // 14
    QString ribbonId;                 // 15
    QString ribbonColor;              // 16
    float ribbonWidth = -1.0f;        // 17
    qint32 copies = 1;                // 18
    QByteArray chipData;              // 19
    float gapSize = -1.0f;            // 20
    float linerWidth = -1.0f;         // 21
    qint32 labelsPerRow = -1;         // 22
    qint32 labelsPerColumn = -1;      // 23
    qint32 printDirection = -1;       // 24
    float marginLeft = -1.0f;         // 25
    float marginTop = -1.0f;          // 26
    float marginRight = -1.0f;        // 27
    float marginBottom = -1.0f;       // 28
    QStringList fontNames;            // 29
    QVariantList layoutAreas;         // 30
    QVariantList printAreas;          // 31
    QVariantList cutPositions;        // 32
    QVariantList notchPositions;      // 33
    QVariantList extraProperties;     // 34
    QStringList warnings;             // 35
    qint32 revision = 1;              // 36
    float maximumLength = -1.0f;      // 37

    bool operator==(const SupplyInformation &other) const;
    bool operator!=(const SupplyInformation &other) const { return !(*this == other); }
};
KORVEXDASHBOARD_EXPORT QDataStream &operator<<(QDataStream &out, const SupplyInformation &info);
// Guarded like the record's reader: safe on any bytes, a short block leaves the rest default.
KORVEXDASHBOARD_EXPORT QDataStream &operator>>(QDataStream &in, SupplyInformation &info);

// The record every data-carrying message between the dashboard and a module carries.
struct KORVEXDASHBOARD_EXPORT MessageStruct
{
    qint8 methodType = 0;
    QString methodName;
    QString dataType;
    QVariantList arguments;
    QVariant data;

    bool operator==(const MessageStruct &other) const;
    bool operator!=(const MessageStruct &other) const { return !(*this == other); }
};
KORVEXDASHBOARD_EXPORT QDataStream &operator<<(QDataStream &out, const MessageStruct &message);
// Safe on any bytes, and otherwise Qt's own reading: the record plain QDataStream reads from
// the block wherever that is safe (a list cut short reads as empty). A block that lies about
// a count, nests too deeply or names a type outside the allow-list (docs/message_format.md)
// ends there; the containers around it read as empty and the rest keeps its defaults.
// The record is reset to its defaults first. The stream's status becomes ReadPastEnd when the
// block was cut short and ReadCorruptData when it held a corrupt value or was refused;
// decoding does not look at it. Nothing is read from a stream that has already failed.
KORVEXDASHBOARD_EXPORT QDataStream &operator>>(QDataStream &in, MessageStruct &message);

Q_DECLARE_METATYPE(SupplyInformation)
Q_DECLARE_METATYPE(MessageStruct)

namespace QVIPCMessage {

// The type code that makes `data` travel as the bare fields of a SupplyInformation.
inline constexpr char SupplyInformationCode[] = "17SupplyInformation";

// Big-endian, stream version 20 (Qt_6_0), no header. An empty result is an encoding failure.
KORVEXDASHBOARD_EXPORT QByteArray encode(const MessageStruct &message);

// Copies size bytes from data and reads one record. Returns false, leaving *message
// untouched, when the copy does not hold exactly size bytes (the message is dropped).
KORVEXDASHBOARD_EXPORT bool decode(const void *data, quint32 size, MessageStruct *message);

// Runs a request record on target through the meta-object system and returns the reply's
// value: a null variant for "v" or an unknown type code, else a variant of the code's type
// (its empty value when no method was called, a null target included).
KORVEXDASHBOARD_EXPORT QVariant invokeRequest(QObject *target, const MessageStruct &request);

// Registers SupplyInformation and MessageStruct with the meta-type system under their names.
// Runs by itself when the application object is created; calling it again does nothing.
KORVEXDASHBOARD_EXPORT void registerTypes();

} // namespace QVIPCMessage
