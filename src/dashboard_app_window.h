#pragma once

#include "korvexdashboard_export.h"
#include "platforms/native_window_backend.h"

#include <QImage>
#include <QPointer>
#include <QQuickItem>
#include <QString>

class QTimer;

// Shows a running module inside the dashboard: on completion it creates a native child window
// of the dashboard's window at the item's place, re-parents the module's window into it and
// keeps both sized to the item. When the module's window disappears it emits windowDestroyed()
// and deletes itself; the interface must drop it at that signal.
//
// On a desktop it also:
//  - is a stop of the window's focus chain that hands the keyboard to the module (a click into
//    the module does too), and takes it back when the user clicks the dashboard or leaves the
//    module with Ctrl+Tab or Ctrl+Shift+Tab;
//  - stands aside for the dashboard's own popups (menus, dialogs, lists): a native window
//    always covers the scene it sits on, so while one is open the module's window is hidden
//    and its last picture drawn in its place.
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
    // True while the module has the keyboard by the dashboard's hand.
    bool hasModuleKeyboard() const { return m_keyboardInModule; }
    // True while a popup of the dashboard is open and the module's picture stands in for it.
    bool isCovered() const { return m_covered; }

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
    void focusInEvent(QFocusEvent *event) override;
    void focusOutEvent(QFocusEvent *event) override;
    bool eventFilter(QObject *watched, QEvent *event) override;
    QSGNode *updatePaintNode(QSGNode *oldNode, UpdatePaintNodeData *data) override;
    // The module's window could not be taken into the dashboard (its window manager kept it);
    // called from the event loop after the item was made, while the window lives. The default
    // only logs; a front end that tells the user overrides it.
    virtual void embeddingFailedEvent();

private Q_SLOTS:
    void attachWindow();
    void resize();
    void checkWindowStatus();

private:
    bool isDashboardsOwnWindow(KorvexNative::WindowHandle window) const;
    void handleModuleFocus(KorvexNative::EmbeddedFocusEvent what);
    void giveModuleKeyboard(KorvexNative::EmbeddedFocus detail);
    void takeKeyboardBack();
    void watchPopups();
    void updateCovered();
    void setContainerShown(bool shown);
    void settlePicture();

    KorvexNative::WindowHandle m_containerWindow = 0;
    KorvexNative::WindowHandle m_moduleWindow = 0;
    qulonglong m_windowId = 0;
    QString m_windowTitle;
    QString m_applicationPath;
    QTimer *m_statusTimer = nullptr;
    KorvexNative::NativeWindowBackend *m_backend = nullptr;
    // What the interface asked for (show or hide), apart from standing aside for popups.
    bool m_shown = true;
    bool m_covered = false;
    bool m_keyboardInModule = false;
    bool m_watchingFocus = false;
    bool m_watchingEmbedding = false;
    QPointer<QQuickWindow> m_filteredWindow;
    // Qt Quick's layer of popups in the item's window, found once it exists.
    QPointer<QQuickItem> m_popupLayer;
    QImage m_snapshot;
    bool m_snapshotChanged = false;
};
