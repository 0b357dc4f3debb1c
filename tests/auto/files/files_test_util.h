#pragma once

// Shared set-up of the label file list tests: real folders, real INI stores in Qt's test
// locations.

#include "Controllers/dashboard_common_file_controller.h"
#include "dashboard_settings.h"
#include "widgetutils/file_controller_tools.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSettings>
#include <QStandardPaths>
#include <QString>
#include <QStringList>

#include <utility>

namespace FilesTest {

inline const QStringList &storeNames()
{
    static const QStringList names = { "KorvexPro", "QVLabelEditor", "PipeMarking",
                                       "ArcFlashMain", "GHS", "NFPAMain" };
    return names;
}

inline QString storeFile(const QString &app)
{
    return DashboardSettings::openStore(app)->fileName();
}

inline QString storeFolder()
{
    return QFileInfo(storeFile(QStringLiteral("KorvexPro"))).absolutePath();
}

// Every test starts without stores.
inline bool removeStores()
{
    QDir dir(storeFolder());
    return !dir.exists() || dir.removeRecursively();
}

inline QString historyText(const QDateTime &when)
{
    return when.toString(FileControllerTools::DATE_FORMAT);
}

// Records a view the way a module does.
inline void recordView(const QString &app, const QString &path, const QDateTime &when)
{
    auto store = DashboardSettings::openStore(app);
    FileControllerTools::recordFileView(store.get(), QStringLiteral("fileHistory"), path, when);
}

inline void writeHistory(const QString &app, const QList<std::pair<QString, QString>> &entries)
{
    auto store = DashboardSettings::openStore(app);
    FileControllerTools::saveFileHistory(store.get(), QStringLiteral("fileHistory"), entries);
}

inline QStringList favoriteKeysOnDisk()
{
    auto store = DashboardSettings::openDashboardStore();
    store->beginGroup(QStringLiteral("favorites"));
    return store->allKeys();
}

inline void writeCloudFavorites(const QStringList &keys)
{
    auto store = DashboardSettings::openDashboardStore();
    store->beginGroup(QStringLiteral("cloudFavorites"));
    for (const QString &k : keys)
        store->setValue(k, true);
}

inline QStringList cloudKeysOnDisk()
{
    auto store = DashboardSettings::openDashboardStore();
    store->beginGroup(QStringLiteral("cloudFavorites"));
    return store->allKeys();
}

inline bool makeFile(const QString &path, const QByteArray &content = "label",
                     const QDateTime &modified = QDateTime())
{
    QDir().mkpath(QFileInfo(path).absolutePath());
    QFile f(path);
    if (!f.open(QIODevice::WriteOnly))
        return false;
    f.write(content);
    f.flush();
    if (modified.isValid() && !f.setFileTime(modified, QFileDevice::FileModificationTime))
        return false;
    return true;
}

inline QStringList names(const QList<DashboardFileInfoStruct> &list)
{
    QStringList out;
    for (const auto &r : list)
        out << r.labelFileName;
    return out;
}

inline QList<int> ids(const QList<DashboardFileInfoStruct> &list)
{
    QList<int> out;
    for (const auto &r : list)
        out << r.id;
    return out;
}

inline const DashboardFileInfoStruct *findByName(const QList<DashboardFileInfoStruct> &list,
                                                 const QString &name)
{
    for (const auto &r : list)
        if (r.labelFileName == name)
            return &r;
    return nullptr;
}

} // namespace FilesTest

#include "Controllers/my_labels_controller.h"

// My Labels with its platform root in a temporary folder.
class TestableMyLabels : public MyLabelsController
{
public:
    explicit TestableMyLabels(const QString &platformRoot) : MyLabelsController(platformRoot) {}
    QList<DashboardFileInfoStruct> fullList() const { return m_labelFilesList; }
    QString rootFolder() const { return m_rootFolder; }
};

namespace FilesTest {

// A value that QSettings decodes into lists nested `levels` deep: deep enough, it overflows
// the stack of whoever parses its section.
inline QByteArray nestedVariantValue(int levels)
{
    QByteArray value = "@Variant(";
    for (int i = 0; i < levels; ++i)
        value += "\\0\\0\\0\\t\\0\\0\\0\\x1"; // a QVariantList of one element
    value += "\\0\\0\\0\\x2\\0\\0\\0\\x1)"; // the int 1
    return value;
}

} // namespace FilesTest
