#pragma once

// What the store scanner must hold on any file: its figure does not depend on the limit
// below it, and QSettings, where it reads the file safely, never decodes a value nested
// deeper than the figure says. Shared by the libFuzzer target and the test that replays its
// corpus and findings.

#include "widgetutils/ini_variant_scan.h"

#include <QByteArrayView>
#include <QDir>
#include <QFile>
#include <QSettings>
#include <QString>
#include <QVariant>

#include <algorithm>
#include <cstddef>
#include <new>

namespace iniscancheck {

// Low enough that QSettings' own reading of a file within it stays well inside the stack.
constexpr int Limit = 24;
// QSettings reads files this large in the check; the scanner takes any size.
constexpr std::size_t MaxSettingsFile = 4096;

inline int depthOf(const QVariant &value)
{
    int inner = 0;
    switch (value.metaType().id()) {
    case QMetaType::QVariantList:
        for (const QVariant &v : value.toList())
            inner = std::max(inner, depthOf(v));
        break;
    case QMetaType::QVariantMap:
        for (const QVariant &v : value.toMap())
            inner = std::max(inner, depthOf(v));
        break;
    case QMetaType::QVariantHash:
        for (const QVariant &v : value.toHash())
            inner = std::max(inner, depthOf(v));
        break;
    default:
        break;
    }
    return 1 + inner;
}

// nullptr when every property holds, else what broke. scratch: a writable folder;
// withSettings: whether QSettings reads the file too.
inline const char *check(const char *data, std::size_t size, const QString &scratch,
                         bool withSettings = true)
{
    const QByteArrayView file(data, qsizetype(size));
    const int figure = IniVariantScan::deepestNesting(file, Limit);
    if (figure < 0 || figure > Limit + 1)
        return "the figure is outside 0 .. limit + 1";
    if (IniVariantScan::deepestNesting(file, Limit) != figure)
        return "the figure changed between two scans";
    const int wider = IniVariantScan::deepestNesting(file, 2 * Limit);
    if (figure <= Limit ? wider != figure : wider <= Limit)
        return "the figure depends on the limit above it";
    const int narrow = IniVariantScan::deepestNesting(file, 2);
    if (narrow != std::min(figure, 3))
        return "the figure under a low limit is not the figure cut at limit + 1";

    if (!withSettings || figure > Limit || size > MaxSettingsFile)
        return nullptr;
    // A new name each time: QSettings keeps what it parsed of a file by name, and a file
    // rewritten with the same size within the clock's resolution would be read from there.
    static quint64 serial = 0;
    const QString path = QDir(scratch).filePath(QStringLiteral("store-%1.ini").arg(++serial));
    {
        QFile out(path);
        if (!out.open(QIODevice::WriteOnly | QIODevice::Truncate))
            return nullptr;
        out.write(data, qint64(size));
    }
    int deepest = 0;
    try {
        QSettings settings(path, QSettings::IniFormat);
        for (const QString &key : settings.allKeys())
            deepest = std::max(deepest, depthOf(settings.value(key)));
    } catch (const std::bad_alloc &) {
        // A count QSettings reserves from: not a file QSettings reads safely.
        deepest = -1;
    }
    QFile::remove(path);
    // Two levels here are no QVariant read: the list QSettings makes of comma-separated
    // elements, and a value at its bottom that was plain text (the scan counts none for it).
    if (deepest >= 0 && deepest > figure + 2)
        return "QSettings decoded a value nested deeper than the scanner's figure";
    return nullptr;
}

} // namespace iniscancheck
