#pragma once

#include "dashboard_global.h"
#include "korvexdashboard_export.h"
#include "platforms/native_window_backend.h"

#include <QPointer>
#include <QQuickWindow>
#include <QRect>

class LauncherController;
class PrinterLatestVersions;
class PrinterStatusController;
class QVIPCHelper_win32;
class QScreen;

// The dashboard's top-level window, built by the host. It owns the launcher, the printer status
// controller and the module messaging helper, persists its geometry, publishes its native id,
// pixel ratio, state and activation to QML, and hands every native message to the helper.
class KORVEXDASHBOARD_EXPORT DashboardMainWindow : public QQuickWindow
{
    Q_OBJECT
    // getPrinterStatusController hands QML a controller: the meta-object needs its full type.
    Q_MOC_INCLUDE("printing/printer_status_controller.h")
    Q_PROPERTY(uint windowId READ windowId NOTIFY windowIdChanged)
    Q_PROPERTY(double dpiScale READ dpiScale NOTIFY dpiScaleChanged)
    Q_PROPERTY(int windowState READ windowStateValue NOTIFY windowStateChanged)
    Q_PROPERTY(bool isActive READ isActive NOTIFY isActiveChanged)
    Q_PROPERTY(bool isPrinterUpdateAvailable READ isPrinterUpdateAvailable
                       NOTIFY isPrinterUpdateAvailableChanged)
    Q_PROPERTY(uint windowTitlebarHeight READ windowTitlebarHeight CONSTANT)

public:
    // backend: the native window system the messaging helper talks through; the process's
    // when null.
    explicit DashboardMainWindow(QWindow *parent = nullptr,
                                 KorvexNative::NativeWindowBackend *backend = nullptr);
    ~DashboardMainWindow() override;

    uint windowId() const { return m_windowId; }
    double dpiScale() const { return m_dpiScale; }
    int windowStateValue() const { return m_windowState; }
    bool isActive() const { return m_isActive; }
    bool isPrinterUpdateAvailable() const { return m_isPrinterUpdateAvailable; }
    // The printers the last firmware check found behind their latest firmware, by name, in
    // the print system's order; empty whenever isPrinterUpdateAvailable is false.
    QStringList printersWithNewerFirmware() const { return m_printersWithNewerFirmware; }
    uint windowTitlebarHeight() const { return m_windowTitlebarHeight; }
    QRect normalGeometry() const { return m_normalGeometry; }

    Q_INVOKABLE PrinterStatusController *getPrinterStatusController() const;

    // The objects this window built, for the host and for tests.
    LauncherController *launcher() const { return m_launcher; }
    QVIPCHelper_win32 *messagingHelper() const { return m_messagingHelper; }
    PrinterLatestVersions *printerVersions() const { return m_printerVersions; }

Q_SIGNALS:
    void windowIdChanged(uint windowId);
    void dpiScaleChanged(double dpiScale);
    void windowStateChanged(int windowState);
    void isActiveChanged(bool isActive);
    void isPrinterUpdateAvailableChanged(bool isPrinterUpdateAvailable);
    void applicationReady(int appWId, int appProcessId, QString appName);
    void applicationFocused(bool hasFocus, uint windowId);

public Q_SLOTS:
    void launchApplication(DashboardGlobal::ApplicationType appType, QString filePath = QString());
    void launchLabelFile(QString filePath);
    void saveWindowGeometry();
    void restoreWindowGeometry();
    void setTestModeEnabled(bool newTestModeEnabled);
    QString getApplicationExec(DashboardGlobal::ApplicationType appType);
    DashboardGlobal::ApplicationType getApplicationType(QString appExec);
    DashboardGlobal::ApplicationType getFileArgumentApplicationType(QString filePath);
    void arePrintersUpToDate(int printerType, bool isChecking);

protected:
    void showEvent(QShowEvent *event) override;
    bool nativeEvent(const QByteArray &eventType, void *message, qintptr *result) override;
    bool eventFilter(QObject *object, QEvent *event) override;

private Q_SLOTS:
    void updateDPIScaling();
    void updateWindowState(Qt::WindowState windowState);
    void updateWindowGeometry();
    void onScreenChanged(QScreen *screen);

private:
    uint m_windowId = 0;
    double m_dpiScale = 0;
    int m_windowState = 0;
    bool m_isActive = false;
    bool m_isPrinterUpdateAvailable = false;
    QStringList m_printersWithNewerFirmware;
    uint m_windowTitlebarHeight = 31;
    QRect m_normalGeometry;
    QPointer<QScreen> m_currentScreen;
    PrinterStatusController *m_printerStatusController = nullptr;
    LauncherController *m_launcher = nullptr;
    QVIPCHelper_win32 *m_messagingHelper = nullptr;
    PrinterLatestVersions *m_printerVersions = nullptr;
    KorvexNative::NativeWindowBackend *m_backend = nullptr;
};
