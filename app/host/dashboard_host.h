#pragma once

#include "accessible_items.h"

#include <QObject>
#include <QPointer>
#include <QQuickItem>
#include <QString>
#include <QStringList>
#include <QUrl>

#include <memory>

class DashboardMainWindow;
class HostServices;
class ModuleRegistry;
class QuitSignals;
class LaunchForwarding;
class QQmlEngine;

class QThread;
class QTranslator;

// Starts the dashboard: the translations of the user's language, the main window, the QML
// engine with the front end placed in the window's content item, and the host's services.
// The dashboard library's classes reach QML through the front end's QML module.
class DashboardHost : public QObject
{
    Q_OBJECT

public:
    struct Options
    {
        // The label folder; empty for LabelFolder::defaultPath().
        QString labelFolder;
        // Create the folder with sample labels when it does not exist yet.
        bool seedLabelFolder = true;
        // Modules are started with their test-mode flag.
        bool testMode = false;
        // Show the window once the front end is loaded.
        bool show = true;
        // SIGTERM, SIGINT and SIGHUP quit as the menu does (the program's own host only).
        bool quitOnSignals = false;
        // Label files to open in their modules once the front end is in.
        QStringList files;
        // One dashboard per user: a dashboard already running gets the files and comes to the
        // front, and this one does not start (handedOver()).
        bool singleInstance = false;
        // The front end's root document; empty for the one compiled into the host.
        QUrl frontEnd;
    };

    // How long a second launch waits for a running dashboard (perhaps still starting) to
    // take its files.
    static constexpr int HAND_OVER_TIMEOUT_MS = 30000;

    explicit DashboardHost(QObject *parent = nullptr);
    ~DashboardHost() override;

    // Shows the window with its shell (StartShell) at once and makes the QML engine and the
    // front end once that frame is out (at once, when the window is not shown); ready() or
    // failed() tells the outcome. False when the front end was to be made at once and could
    // not be; errors() tells why.
    bool start(const Options &options);
    // True once the front end is in the window.
    bool isReady() const { return !m_root.isNull(); }
    // start() found a dashboard running and handed it the files: this one has nothing to do.
    bool handedOver() const { return m_handedOver; }

    // Opens label files in their modules (once the front end is in) and brings the window to
    // the front; what a later launch with files asks for.
    void openFiles(const QStringList &files);

    DashboardMainWindow *window() const { return m_window.get(); }
    // Both null until the front end is made.
    QQmlEngine *engine() const { return m_engine.get(); }
    QQuickItem *rootItem() const { return m_root; }
    HostServices *services() const { return m_services; }
    // The running modules; made with the window.
    ModuleRegistry *modules() const { return m_modules; }

    // Quits the way the user asked for it: the running modules are asked to close first,
    // and the user chooses when one stays open. The event loop is told to quit once the
    // modules are gone. Every way of quitting comes here: the menu and Ctrl+Q (the engine's
    // quit), the window's close button, and SIGTERM, SIGINT and SIGHUP.
    void requestQuit();
    QString labelFolder() const { return m_labelFolder; }
    QStringList errors() const { return m_errors; }

    // Where making the front end took its time, in milliseconds: the QML engine (0 when it
    // was made before, for a screen reader), loading the front end's types, and making its
    // objects. Negative until the front end is made.
    struct FrontEndTimes
    {
        double engine = -1;
        double types = -1;
        double objects = -1;
    };
    FrontEndTimes frontEndTimes() const { return m_frontEndTimes; }

    // Installs the dashboard's and the front end's translations for a locale code ("de_DE"),
    // makes it the default locale and re-translates the loaded interface.
    void applyLanguage(const QString &code);

Q_SIGNALS:
    // The front end is in the window: rootItem() is set.
    void ready();
    // The front end could not be made after start() returned; errors() tells why.
    void failed();

protected:
    bool eventFilter(QObject *object, QEvent *event) override;

private:
    bool makeFrontEnd(const QUrl &document);
    void makeEngine();
    void removeTranslators();
    void warmUpFonts();
    void releasePrinters();

    // Makes the engine at once when accessibility comes on while the shell shows.
    class AccessibilityWatch;
    std::unique_ptr<AccessibilityWatch> m_accessibilityWatch;
    // Before any item of the front end is read, so that none keeps Qt's interface instead.
    AccessibleItems::Installation m_accessibleItems;
    std::unique_ptr<QQmlEngine> m_engine;
    std::unique_ptr<DashboardMainWindow> m_window;
    QPointer<QQuickItem> m_root;
    QPointer<QQuickItem> m_shell;
    HostServices *m_services = nullptr;
    ModuleRegistry *m_modules = nullptr;
    QuitSignals *m_quitSignals = nullptr;
    LaunchForwarding *m_forwarding = nullptr;
    bool m_handedOver = false;
    QStringList m_filesToOpen;
    QString m_labelFolder;
    QStringList m_errors;
    QList<QTranslator *> m_translators;
    FrontEndTimes m_frontEndTimes;
    QThread *m_fontWarmUp = nullptr;
    // The machine's printers are read once the front end's first frame is out.
    bool m_printersHeld = false;
};
