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
struct KORVEXDASHBOARD_EXPORT SupplyInformation
{
    // Field names belong to the printing library; here they are numbered in wire order.
    QString f01_string;
    // ... the implementation of the payload encoding completes this record.
    bool operator==(const SupplyInformation &other) const;
    bool operator!=(const SupplyInformation &other) const { return !(*this == other); }
};
KORVEXDASHBOARD_EXPORT QDataStream &operator<<(QDataStream &out, const SupplyInformation &info);
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
// Safe on any bytes: a block that is short, lies about its counts, nests too deeply or names a
// type this protocol does not carry ends where it breaks the rules; what was read stands and
// the rest keeps its defaults.
KORVEXDASHBOARD_EXPORT QDataStream &operator>>(QDataStream &in, MessageStruct &message);

Q_DECLARE_METATYPE(SupplyInformation)
Q_DECLARE_METATYPE(MessageStruct)

namespace QVIPCMessage {

// Big-endian, stream version 20 (Qt_6_0), no header. An empty result is an encoding failure.
KORVEXDASHBOARD_EXPORT QByteArray encode(const MessageStruct &message);

// Copies size bytes from data and reads one record. Returns false, leaving *message
// untouched, when the copy does not hold exactly size bytes (the message is dropped).
KORVEXDASHBOARD_EXPORT bool decode(const void *data, quint32 size, MessageStruct *message);

// Runs a request record on target through the meta-object system and returns the reply's
// value (a null variant for "v", an unknown type code or a null target).
KORVEXDASHBOARD_EXPORT QVariant invokeRequest(QObject *target, const MessageStruct &request);

} // namespace QVIPCMessage
