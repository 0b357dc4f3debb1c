#pragma once

#include "korvexsuite_export.h"

#include <QDateTime>
#include <QList>
#include <QString>

#include <utility>

class QSettings;

// The view history that every module keeps in its own settings store, and that the dashboard
// merges into its Recently viewed list. A history is a QSettings array inside its group:
//
//   [fileHistory]
//   size=2
//   1\path=/home/u/labels/plan.kxld
//   1\date=2024:03:15:10:00:00:000
//   2\path=C:/Users/Public/Documents/sign.kxpm
//   2\date=2024:03:14:09:30:00:000
//
// Paths are values, never keys, so their "/" survive on every platform, and the array index
// keeps the order in which the module wrote them (most recent first for recordFileView).
class KORVEXSUITE_EXPORT FileControllerTools
{
public:
    using HistoryEntry = std::pair<QString, QString>; // full file path, date text

    // Text form of a view date in a history.
    static const QString DATE_FORMAT; // "yyyy:MM:dd:hh:mm:ss:zzz"

    // The (full path, date text) pairs of group, in stored order: every index below the
    // array's size that has a path. Entries without a path are left out; a missing group
    // gives an empty list. The settings object's current group is left as it was.
    static QList<HistoryEntry> loadFileHistory(QSettings *settings, const QString &group);

    // Replaces the history in group with entries, in that order.
    static void saveFileHistory(QSettings *settings, const QString &group,
                                const QList<HistoryEntry> &entries);

    // What a module does when it opens a label: the path moves to the front of its history
    // with the given view time; an older entry for the same path is dropped. maxEntries > 0
    // caps the history, dropping the oldest entries.
    static void recordFileView(QSettings *settings, const QString &group, const QString &filePath,
                               const QDateTime &viewedAt, int maxEntries = 0);

    // Indexes without a path that loadFileHistory reads one by one before it asks the store
    // which indexes it holds.
    static constexpr int MAX_MISSED_INDEXES = 64;

    // Deepest nesting of variants a store may hold: each level costs Qt's reader a few hundred
    // bytes of stack, so this stays far below what a 1 MiB main-thread stack can take.
    static constexpr int MAX_VARIANT_NESTING = 512;

    // Whether QSettings can open the INI file fileName without risk. QSettings decodes
    // "@Variant(...)" and "@DateTime(...)" values with QDataStream, which follows variants
    // nested in variants and in their lists and maps without limit: a few thousand levels in
    // any section of another program's store overflow the stack as soon as that section is
    // parsed (and every section is parsed when the store is written). The file is unsafe when
    // a value, unescaped as QSettings unescapes it, nests deeper than maxNesting; large
    // values of any other kind (a window state's @ByteArray, long texts, long flat variant
    // lists) are safe. A missing file is safe.
    static bool isStoreSafe(const QString &fileName, int maxNesting = MAX_VARIANT_NESTING);
};
