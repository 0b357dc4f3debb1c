#include "widgetutils/file_controller_tools.h"

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

bool FileControllerTools::isStoreSafe(const QString &fileName, qsizetype maxValueLength)
{
    QFile file(fileName);
    if (!file.open(QIODevice::ReadOnly))
        return true; // QSettings cannot read it either

    // One pass over the raw bytes. A logical line ends at a line break that no backslash
    // continues; its value is what follows the first "=".
    bool inValue = false;
    bool risky = false;
    bool escaped = false;      // the previous byte was an unescaped backslash
    bool continuedCr = false;  // a backslash-CR continuation, whose LF belongs to it
    qsizetype valueLength = 0;
    char buffer[64 * 1024];
    qint64 got;
    while ((got = file.read(buffer, sizeof buffer)) > 0) {
        for (qint64 i = 0; i < got; ++i) {
            const char c = buffer[i];
            if (continuedCr && c == '\n') {
                continuedCr = false;
                continue;
            }
            continuedCr = false;
            if (c == '\n' || c == '\r') {
                if (escaped) {
                    escaped = false;
                    continuedCr = c == '\r';
                    continue;
                }
                inValue = false;
                risky = false;
                valueLength = 0;
                continue;
            }
            escaped = !escaped && c == '\\';
            if (!inValue) {
                inValue = c == '=';
                continue;
            }
            ++valueLength;
            risky = risky || c == '@' || c == '\\';
            if (risky && valueLength > maxValueLength) {
                KX_DEBUG(lcWidgetUtils, "Store %s holds a value too large to decode safely",
                         qUtf8Printable(fileName));
                return false;
            }
        }
    }
    return true;
}
