#pragma once

#include <dashboard_global.h>

#include <QAbstractListModel>
#include <QElapsedTimer>
#include <QList>
#include <QPointer>
#include <QHash>
#include <QString>
#include <QStringList>
#include <QTimer>
#include <QVariantMap>
#include <QtQml/qqmlregistration.h>

#include <functional>

class DashboardAppWindow;
class DashboardMainWindow;
class LauncherController;
class QQuickItem;
class QVIPCHelper_win32;

// The one owner of the running modules: every module process the launcher starts is a row,
// from its start until its process ends or its window is gone, with its type, label file,
// process, window and state. Ready reports are matched to rows by process id. The front end
// binds to it as a list model (the side bar, the module bar) and makes the embedded window
// item of a row when windowReady() asks; the registry then shows, hides and closes it.
//
// It also runs the shut-down: quitting asks every module to close, waits for them a bounded
// time, then either quits or names the modules still open and lets the user choose.
class ModuleRegistry : public QAbstractListModel
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("The host owns the running modules.")
    Q_PROPERTY(int count READ rowCount NOTIFY countChanged)
    // A number QML knows: process ids fit a double exactly.
    Q_PROPERTY(double shownProcess READ shownProcessNumber NOTIFY shownChanged)
    Q_PROPERTY(int shownAppType READ shownAppType NOTIFY shownChanged)
    Q_PROPERTY(QString shownFileName READ shownFileName NOTIFY shownChanged)
    // appType -> true, for the side bar's busy and running marks.
    Q_PROPERTY(QVariantMap startingTypes READ startingTypes NOTIFY countChanged)
    Q_PROPERTY(QVariantMap runningTypes READ runningTypes NOTIFY countChanged)
    Q_PROPERTY(bool quitting READ isQuitting NOTIFY quitStateChanged)
    // The modules still open once the wait is over; empty while waiting.
    Q_PROPERTY(QStringList stillOpen READ stillOpen NOTIFY quitStateChanged)
    Q_PROPERTY(int quitWait READ quitWait CONSTANT)
    // On a desktop the dashboard cannot embed windows in (a Wayland session without X), modules
    // show their own windows: they run from their start, with no window to wait for.
    Q_PROPERTY(bool modulesInOwnWindows READ modulesInOwnWindows NOTIFY modulesInOwnWindowsChanged)

public:
    enum State { Starting, Running, Closing };
    Q_ENUM(State)
    enum Role {
        AppTypeRole = Qt::UserRole + 1,
        NameRole,
        FilePathRole,
        FileNameRole,
        ProcessIdRole,
        WindowIdRole,
        StateRole,
        ShownRole,
    };

    // How long quitting waits for the modules to close before asking the user, in ms. A
    // module asking about unsaved changes waits for its user; this is how long the dashboard
    // waits before saying so.
    static constexpr int DEFAULT_QUIT_WAIT = 5000;
    // How long a started module has to report its window, in ms.
    static constexpr int DEFAULT_START_TIMEOUT = 20000;

    ModuleRegistry(LauncherController *launcher, QVIPCHelper_win32 *messaging,
                   QObject *parent = nullptr);
    ~ModuleRegistry() override;
    // Takes ready reports from the main window's applicationReady (which re-emits the
    // messaging helper's) instead of the helper's: the front end's own path.
    void takeReadyReportsFrom(DashboardMainWindow *window);

    int rowCount(const QModelIndex &parent = QModelIndex()) const override;
    QVariant data(const QModelIndex &index, int role = Qt::DisplayRole) const override;
    QHash<int, QByteArray> roleNames() const override;

    qint64 shownProcess() const { return m_shown; }
    double shownProcessNumber() const { return double(m_shown); }
    int shownAppType() const;
    QString shownFileName() const;
    QVariantMap startingTypes() const;
    QVariantMap runningTypes() const;
    bool isQuitting() const { return m_quitting; }
    // quitReady() was emitted: the dashboard is ending.
    bool isQuitDone() const { return m_quitDone; }
    QStringList stillOpen() const { return m_stillOpen; }
    int quitWait() const { return m_quitWait; }
    void setQuitWait(int milliseconds) { m_quitWait = milliseconds; }
    void setStartTimeout(int milliseconds) { m_startTimeout = milliseconds; }
    bool modulesInOwnWindows() const { return m_ownWindows; }
    void setModulesInOwnWindows(bool ownWindows);
    // Module processes started and not ended, with or without a row.
    QList<qint64> liveProcesses() const { return m_live.keys(); }

    // The names modules are shown by, appType -> name, in the user's language.
    Q_INVOKABLE void setDisplayNames(const QVariantMap &names);
    Q_INVOKABLE QString displayName(int appType) const;

    // Opens a module, with a label file or none. A module already running (or starting) for
    // that file, or for no file when none is given, is shown instead of starting another.
    // Returns the module's process id; 0 when nothing could be started (startFailed() says
    // why).
    Q_INVOKABLE qint64 open(int appType, const QString &filePath = QString());
    // Opens printer maintenance for that printer (a firmware update), as open() does; one
    // already running is shown as it is.
    Q_INVOKABLE qint64 openPrinterMaintenance(const QString &printerName);
    // Shows that module over the pages; showPages() shows the pages.
    Q_INVOKABLE void show(qint64 processId);
    Q_INVOKABLE void showPages();
    // Asks that module to close (WM_CLOSE to its window); it decides.
    Q_INVOKABLE void close(qint64 processId);
    // The front end made the window item for a windowReady() row.
    Q_INVOKABLE void attachWindow(qint64 processId, QQuickItem *item);
    // The first module of that type, 0 when none.
    Q_INVOKABLE qint64 firstOfType(int appType) const;

    // Quitting: asks every module to close and waits; quitReady() when they are all gone, or
    // stillOpen is set when the wait is over. cancelQuit() goes back; quitLeavingModules()
    // quits and leaves the modules still open running on their own.
    Q_INVOKABLE void requestQuit();
    Q_INVOKABLE void cancelQuit();
    Q_INVOKABLE void quitLeavingModules();

