#include "widgetutils/file_controller_tools.h"

#include "widgetutils/ini_variant_scan.h"

#include "logging/cute_logger.h"

#include <QFile>
#include <QLoggingCategory>
#include <QSettings>
#include <QVariant>

#include <algorithm>
#include <vector>

Q_LOGGING_CATEGORY(lcWidgetUtils, "korvex.suite.widgetutils")

namespace {

const QString PATH_KEY = QStringLiteral("path");
const QString DATE_KEY = QStringLiteral("date");

// Another program may have written anything under these keys; only plain text counts.
QString textValue(const QVariant &value)
{
    return value.typeId() == QMetaType::QString ? value.toString() : QString();
}

} // namespace

const QString FileControllerTools::DATE_FORMAT = QStringLiteral("yyyy:MM:dd:hh:mm:ss:zzz");

QList<FileControllerTools::HistoryEntry> FileControllerTools::loadFileHistory(QSettings *settings,
                                                                              const QString &group)
{
    QList<HistoryEntry> entries;
    if (!settings)
        return entries;

    // Array index i is key i + 1; an index whose path is missing, not text or empty adds
    // nothing, so only the indexes below size that the store really holds matter.
    const auto visit = [&](int index) {
        settings->setArrayIndex(index);
        const QVariant path = settings->value(PATH_KEY);
        const QString text = textValue(path);
        if (!text.isEmpty())
            entries.append({ text, textValue(settings->value(DATE_KEY)) });
        return path.isValid();
    };

    const int size = qMax(settings->beginReadArray(group), 0);
    // Written histories are dense: reading index after index is cheapest. A store of another
    // program can claim any size, though, so after a run of indexes without a path the rest
    // are taken from the groups the store holds.
    entries.reserve(qMin(size, 1024));
    int next = 0;
    for (int misses = 0; next < size && misses < MAX_MISSED_INDEXES; ++next) {
        if (!visit(next))
            ++misses;
    }
    settings->endArray();

    if (next < size) {
        settings->beginGroup(group);
        const QStringList groups = settings->childGroups();
        settings->endGroup();
        std::vector<int> rest;
        for (const QString &name : groups) {
            bool ok = false;
            const int key = name.toInt(&ok);
            // Only the spelling setArrayIndex gives the key ("7", never "07" or "+7").
            if (ok && key > next && key <= size && name == QString::number(key))
                rest.push_back(key - 1);
        }
        std::sort(rest.begin(), rest.end());
        settings->beginReadArray(group);
        for (int index : rest)
            visit(index);
        settings->endArray();
    }

    if (settings->status() == QSettings::FormatError)
        KX_DEBUG(lcWidgetUtils, "Malformed history store %s",
                 qUtf8Printable(settings->fileName()));
    return entries;
}

void FileControllerTools::saveFileHistory(QSettings *settings, const QString &group,
                                          const QList<HistoryEntry> &entries)
{
    if (!settings)
        return;
    // A shorter array would leave the old tail behind.
    settings->remove(group);
    settings->beginWriteArray(group, int(entries.size()));
    for (int i = 0; i < entries.size(); ++i) {
        settings->setArrayIndex(i);
        settings->setValue(PATH_KEY, entries.at(i).first);
        settings->setValue(DATE_KEY, entries.at(i).second);
    }
    settings->endArray();
}

void FileControllerTools::recordFileView(QSettings *settings, const QString &group,
                                         const QString &filePath, const QDateTime &viewedAt,
                                         int maxEntries)
{
    if (!settings || filePath.isEmpty())
        return;
    QList<HistoryEntry> entries = loadFileHistory(settings, group);
    entries.removeIf([&](const HistoryEntry &e) { return e.first == filePath; });
    entries.prepend({ filePath, viewedAt.toString(DATE_FORMAT) });
    if (maxEntries > 0 && entries.size() > maxEntries)
        entries.resize(maxEntries);
    saveFileHistory(settings, group, entries);
}

bool FileControllerTools::isStoreSafe(const QString &fileName, int maxNesting)
{
    QFile file(fileName);
    if (!file.open(QIODevice::ReadOnly))
        return true; // QSettings cannot read it either

    const qint64 size = file.size();
    const uchar *mapped = size > 0 ? file.map(0, size) : nullptr;
    QByteArray read;
    if (!mapped)
        read = file.readAll();
    const QByteArrayView data = mapped
            ? QByteArrayView(reinterpret_cast<const char *>(mapped), qsizetype(size))
            : QByteArrayView(read);
    if (IniVariantScan::deepestNesting(data, maxNesting) > maxNesting) {
        KX_DEBUG(lcWidgetUtils, "Store %s holds a value nested too deeply to decode safely",
                 qUtf8Printable(fileName));
        return false;
    }
    return true;
}
