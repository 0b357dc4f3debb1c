#pragma once

#include <Controllers/dashboard_file_info_struct.h>

#include <QAbstractListModel>
#include <QList>
#include <QPointer>
#include <QStringList>
#include <QThreadPool>
#include <QtQml/qqmlregistration.h>

class DashboardCommonFileController;

// The displayed list of a file list controller as rows for the front end's views. A refresh
// takes the controller's list again and changes only the rows that differ: entries that came
// or went are inserted or removed, changed ones updated in place, so a view keeps its scroll
// position and current entry through live updates. A new order (another sort) resets the
// rows.
//
// A reload re-reads the controller's source. My Labels' folder is read and its records built
// on a worker thread (a big folder takes a while to list, stat and date); the controller then
// takes them on the GUI thread. A reload asked while a read runs is done once that read is in.
class FileListModel : public QAbstractListModel
{
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(DashboardCommonFileController *controller READ controller WRITE setController NOTIFY controllerChanged)
    // My Labels: the current folder's sub-folders go on top while no search is made.
    Q_PROPERTY(bool folderMode READ folderMode WRITE setFolderMode NOTIFY folderModeChanged)
    // Only the entries of this DashboardGlobal::LabelLocation (a cloud service); -1, the
    // default, shows every entry.
    Q_PROPERTY(int location READ location WRITE setLocation NOTIFY locationChanged)
    Q_PROPERTY(int count READ rowCount NOTIFY countChanged)
    // A folder read is under way.
    Q_PROPERTY(bool reading READ isReading NOTIFY readingChanged)

public:
    enum Role { EntryRole = Qt::UserRole + 1 };

    explicit FileListModel(QObject *parent = nullptr);
    ~FileListModel() override;

    DashboardCommonFileController *controller() const { return m_controller; }
    void setController(DashboardCommonFileController *controller);
    bool folderMode() const { return m_folderMode; }
    void setFolderMode(bool folderMode);
    int location() const { return m_location; }
    void setLocation(int location);
    bool isReading() const { return m_reading; }

    int rowCount(const QModelIndex &parent = QModelIndex()) const override;
    QVariant data(const QModelIndex &index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;

    // The entry of a row as the views see it, or an undefined value for a row that is not there.
    Q_INVOKABLE QVariant get(int row) const;
    // The row that shows the same file or folder as entry (ids change as rows come and go),
    // or -1.
    Q_INVOKABLE int rowOf(const QVariant &entry) const;
    Q_INVOKABLE void refresh();
    Q_INVOKABLE void reload();

Q_SIGNALS:
    void controllerChanged();
    void folderModeChanged();
    void locationChanged();
    void countChanged();
    void readingChanged();
    // A reload is done: the controller's lists are built again (the rows follow its
    // listSorted()).
    void reloaded();

private:
    void startRead();
    void setReading(bool reading);
    void replaceRows(const QList<DashboardFileInfoStruct> &rows);

    QPointer<DashboardCommonFileController> m_controller;
    bool m_folderMode = false;
    int m_location = -1;
    bool m_reading = false;
    bool m_readAgain = false;
    QList<DashboardFileInfoStruct> m_rows;
    QStringList m_keys; // what each row shows (folder, name, kind), in step with m_rows
    // Its own pool, so the destructor can wait for a read that is still running.
    QThreadPool m_pool;
};