Q_SIGNALS:
    void countChanged();
    void shownChanged();
    void quitStateChanged();
    void modulesInOwnWindowsChanged();
    // A module reported its window: the front end makes its window item and attaches it.
    void windowReady(qint64 processId, qulonglong windowId, const QString &name, int appType);
    // A module could not be started or did not show its window in time.
    void startFailed(const QString &message);
    // A module ended without being asked to.
    void moduleStopped(const QString &name, int appType, const QString &filePath);
    // Every module asked to close is gone, or the user chose to leave them: the dashboard may
    // end now.
    void quitReady();

private:
    struct Instance
    {
        DashboardGlobal::ApplicationType appType = DashboardGlobal::APP_NULL;
        QString filePath;
        QString reportedName;
        qint64 processId = 0;
        qulonglong windowId = 0;
        State state = Starting;
        QPointer<DashboardAppWindow> item;
        QElapsedTimer since;
    };

    int rowOf(qint64 processId) const;
    int rowOfFile(DashboardGlobal::ApplicationType appType, const QString &filePath) const;
    QString nameOf(const Instance &instance) const;
    void changed(int row);
    void removeRow(int row);
    void onStarting(qint64 processId, DashboardGlobal::ApplicationType appType, const QString &filePath);
    void onFinished(qint64 processId, int exitCode, bool crashed);
    void onReady(int windowId, int processId, const QString &applicationName);
    void onWindowGone(DashboardAppWindow *item);
    void checkStarting();
    void askToClose(Instance &instance);
    void checkQuitDone();
    void onQuitWaitOver();
    void setShown(qint64 processId);
    // Logs the message and emits startFailed() with it.
    qint64 start(int appType, const QString &filePath, const std::function<void()> &launch);
    void reportStartFailure(const QString &message);

    QPointer<LauncherController> m_launcher;
    QPointer<QVIPCHelper_win32> m_messaging;
    QList<Instance> m_instances;
    // Module processes started and not ended -> their type.
    QHash<qint64, DashboardGlobal::ApplicationType> m_live;
    QVariantMap m_names;
    qint64 m_shown = 0;
    bool m_quitting = false;
    bool m_quitDone = false;
    QStringList m_stillOpen;
    int m_quitWait = DEFAULT_QUIT_WAIT;
    int m_startTimeout = DEFAULT_START_TIMEOUT;
    bool m_ownWindows = false;
    QTimer m_quitTimer;
    QTimer m_startWatch;
};
