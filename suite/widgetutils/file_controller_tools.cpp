#include "widgetutils/file_controller_tools.h"

#include "widgetutils/ini_variant_scan.h"

#include "logging/cute_logger.h"

#include <QFile>
#include <QLoggingCategory>
#include <QSettings>
#include <QVariant>

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

    settings->beginGroup(group);
    // A store of another program can claim any size; only indexes that exist are visited.
    const qsizetype present = settings->childGroups().size();
    settings->endGroup();

    const int size = settings->beginReadArray(group);
    const int count = int(qMin<qsizetype>(qMax(size, 0), present));
    entries.reserve(count);
    for (int i = 0; i < count; ++i) {
        settings->setArrayIndex(i);
        const QString path = textValue(settings->value(PATH_KEY));
        if (path.isEmpty())
            continue;
        entries.append({ path, textValue(settings->value(DATE_KEY)) });
    }
    settings->endArray();

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
