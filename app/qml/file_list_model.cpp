#include "file_list_model.h"

#include <Controllers/dashboard_common_file_controller.h>
#include <Controllers/my_labels_controller.h>

#include <QHash>
#include <QJSValue>

namespace {

// What a row shows, whatever its id: ids are places in the list and change as rows come and go.
QString keyOf(const DashboardFileInfoStruct &record)
{
    return QString::number(int(record.type)) + QLatin1Char('|') + QString::number(record.cloudEnum)
            + QLatin1Char('|') + record.fullPath();
}

QString keyOf(QVariant entry)
{
    if (entry.metaType() == QMetaType::fromType<QJSValue>())
        entry = entry.value<QJSValue>().toVariant();
    if (entry.metaType() == QMetaType::fromType<DashboardFileInfoStruct>())
        return keyOf(entry.value<DashboardFileInfoStruct>());
    const QVariantMap map = entry.toMap();
    if (map.isEmpty())
        return QString();
    DashboardFileInfoStruct record;
    record.type = map.value(QStringLiteral("type")).toBool();
    record.cloudEnum = map.value(QStringLiteral("cloudEnum"), record.cloudEnum).toInt();
    record.filePath = map.value(QStringLiteral("filePath")).toString();
    record.labelFileName = map.value(QStringLiteral("labelFileName")).toString();
    return keyOf(record);
}

// Row of each key, or an empty hash when a key shows twice (the rows are then replaced whole).
QHash<QString, int> rowsByKey(const QStringList &keys)
{
    QHash<QString, int> rows;
    rows.reserve(keys.size());
    for (int i = 0; i < keys.size(); ++i) {
        if (rows.contains(keys.at(i)))
            return {};
        rows.insert(keys.at(i), i);
    }
    return rows;
}

} // namespace

FileListModel::FileListModel(QObject *parent) : QAbstractListModel(parent)
{
    m_pool.setMaxThreadCount(1);
}

FileListModel::~FileListModel()
{
    // The read's answer is posted to this object; once it is gone, so is the answer.
    m_pool.waitForDone();
}

void FileListModel::setController(DashboardCommonFileController *controller)
{
    if (controller == m_controller)
        return;
    m_controller = controller;
    Q_EMIT controllerChanged();
}

void FileListModel::setFolderMode(bool folderMode)
{
    if (folderMode == m_folderMode)
        return;
    m_folderMode = folderMode;
    Q_EMIT folderModeChanged();
}

void FileListModel::setLocation(int location)
{
    if (location == m_location)
        return;
    m_location = location;
    Q_EMIT locationChanged();
    refresh();
}

int FileListModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : int(m_rows.size());
}

QVariant FileListModel::data(const QModelIndex &index, int role) const
{
    if (role != EntryRole || !checkIndex(index, CheckIndexOption::IndexIsValid | CheckIndexOption::ParentIsInvalid))
        return {};
    return QVariant::fromValue(m_rows.at(index.row()));
}

QHash<int, QByteArray> FileListModel::roleNames() const
{
    // The one role: the record, which delegates take as their entry.
    return { { EntryRole, QByteArrayLiteral("entry") } };
}

QVariant FileListModel::get(int row) const
{
    if (row < 0 || row >= m_rows.size())
        return {};
    return QVariant::fromValue(m_rows.at(row));
}

int FileListModel::rowOf(const QVariant &entry) const
{
    const QString key = keyOf(entry);
    return key.isEmpty() ? -1 : int(m_keys.indexOf(key));
}

void FileListModel::refresh()
{
    if (!m_controller) {
        replaceRows({});
        return;
    }
    auto *labels = qobject_cast<MyLabelsController *>(m_controller.data());
    if (m_folderMode && labels && labels->getSearchString().isEmpty())
        labels->prependFolders();
    QList<DashboardFileInfoStruct> rows = m_controller->getSearchedLabelFilesList();
    if (m_location >= 0)
        rows.removeIf([this](const DashboardFileInfoStruct &record) { return record.cloudEnum != m_location; });
    replaceRows(rows);
}

void FileListModel::reload()
{
    if (!m_controller)
        return;
    if (!qobject_cast<MyLabelsController *>(m_controller.data())) {
        // The other lists come from the view histories and favourites: short, read here.
        m_controller->updateFileLists();
        Q_EMIT reloaded();
        return;
    }
    if (m_reading) {
        m_readAgain = true;
        return;
    }
    startRead();
}

