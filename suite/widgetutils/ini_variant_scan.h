#pragma once

#include <QByteArray>
#include <QByteArrayView>

// How deeply the values of an INI file that QSettings would decode from "@Variant(...)" and
// "@DateTime(...)" nest. The file is split into lines and values and unescaped as QSettings
// does it, so the payloads measured are the bytes QSettings hands to QDataStream.
namespace IniVariantScan {

// The deepest nesting of QVariant reads that any value of the file leads to, stopping as
// soon as it exceeds limit (then limit + 1 is returned). Where a payload holds a type whose
// encoding is not followed here inside a container, or one that can read variants itself,
// the rest of its bytes count as if they nested as deeply as they could (one level per four
// bytes, the smallest a nested QVariant takes).
int deepestNesting(QByteArrayView iniFile, int limit);

// The same for one payload (what follows "@Variant(" or "@DateTime(", including the final
// ")"), read with the QDataStream version QSettings uses for it.
int payloadNesting(const QByteArray &payload, bool dateTimeForm, int limit);

} // namespace IniVariantScan
