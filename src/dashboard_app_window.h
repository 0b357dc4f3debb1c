#pragma once

#include "korvexdashboard_export.h"
#include "platforms/native_window_backend.h"

#include <QQuickItem>
#include <QString>

class QTimer;

// Shows a running module inside the dashboard: on completion it creates a native child window
// of the dashboard's window at the item's place, re-parents the module's window into it and
// keeps both sized to the item. When the module's window disappears it emits windowDestroyed()
// and deletes itself; the interface must drop it at that signal.
class KORVEXDASHBOARD_EXPORT DashboardAppWindow : public QQuickItem
{
    Q_OBJECT
    Q_PROPERTY(qulonglong windowId READ windowId WRITE setWindowId NOTIFY windowIdChanged)
    Q_PROPERTY(QString windowTitle READ windowTitle WRITE setWindowTitle NOTIFY windowTitleChanged)
    Q_PROPERTY(QString applicationPath READ applicationPath WRITE setApplicationPath
                       NOTIFY applicationPathChanged)

public:
    // How often the module's window is looked for, in milliseconds.
    static constexpr int STATUS_INTERVAL = 240;

    // The native window system is the process's (NativeWindowSystem::backend()) at construction.
    explicit DashboardAppWindow(QQuickItem *parent = nullptr);
    ~DashboardAppWindow() override;

    qulonglong windowId() const { return m_windowId; }
    void setWindowId(qulonglong windowId);
    QString windowTitle() const { return m_windowTitle; }
    void setWindowTitle(const QString &windowTitle);
    QString applicationPath() const { return m_applicationPath; }
    void setApplicationPath(const QString &applicationPath);

    // The "STATIC" child window that holds the module's window, and the module's window.
    KorvexNative::WindowHandle containerWindow() const { return m_containerWindow; }
    KorvexNative::WindowHandle moduleWindow() const { return m_moduleWindow; }
    bool isWatching() const;

    // Creates the container window; returns its handle, or 0 without a Qt window.
    KorvexNative::WindowHandle createNativeWindow();

Q_SIGNALS:
    void windowIdChanged();
    void windowTitleChanged();
    void applicationPathChanged();
    void windowDestroyed();

public Q_SLOTS:
    void hideApplication();
    void showApplication();
    void closeApplication();

protected:
    void componentComplete() override;

private Q_SLOTS:
    void attachWindow();
    void resize();
    void checkWindowStatus();

private:
    KorvexNative::WindowHandle m_containerWindow = 0;
    KorvexNative::WindowHandle m_moduleWindow = 0;
    qulonglong m_windowId = 0;
    QString m_windowTitle;
    QString m_applicationPath;
    QTimer *m_statusTimer = nullptr;
    KorvexNative::NativeWindowBackend *m_backend = nullptr;
};