void FileListModel::startRead()
{
    auto *labels = qobject_cast<MyLabelsController *>(m_controller.data());
    Q_ASSERT(labels);
    setReading(true);
    m_readAgain = false;
    const QString folder = labels->getCurrentFolder();
    const DashboardCommonFileController::Clock clock = labels->clock();
    m_pool.start([this, folder, clock] {
        const MyLabelsController::FolderListing listing = MyLabelsController::readFolder(folder, clock);
        QMetaObject::invokeMethod(this, [this, listing] {
            auto *labels = qobject_cast<MyLabelsController *>(m_controller.data());
            // A listing of a folder the user has left since is of no use; the current one is
            // read instead.
            if (labels && !labels->updateFileLists(listing))
                m_readAgain = true;
            if (labels && m_readAgain) {
                startRead();
                return;
            }
            setReading(false);
            Q_EMIT reloaded();
        }, Qt::QueuedConnection);
    });
}

void FileListModel::setReading(bool reading)
{
    if (reading == m_reading)
        return;
    m_reading = reading;
    Q_EMIT readingChanged();
}

void FileListModel::replaceRows(const QList<DashboardFileInfoStruct> &rows)
{
    const int countBefore = int(m_rows.size());
    QStringList newKeys;
    newKeys.reserve(rows.size());
    for (const DashboardFileInfoStruct &record : rows)
        newKeys.append(keyOf(record));
    QStringList oldKeys = m_keys;
    m_keys = newKeys; // what the rows are once this is done, whichever way
    const QHash<QString, int> newRows = rowsByKey(newKeys);
    const QHash<QString, int> oldRows = rowsByKey(oldKeys);

    // Rows that stay must keep their order for the change to be told row by row.
    bool inOrder = newRows.size() == newKeys.size() && oldRows.size() == oldKeys.size();
    for (int i = 0, last = -1; inOrder && i < oldKeys.size(); ++i) {
        const auto found = newRows.constFind(oldKeys.at(i));
        if (found == newRows.cend())
            continue;
        inOrder = *found > last;
        last = *found;
    }
    if (!inOrder) {
        beginResetModel();
        m_rows = rows;
        endResetModel();
        if (countBefore != m_rows.size())
            Q_EMIT countChanged();
        return;
    }

    // The rows that went, last first so the places of the others hold.
    for (int i = int(oldKeys.size()) - 1; i >= 0;) {
        if (newRows.contains(oldKeys.at(i))) {
            --i;
            continue;
        }
        const int last = i;
        while (i >= 0 && !newRows.contains(oldKeys.at(i)))
            --i;
        beginRemoveRows(QModelIndex(), i + 1, last);
        m_rows.remove(i + 1, last - i);
        oldKeys.remove(i + 1, last - i);
        endRemoveRows();
    }
    // What is left is the rows that stay, in the new order: new ones go in between.
    QList<int> changed;
    for (int i = 0; i < rows.size();) {
        if (i < oldKeys.size() && oldKeys.at(i) == newKeys.at(i)) {
            if (m_rows.at(i) != rows.at(i)) {
                m_rows[i] = rows.at(i);
                changed.append(i);
            }
            ++i;
            continue;
        }
        int end = i;
        while (end < rows.size() && !oldRows.contains(newKeys.at(end)))
            ++end;
        if (end == i) {
            // Not reached while the rows that stay keep their order; if it ever is, the rows
            // are replaced whole rather than told wrongly.
            beginResetModel();
            m_rows = rows;
            endResetModel();
            changed.clear();
            break;
        }
        beginInsertRows(QModelIndex(), i, end - 1);
        m_rows.insert(i, end - i, DashboardFileInfoStruct());
        std::copy(rows.cbegin() + i, rows.cbegin() + end, m_rows.begin() + i);
        oldKeys.insert(i, end - i, QString());
        std::copy(newKeys.cbegin() + i, newKeys.cbegin() + end, oldKeys.begin() + i);
        endInsertRows();
        i = end;
    }
    for (int i = 0; i < changed.size();) {
        int end = i;
        while (end + 1 < changed.size() && changed.at(end + 1) == changed.at(end) + 1)
            ++end;
        Q_EMIT dataChanged(index(changed.at(i)), index(changed.at(end)), { EntryRole });
        i = end + 1;
    }
    if (countBefore != m_rows.size())
        Q_EMIT countChanged();
}
